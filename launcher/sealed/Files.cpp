#include "launcher/sealed/Files.h"

#include <fcntl.h>

#include <cerrno>

#include "launcher/sealed/Refusal.h"
#include "platform/base/Descriptor.h"
#include "platform/files/FileCalls.h"

namespace vantorel::sealed {

// A journal names at most as many items as an archive has members.
constexpr off_t kMostBytes = off_t{32} << 20U;

struct stat StatusOf(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 && errno != ENOENT) RefuseWithErrno(path);
  return status;
}

std::optional<std::string> ReadFile(const std::string& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file.IsOpen() && errno == ENOENT) return std::nullopt;
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Number(), &status) != 0) RefuseWithErrno(path);
  if (!S_ISREG(status.st_mode)) throw Refusal(Status::kNotPlaced, path + ": is no file");
  if (status.st_size > kMostBytes) throw Refusal(Status::kNotPlaced, path + ": is too large");
  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  const ReadResult result = ReadAllAt(file.Number(), 0, content.data(), content.size());
  errno = result.error;
  if (result.count < content.size()) RefuseWithErrno(path);
  return content;
}

void WriteFile(const std::string& path, std::string_view content) {
  Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!file.IsOpen()) RefuseWithErrno(path);
  errno = WriteAll(file.Number(), content);
  if (errno == 0) errno = file.Close();
  if (errno != 0) RefuseWithErrno(path);
}

}  // namespace vantorel::sealed
