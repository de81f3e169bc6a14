#include "tools/forkzip/cli/FileBytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>

#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

Descriptor::~Descriptor() {
  Close();
}

int Descriptor::Close() {
  if (!IsOpen()) return 0;
  return close(std::exchange(fd_, -1)) == 0 ? 0 : errno;
}

int Rename(int folder, const std::string& from, const std::string& to, bool replace) {
  if (renameat2(folder, from.c_str(), folder, to.c_str(), replace ? 0 : RENAME_NOREPLACE) == 0) return 0;
  if (replace || (errno != EINVAL && errno != ENOSYS)) return errno;
  // A file system without this: two steps have to do.
  if (KindOf(folder, to) != 0) return EEXIST;
  return renameat(folder, from.c_str(), folder, to.c_str()) == 0 ? 0 : errno;
}

mode_t KindOf(int folder, const std::string& name) {
  struct stat status {};
  return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? status.st_mode : 0;
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

namespace {

[[noreturn]] void FailToRead(int error) {
  throw Failure(ExitCode::kFileError, error == 0 ? "ends too early" : WithCause("cannot be read", error));
}

// For file systems between which the system cannot copy by itself.
void CopyThroughMemory(int from, std::uint64_t from_position, int to, std::uint64_t to_position,
                       std::uint64_t count) {
  constexpr std::uint64_t kPiece = 1U << 20U;
  while (count != 0) {
    const std::string piece = ReadAt(from, from_position, std::min(count, kPiece));
    WriteAt(to, to_position, piece);
    from_position += piece.size();
    to_position += piece.size();
    count -= piece.size();
    Interruption::Check();
  }
}

}  // namespace

std::string ReadAt(int fd, std::uint64_t position, std::uint64_t count) {
  std::string bytes(count, '\0');
  for (std::size_t filled = 0; filled < bytes.size();) {
    const ssize_t read =
        pread(fd, bytes.data() + filled, bytes.size() - filled, static_cast<off_t>(position + filled));
    if (read < 0 && errno == EINTR) continue;
    if (read <= 0) FailToRead(read == 0 ? 0 : errno);
    filled += static_cast<std::size_t>(read);
  }
  return bytes;
}

void WriteAt(int fd, std::uint64_t position, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(position));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw Failure(ExitCode::kFileError, WithCause("cannot be written", errno));
    position += static_cast<std::uint64_t>(written);
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

std::string RealPath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
  return error ? path : real.string();
}

void FillHoles(int fd, std::uint64_t position, std::uint64_t count) {
  const off_t hole = lseek(fd, static_cast<off_t>(position), SEEK_HOLE);
  if (hole >= 0 && static_cast<std::uint64_t>(hole) >= position + count) return;
  const int error =
      fallocate(fd, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(position), static_cast<off_t>(count));
  if (error != 0 && errno == ENOSPC) {
    throw Failure(ExitCode::kFileError, WithCause("cannot be written", ENOSPC));
  }
}

void CopyBytes(int from, std::uint64_t from_position, int to, std::uint64_t to_position,
               std::uint64_t count) {
  constexpr std::uint64_t kPiece = 64U << 20U;
  while (count != 0) {
    auto from_offset = static_cast<off_t>(from_position);
    auto to_offset = static_cast<off_t>(to_position);
    const ssize_t copied = copy_file_range(from, &from_offset, to, &to_offset, std::min(count, kPiece), 0);
    if (copied < 0 && errno == EINTR) continue;
    if (copied < 0 && errno == ENOSPC) {
      throw Failure(ExitCode::kFileError, WithCause("cannot be written", errno));
    }
    if (copied <= 0) return CopyThroughMemory(from, from_position, to, to_position, count);
    from_position += static_cast<std::uint64_t>(copied);
    to_position += static_cast<std::uint64_t>(copied);
    count -= static_cast<std::uint64_t>(copied);
    Interruption::Check();
  }
}

}  // namespace vantorel::forkzip
