#include "tools/forkzip/cli/StandardStreams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

namespace {

void CopyAll(int from, int to) {
  std::string buffer(std::size_t{1} << 16U, '\0');
  while (const ssize_t got = read(from, buffer.data(), buffer.size())) {
    if (got < 0 && errno != EINTR) throw SystemFailure("cannot be read", errno);
    if (got > 0) {
      const int error = WriteAll(to, std::string_view(buffer).substr(0, static_cast<std::size_t>(got)));
      if (error != 0) throw SystemFailure("cannot be written", error);
    }
    Interruption::Check();
  }
}

}  // namespace

Descriptor UnnamedFile() {
  std::error_code error;
  std::string path = std::filesystem::temp_directory_path(error) / "forkzip-XXXXXX";
  if (error) throw SystemFailure("TMPDIR is no folder for a temporary file", error.value());
  Descriptor file(mkostemp(path.data(), O_CLOEXEC));
  if (!file.IsOpen()) throw SystemFailure("no temporary file can be made: " + path, errno);
  unlink(path.c_str());
  return file;
}

Descriptor StandardInput() {
  struct stat status {};
  if (fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode)) {
    return Descriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
  }
  if (isatty(STDIN_FILENO) == 1) throw Failure(ExitCode::kUsage, "an archive is not read from a terminal");
  Descriptor file = UnnamedFile();
  CopyAll(STDIN_FILENO, file.Number());
  return file;
}

void WriteToStandardOutput(int file) {
  lseek(file, 0, SEEK_SET);
  CopyAll(file, STDOUT_FILENO);
}

}  // namespace vantorel::forkzip
