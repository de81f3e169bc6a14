#include "zip/records/FileBytes.h"

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <system_error>

#include "zip/records/FormatError.h"

namespace vantorel {

std::string ReadAt(int file, std::uint64_t position, std::uint64_t count) {
  std::string bytes(count, '\0');
  for (std::size_t filled = 0; filled < bytes.size();) {
    const ssize_t read =
        pread(file, bytes.data() + filled, bytes.size() - filled, static_cast<off_t>(position + filled));
    if (read < 0 && errno == EINTR) continue;
    if (read < 0) throw std::system_error(errno, std::generic_category(), "cannot be read");
    if (read == 0) throw FormatError("ends too early");
    filled += static_cast<std::size_t>(read);
  }
  return bytes;
}

void WriteAt(int file, std::uint64_t position, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(position));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw std::system_error(errno, std::generic_category(), "cannot be written");
    position += static_cast<std::uint64_t>(written);
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace vantorel
