#include "platform/files/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace vantorel {

Ref<BinaryStream> OpenRegularFile(const std::string& path, int flags, mode_t mode) {
  // Without O_NONBLOCK a pipe in the file's place would keep us waiting for its other end.
  const int descriptor = open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, mode);
  if (descriptor < 0) return nil;
  struct stat info {};
  if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) {
    close(descriptor);
    errno = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    return nil;
  }
  const bool writable = (flags & O_ACCMODE) != O_RDONLY;
  return New<BinaryStream>(descriptor, writable, static_cast<std::uint64_t>(info.st_size));
}

Ref<BinaryStream> MakeFile(const std::string& path, mode_t mode) {
  const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  if (descriptor < 0) return nil;
  return New<BinaryStream>(descriptor, true, std::uint64_t{0});
}

}  // namespace vantorel
