// Preloaded into a program, counts the calls that change files and those that read them, and makes the n-th
// go wrong:
//
//   WRITE_COUNTER_KILL=n   the process is killed instead of the n-th changing call
//   WRITE_COUNTER_FULL=n   from the n-th changing call on, what makes a file longer fails as on a full disk
//   WRITE_COUNTER_FAIL=n   the n-th changing call alone fails, as on a bad disk
//   WRITE_COUNTER_READ=n   the n-th reading call alone fails, as on a bad disk
//   WRITE_COUNTER_LOOK=n   the n-th lstat or fstatat alone fails, as on a bad disk
//   WRITE_COUNTER_CLOSE=n  the n-th close of a file fails, though it is closed
//   WRITE_COUNTER_TERM=n   SIGTERM comes before the n-th changing call
//   WRITE_COUNTER_LOSE=n   if the n-th changing call is pwrite, nothing is written, though it says so
//   WRITE_COUNTER_STOP=n   the process stops before the n-th changing call
//   WRITE_COUNTER_LOCK=1   the process stops before its first lock
//   WRITE_COUNTER_OLD=1    no renaming takes flags and no file a second name, as on older file systems; a
//                          greater number is the error that renaming gives
//   WRITE_COUNTER_MODES=1  no file takes a mode, as on a medium of another system
//   WRITE_COUNTER_LOG=f    the numbers of changing calls, reading calls and closes are written to the file f
//                          when the process ends by itself
//
// Standard streams do not count. A changing call is killed, stopped or terminated before it does anything.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <type_traits>
#include <utility>

namespace {

long Setting(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? 0 : std::atol(value);
}

// Counted calls so far.
long changes = 0, reads = 0, looks = 0, closes = 0;

// Counts a call that changes files. Returns the error that it is to fail with, 0 if it is to be made. Where
// there is no room, only what needs room fails.
int CountChange(bool needs_room = true) {
  ++changes;
  if (changes == Setting("WRITE_COUNTER_KILL")) kill(getpid(), SIGKILL);
  if (changes == Setting("WRITE_COUNTER_TERM")) raise(SIGTERM);
  if (changes == Setting("WRITE_COUNTER_STOP")) raise(SIGSTOP);
  if (changes == Setting("WRITE_COUNTER_FAIL")) return EIO;
  const long full_from = Setting("WRITE_COUNTER_FULL");
  return needs_room && full_from != 0 && changes >= full_from ? ENOSPC : 0;
}

// Counts a call of another kind, of which one may be set to fail.
int Count(long& calls, const char* failing) {
  return ++calls == Setting(failing) ? EIO : 0;
}

int CountRead() {
  return Count(reads, "WRITE_COUNTER_READ");
}

// Whether a file ends before that, so that to write there takes room.
bool EndsBefore(int file, off_t end) {
  struct stat status {};
  return fstat(file, &status) != 0 || status.st_size < end;
}

// Makes the call, or fails with an error.
template <typename Result, typename... Parameters, typename... Arguments>
Result Call(int error, const char* name, Result (*)(Parameters...), Arguments... arguments) {
  if (error == 0) return reinterpret_cast<Result (*)(Parameters...)>(dlsym(RTLD_NEXT, name))(arguments...);
  errno = error;
  if constexpr (std::is_pointer_v<Result>) {
    return nullptr;
  } else {
    return static_cast<Result>(-1);
  }
}

}  // namespace

extern "C" {

ssize_t read(int fd, void* bytes, size_t count) {
  return Call(fd > STDERR_FILENO ? CountRead() : 0, "read", &read, fd, bytes, count);
}

ssize_t pread(int fd, void* bytes, size_t count, off_t offset) {
  return Call(CountRead(), "pread", &pread, fd, bytes, count, offset);
}

ssize_t readlink(const char* path, char* target, size_t size) noexcept {
  return Call(CountRead(), "readlink", &readlink, path, target, size);
}

int lstat(const char* path, struct stat* status) noexcept {
  return Call(Count(looks, "WRITE_COUNTER_LOOK"), "lstat", &lstat, path, status);
}

int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
  return Call(Count(looks, "WRITE_COUNTER_LOOK"), "fstatat", &fstatat, folder, path, status, flags);
}

dirent* readdir(DIR* folder) {
  return Call(CountRead(), "readdir", &readdir, folder);
}

ssize_t write(int fd, const void* bytes, size_t count) {
  return Call(fd > STDERR_FILENO ? CountChange() : 0, "write", &write, fd, bytes, count);
}

ssize_t pwrite(int fd, const void* bytes, size_t count, off_t offset) {
  const int error = CountChange(EndsBefore(fd, offset + static_cast<off_t>(count)));
  if (changes == Setting("WRITE_COUNTER_LOSE")) return static_cast<ssize_t>(count);
  return Call(error, "pwrite", &pwrite, fd, bytes, count, offset);
}

// Those that read one file and write another are of both kinds.
ssize_t copy_file_range(int from, off64_t* from_offset, int to, off64_t* to_offset, size_t count,
                        unsigned flags) {
  const int read_error = CountRead();
  const int error = CountChange(EndsBefore(to, *to_offset + static_cast<off_t>(count)));
  return Call(error != 0 ? error : read_error, "copy_file_range", &copy_file_range, from, from_offset, to,
              to_offset, count, flags);
}

ssize_t sendfile(int to, int from, off_t* offset, size_t count) noexcept {
  const int read_error = CountRead();
  const int error = to > STDERR_FILENO ? CountChange() : 0;
  return Call(error != 0 ? error : read_error, "sendfile", &sendfile, to, from, offset, count);
}

int fsync(int fd) noexcept(false) {
  return Call(CountChange(), "fsync", &fsync, fd);
}

int ftruncate(int fd, off_t length) noexcept {
  return Call(CountChange(false), "ftruncate", &ftruncate, fd, length);
}

int renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags) noexcept {
  if (const long old = Setting("WRITE_COUNTER_OLD"); flags != 0 && old != 0) {
    errno = old == 1 ? EINVAL : static_cast<int>(old);
    return -1;
  }
  return Call(CountChange(), "renameat2", &renameat2, from_folder, from, to_folder, to, flags);
}

int rename(const char* from, const char* to) noexcept {
  return Call(CountChange(), "rename", &rename, from, to);
}

int link(const char* from, const char* to) noexcept {
  return Call(Setting("WRITE_COUNTER_OLD") == 0 ? CountChange() : EPERM, "link", &link, from, to);
}

// Does not count, as it changes no byte. The disk is full for it if it is so from the first call on.
int fallocate(int fd, int mode, off_t offset, off_t length) {
  return Call(Setting("WRITE_COUNTER_FULL") == 1 ? ENOSPC : 0, "fallocate", &fallocate, fd, mode, offset,
              length);
}

int flock(int fd, int operation) noexcept {
  static bool stop = Setting("WRITE_COUNTER_LOCK") != 0;
  if (std::exchange(stop, false)) raise(SIGSTOP);
  return Call(0, "flock", &flock, fd, operation);
}

int fchmod(int fd, mode_t mode) noexcept {
  return Call(Setting("WRITE_COUNTER_MODES") == 0 ? 0 : EPERM, "fchmod", &fchmod, fd, mode);
}

int unlink(const char* path) noexcept {
  return Call(CountChange(false), "unlink", &unlink, path);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
  return Call(CountChange(false), "unlinkat", &unlinkat, folder, path, flags);
}

// The file is closed all the same when it fails.
int close(int fd) {
  const int result = Call(0, "close", &close, fd);
  if (fd <= STDERR_FILENO || Count(closes, "WRITE_COUNTER_CLOSE") == 0) return result;
  errno = EIO;
  return -1;
}

void _Exit(int code) noexcept {
  if (const char* path = std::getenv("WRITE_COUNTER_LOG")) {
    if (std::FILE* log = std::fopen(path, "w")) {
      std::fprintf(log, "%ld %ld %ld", changes, reads, closes);
      std::fclose(log);
    }
  }
  _exit(code);
}

}  // extern "C"
