// Preloaded into a program, counts the calls that change the file system and makes the n-th go wrong:
//
//   WRITE_COUNTER_KILL=n   the process is killed instead of the n-th call
//   WRITE_COUNTER_FULL=n   from the n-th call on, what needs room fails as on a full disk
//   WRITE_COUNTER_TERM=n   SIGTERM comes before the n-th call
//   WRITE_COUNTER_LOSE=n   if the n-th call is pwrite, nothing is written, though it says so
//   WRITE_COUNTER_STOP=n   the process stops before the n-th call
//   WRITE_COUNTER_LOCK=1   the process stops before its first lock
//   WRITE_COUNTER_OLD=1    no renaming takes flags, as on older file systems
//   WRITE_COUNTER_LOG=f    the number of calls is written to the file f when the process ends by itself
//
// Standard output and error do not count.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

long Setting(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? 0 : std::atol(value);
}

long calls = 0;

// Counts a call; true if it is to fail for want of room.
bool Count() {
  static const long kill_at = Setting("WRITE_COUNTER_KILL");
  static const long full_from = Setting("WRITE_COUNTER_FULL");
  static const long terminate_at = Setting("WRITE_COUNTER_TERM");
  static const long stop_at = Setting("WRITE_COUNTER_STOP");
  ++calls;
  if (calls == kill_at) kill(getpid(), SIGKILL);
  if (calls == terminate_at) raise(SIGTERM);
  if (calls == stop_at) raise(SIGSTOP);
  return full_from != 0 && calls >= full_from;
}

template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

int Full() {
  errno = ENOSPC;
  return -1;
}

}  // namespace

extern "C" {

ssize_t write(int fd, const void* bytes, size_t count) {
  static const auto next = Next<ssize_t (*)(int, const void*, size_t)>("write");
  if (fd > STDERR_FILENO && Count()) return Full();
  return next(fd, bytes, count);
}

ssize_t pwrite(int fd, const void* bytes, size_t count, off_t offset) {
  static const auto next = Next<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite");
  static const long lose_at = Setting("WRITE_COUNTER_LOSE");
  const bool full = Count();
  if (calls == lose_at) return static_cast<ssize_t>(count);
  return full ? Full() : next(fd, bytes, count, offset);
}

ssize_t pwrite64(int fd, const void* bytes, size_t count, off64_t offset) {
  return pwrite(fd, bytes, count, offset);
}

ssize_t copy_file_range(int from, off64_t* from_offset, int to, off64_t* to_offset, size_t count,
                        unsigned flags) {
  static const auto next =
      Next<ssize_t (*)(int, off64_t*, int, off64_t*, size_t, unsigned)>("copy_file_range");
  return Count() ? Full() : next(from, from_offset, to, to_offset, count, flags);
}

int fsync(int fd) noexcept(false) {
  static const auto next = Next<int (*)(int)>("fsync");
  return Count() ? Full() : next(fd);
}

int ftruncate(int fd, off_t length) noexcept {
  static const auto next = Next<int (*)(int, off_t)>("ftruncate");
  Count();
  return next(fd, length);
}

int ftruncate64(int fd, off64_t length) noexcept {
  return ftruncate(fd, length);
}

int renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags) noexcept {
  static const auto next = Next<int (*)(int, const char*, int, const char*, unsigned)>("renameat2");
  if (flags != 0 && Setting("WRITE_COUNTER_OLD") != 0) {
    errno = EINVAL;
    return -1;
  }
  return Count() ? Full() : next(from_folder, from, to_folder, to, flags);
}

// Does not count, as it changes no byte. The disk is full for it if it is so from the first call on.
int fallocate64(int fd, int mode, off64_t offset, off64_t length) {
  static const auto next = Next<int (*)(int, int, off64_t, off64_t)>("fallocate64");
  return Setting("WRITE_COUNTER_FULL") == 1 ? Full() : next(fd, mode, offset, length);
}

int fallocate(int fd, int mode, off_t offset, off_t length) {
  return fallocate64(fd, mode, offset, length);
}

int flock(int fd, int operation) noexcept {
  static const auto next = Next<int (*)(int, int)>("flock");
  static bool stop = Setting("WRITE_COUNTER_LOCK") != 0;
  if (std::exchange(stop, false)) raise(SIGSTOP);
  return next(fd, operation);
}

int rename(const char* from, const char* to) noexcept {
  static const auto next = Next<int (*)(const char*, const char*)>("rename");
  Count();
  return next(from, to);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
  static const auto next = Next<int (*)(int, const char*, int)>("unlinkat");
  Count();
  return next(folder, path, flags);
}

int unlink(const char* path) noexcept {
  static const auto next = Next<int (*)(const char*)>("unlink");
  Count();
  return next(path);
}

void _Exit(int code) noexcept {
  if (const char* path = std::getenv("WRITE_COUNTER_LOG")) {
    if (std::FILE* log = std::fopen(path, "w")) {
      std::fprintf(log, "%ld", calls);
      std::fclose(log);
    }
  }
  _exit(code);
}

}  // extern "C"
