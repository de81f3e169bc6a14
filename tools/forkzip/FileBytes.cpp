#include "tools/forkzip/FileBytes.h"

#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace vantorel::forkzip {

Descriptor::~Descriptor() {
  Close();
}

int Descriptor::Close() {
  if (!IsOpen()) return 0;
  return close(std::exchange(fd_, -1)) == 0 ? 0 : errno;
}

int WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

}  // namespace vantorel::forkzip
