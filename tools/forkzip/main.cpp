#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <initializer_list>
#include <iostream>
#include <sstream>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"

namespace vantorel::forkzip {
namespace {

// A file of ours that took the number of a standard stream which is closed would get what is meant for that
// stream. Its stand-in fails as the closed one would.
void FillStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

constexpr const char* kAbout =
    "forkzip reads, makes and edits Zip archives, and keeps the resource forks and Finder data of\n"
    "classic Mac files.";

constexpr const char* kFooter =
    R"(Exit codes: 0 done; 1 the archive or a member is bad or missing; 2 wrong usage; 3 a file or
disk error.
As ARCHIVE `-` stands for standard input, or for standard output of `create`.
`forkzip VERB --help` explains a verb by examples.)";

int Main(int argc, char** argv) {
  CLI::App app(kAbout, "forkzip");
  app.footer(kFooter);
  app.get_formatter()->label("SUBCOMMAND", "VERB");
  app.set_version_flag("--version", "forkzip " FORKZIP_VERSION);
  app.require_subcommand(1);
  for (const auto add_verb :
       {AddListVerb, AddInfoVerb, AddTestVerb, AddExtractVerb, AddCatVerb, AddCreateVerb, AddAddVerb,
        AddDeleteVerb, AddDuplicateVerb, AddRenameVerb, AddCommentVerb, AddCompactVerb}) {
    add_verb(app);
  }
  try {
    const ExitCode exit_code = Parse(app, argc, argv);
    Interruption::Obey();
    return static_cast<int>(exit_code);
  } catch (const CLI::Success& asked) {  // --help, --version
    std::ostringstream text;
    const int code = app.exit(asked, text);
    Print(text.str());
    return code;
  } catch (const CLI::ParseError& error) {
    const std::string first = argc > 1 ? argv[1] : "-";
    const auto verbs = app.get_subcommands([&](const CLI::App* verb) { return verb->check_name(first); });
    const bool unknown_verb = first[0] != '-' && verbs.empty();
    const std::string why = argc < 2 ? "a verb is missing" : error.what();
    std::cerr << MessagePrefix() << (unknown_verb ? "there is no verb `" + first + "`" : why)
              << "\nTry `forkzip --help`, or `forkzip VERB --help`.\n";
    return static_cast<int>(ExitCode::kUsage);
  }
}

}  // namespace
}  // namespace vantorel::forkzip

int main(int argc, char** argv) {
  int exit_code = static_cast<int>(vantorel::forkzip::ExitCode::kFileError);
  // A file that reaches the size limit is then an error like a full disk, and what was begun is taken back.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    vantorel::forkzip::FillStandardStreams();
    exit_code = vantorel::forkzip::Main(argc, argv);
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "forkzip: %s\n", fault.what());
  }
  // All files are closed by now. To give back the memory of a large directory piece by piece would only take
  // time.
  std::_Exit(exit_code);
}
