#include "tools/publish/Signing.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <system_error>
#include <vector>

#include "platform/text/Utf8.h"
#include "tools/publish/PublishError.h"

namespace vantorel::publish {
namespace {

constexpr std::uintmax_t kMostSignatureBytes = 4096;

std::string CommentOf(const std::string& version, const std::string& serial) {
  return "version:" + version + "\tserial:" + serial;
}

// Runs minisign with our standard streams. True if it ended well.
bool RunMinisign(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "minisign");
  std::vector<char*> argv(arguments.size() + 1);
  std::transform(arguments.begin(), arguments.end(), argv.begin(),
                 [](std::string& argument) { return argument.data(); });
  pid_t process = 0;
  if (const int error = posix_spawnp(&process, argv[0], nullptr, nullptr, argv.data(), environ)) {
    throw PublishError(ExitCode::kFileError, std::string("minisign: cannot be run: ") + std::strerror(error));
  }
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) return false;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

void CheckFollows(const std::string& published, const std::string& version, std::int64_t serial,
                  const Signing& signing) {
  // A signature that stays beside another archive would have launchers refuse the update.
  if (signing.key_file.empty() && std::filesystem::exists(published)) {
    throw PublishError(
        ExitCode::kBadInput,
        published + ": the last update was signed, and this one is not; sign it, or remove that file");
  }
  std::ifstream stream(published, std::ios::binary);
  std::string line;
  while (std::getline(stream, line) && !line.starts_with("trusted comment: ")) {
  }
  const std::string separator = "\tserial:";
  const std::size_t at = line.rfind(separator);
  if (at == std::string::npos) return;
  const std::string digits = line.substr(at + separator.size());
  std::int64_t last = 0;
  const std::from_chars_result read = std::from_chars(digits.data(), digits.data() + digits.size(), last);
  if (read.ec != std::errc()) last = std::numeric_limits<std::int64_t>::max();
  if (serial > last || (serial == last && line.ends_with(" " + CommentOf(version, digits)))) return;
  throw PublishError(ExitCode::kBadInput, "the serial number " + std::to_string(serial) +
                                              " does not follow " + digits +
                                              ", the last one published; launchers would refuse the update");
}

void Sign(const std::string& archive, const std::string& signature, const std::string& version,
          std::int64_t serial, const Signing& signing) {
  if (SoundUtf8(version) < version.size()) {
    throw PublishError(ExitCode::kBadInput, "the version is not UTF-8, as a signed comment has to be");
  }
  if (!RunMinisign({"-S", "-H", "-s", signing.key_file, "-m", archive, "-x", signature, "-t",
                    CommentOf(version, std::to_string(serial))})) {
    throw PublishError(ExitCode::kBadInput, signing.key_file + ": minisign could not sign with it");
  }
  if (std::filesystem::file_size(signature) > kMostSignatureBytes) {
    throw PublishError(ExitCode::kBadInput,
                       "the version is too long: launchers read 4 KiB of a signature, its comment included");
  }
  if (signing.public_key.empty()) return;
  const char* kind = std::filesystem::exists(signing.public_key) ? "-p" : "-P";
  if (!RunMinisign({"-V", "-q", "-m", archive, "-x", signature, kind, signing.public_key})) {
    throw PublishError(ExitCode::kBadInput,
                       signing.public_key + ": is not the public key of " + signing.key_file);
  }
}

}  // namespace vantorel::publish
