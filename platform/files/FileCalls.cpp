#include "platform/files/FileCalls.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "platform/base/Descriptor.h"

namespace vantorel {
namespace {

constexpr const char* kCannotBeWritten = "cannot be written";

[[noreturn]] void Raise(int error, const char* what) {
  throw std::system_error(error, std::generic_category(), what);
}

// Hands `bytes` to `put`, which takes as many as it likes from the front of them.
template <typename Put>
int PutAll(std::string_view bytes, Put put) {
  while (!bytes.empty()) {
    const ssize_t taken = put(bytes);
    if (taken < 0 && errno == EINTR) continue;
    if (taken <= 0) return taken < 0 ? errno : EIO;
    bytes.remove_prefix(static_cast<std::size_t>(taken));
  }
  return 0;
}

}  // namespace

std::string RealPath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path real = std::filesystem::weakly_canonical(path, error);
  return error ? path : real.string();
}

mode_t KindOf(int folder, const std::string& name) {
  struct stat status {};
  return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? status.st_mode : 0;
}

int Rename(int folder, const std::string& from, const std::string& to, IfTaken if_taken) {
  const bool replace = if_taken == IfTaken::kReplace;
  if (renameat2(folder, from.c_str(), folder, to.c_str(), replace ? 0 : RENAME_NOREPLACE) == 0) return 0;
  if (replace || (errno != EINVAL && errno != ENOSYS)) return errno;
  // A file system without this: two steps have to do.
  if (KindOf(folder, to) != 0) return EEXIST;
  return renameat(folder, from.c_str(), folder, to.c_str()) == 0 ? 0 : errno;
}

ReadResult ReadAllAt(int file, std::uint64_t position, char* buffer, std::size_t count) {
  ReadResult result;
  while (result.count < count) {
    const ssize_t got =
        pread(file, buffer + result.count, count - result.count, static_cast<off_t>(position + result.count));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) result.error = errno;
    if (got <= 0) break;
    result.count += static_cast<std::size_t>(got);
  }
  return result;
}

int WriteAll(int file, std::string_view bytes) {
  return PutAll(bytes, [&](std::string_view rest) { return write(file, rest.data(), rest.size()); });
}

int WriteAllAt(int file, std::uint64_t position, std::string_view bytes) {
  const std::uint64_t end = position + bytes.size();
  return PutAll(bytes, [&](std::string_view rest) {
    return pwrite(file, rest.data(), rest.size(), static_cast<off_t>(end - rest.size()));
  });
}

std::string ReadAt(int file, std::uint64_t position, std::uint64_t count) {
  std::string bytes(count, '\0');
  const ReadResult result = ReadAllAt(file, position, bytes.data(), bytes.size());
  if (result.count < count) Raise(result.error != 0 ? result.error : ENODATA, "cannot be read");
  return bytes;
}

void WriteAt(int file, std::uint64_t position, std::string_view bytes) {
  if (const int error = WriteAllAt(file, position, bytes)) Raise(error, kCannotBeWritten);
}

void CopyBytes(int from, std::uint64_t from_position, int to, std::uint64_t to_position,
               std::uint64_t count) {
  constexpr std::uint64_t kPiece = 1U << 20U;
  bool by_system = true;
  while (count != 0) {
    auto from_offset = static_cast<off_t>(from_position);
    auto to_offset = static_cast<off_t>(to_position);
    ssize_t copied = by_system ? copy_file_range(from, &from_offset, to, &to_offset, count, 0) : 0;
    if (copied < 0 && errno == EINTR) continue;
    if (copied < 0 && errno == ENOSPC) Raise(ENOSPC, kCannotBeWritten);
    if (copied <= 0) {
      by_system = false;  // it cannot between every two file systems
      const std::string piece = ReadAt(from, from_position, std::min(count, kPiece));
      WriteAt(to, to_position, piece);
      copied = static_cast<ssize_t>(piece.size());
    }
    from_position += static_cast<std::uint64_t>(copied);
    to_position += static_cast<std::uint64_t>(copied);
    count -= static_cast<std::uint64_t>(copied);
  }
}

void FillHoles(int file, std::uint64_t position, std::uint64_t count) {
  const off_t hole = lseek(file, static_cast<off_t>(position), SEEK_HOLE);
  if (hole >= 0 && static_cast<std::uint64_t>(hole) >= position + count) return;
  const int result =
      fallocate(file, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(position), static_cast<off_t>(count));
  if (result != 0 && errno == ENOSPC) Raise(ENOSPC, kCannotBeWritten);
}

int SyncPath(const std::string& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return file.IsOpen() && fsync(file.Number()) == 0 ? 0 : errno;
}

}  // namespace vantorel
