// Thin helpers over system calls.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace vantorel::forkzip {

// An open file descriptor, or none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();

  int Get() const { return fd_; }
  bool IsOpen() const { return fd_ >= 0; }
  // Gives the descriptor away.
  int Release() { return std::exchange(fd_, -1); }
  // 0, or the error that closing told.
  int Close();

 private:
  int fd_ = -1;
};

// `path` with the symbolic links in it followed, as far as there are such files.
std::string RealPath(const std::string& path);

// Writes all of `bytes`. 0, or the system's error.
int WriteAll(int fd, std::string_view bytes);

// Renames within a folder. 0, or the system's error: EEXIST if `to` is there and not to be replaced.
int Rename(int folder, const std::string& from, const std::string& to, bool replace);
// What a name in a folder stands for, a link for itself: its mode, or 0 if there is nothing.
mode_t KindOf(int folder, const std::string& name);

// These raise Failure (kFileError).
// Exactly `count` bytes from a position.
std::string ReadAt(int fd, std::uint64_t position, std::uint64_t count);
void WriteAt(int fd, std::uint64_t position, std::string_view bytes);
// Sees to it that bytes within a file can be written: holes in it take room only then. Moves the file's own
// position.
void FillHoles(int fd, std::uint64_t position, std::uint64_t count);
// Copies bytes from one file to another, by the system's quickest way. Raises Interrupted if a signal came.
void CopyBytes(int from, std::uint64_t from_position, int to, std::uint64_t to_position, std::uint64_t count);

}  // namespace vantorel::forkzip
