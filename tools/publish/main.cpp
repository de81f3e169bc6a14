// vantorel-publish: makes an update ready for any static web server.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "platform/bundle/Bundle.h"
#include "tools/publish/PublishError.h"
#include "tools/publish/Update.h"

namespace {

constexpr char kExamples[] =
    "Example:\n"
    "  vantorel-publish --app build/Vantorel.app --version 18 --notes NOTES.txt --out /srv/www/vantorel\n"
    "writes mac_Vantorel_update, mac_Vantorel_changelog and, last, mac_Vantorel_version into the folder\n"
    "that the web server serves. Each file appears whole or not at all, so launchers may go on asking\n"
    "meanwhile. With --sign KEYFILE there is a fourth, mac_Vantorel_signature, for launchers that were\n"
    "built with the public key.\n"
    "\n"
    "Exit codes: 0 published, 1 what was given is no good, 2 wrong usage, 3 a file or disk error. On any\n"
    "but 0 the update that was published before is in place, or again in place; the files for which that\n"
    "failed too are named.";

constexpr std::int64_t kLargestSerial = 999999999999999999;

int Fail(vantorel::publish::ExitCode code, const char* why) {
  std::fprintf(stderr, "vantorel-publish: %s\n", why);
  return static_cast<int>(code);
}

int Run(int argc, char** argv) {
  vantorel::publish::Update update;
  CLI::App app("Makes an update of Vantorel ready for any static web server.", "vantorel-publish");
  app.footer(kExamples);
  app.add_option("--app", update.application,
                 "the application's folder: Vantorel.app, or the folder with Vantorel.exe")
      ->required();
  app.add_option("--version", update.version, "the version text; without underscore, blank or line end")
      ->required();
  app.add_option("--notes", update.notes_file, "the release notes, a plain text file in UTF-8")->required();
  app.add_option("--out", update.output_folder, "the folder to publish in; made if missing")->required();
  app.add_option("--platform", update.platform, "mac (default) or win")->check(CLI::IsMember({"mac", "win"}));
  vantorel::publish::Signing& signing = update.signing;
  CLI::Option* sign = app.add_option("--sign", signing.key_file, "sign with this secret key of minisign");
  app.add_option("--serial", signing.serial, "the signed serial number; the clock's seconds if not given")
      ->check(CLI::Range(std::int64_t{0}, kLargestSerial))
      ->option_text("N")
      ->needs(sign);
  app.add_option("--verify-with", signing.public_key,
                 "check the signature against this public key, or file of one")
      ->needs(sign);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : static_cast<int>(vantorel::publish::ExitCode::kWrongUsage);
  }
  vantorel::publish::Publish(update);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  using vantorel::publish::ExitCode;
  try {
    return Run(argc, argv);
  } catch (const vantorel::publish::PublishError& error) {
    return Fail(error.Code(), error.what());
  } catch (const vantorel::BundleError& error) {
    return Fail(ExitCode::kBadInput, error.what());
  } catch (const std::exception& error) {
    return Fail(ExitCode::kFileError, error.what());
  }
}
