#include "tools/forkzip/FileSink.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/compress/Crc32.h"

namespace vantorel::forkzip {

namespace {

mode_t Umask() {
  static const mode_t mask = [] {
    const mode_t present = umask(0);
    umask(present);
    return present;
  }();
  return mask;
}

bool IsThere(int folder, const std::string& name) {
  struct stat status {};
  return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

}  // namespace

FileSink::FileSink(int folder, std::string name, std::optional<mode_t> mode, bool replace)
    : folder_(folder), name_(std::move(name)), present_name_(name_), mode_(mode) {
  // A name of its own in the same folder, so that one rename puts the finished file in place.
  if (replace && IsThere(folder_, name_)) present_name_ = ".forkzip-" + std::to_string(getpid());
}

FileSink::~FileSink() {
  if (made_) unlinkat(folder_, present_name_.c_str(), 0);
}

bool FileSink::Open() {
  if (file_.IsOpen()) return true;
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  constexpr mode_t kNewFile = 0666;
  file_ = Descriptor(openat(folder_, present_name_.c_str(), kFlags, mode_.value_or(kNewFile)));
  if (!file_.IsOpen()) return Fail(errno);
  made_ = true;
  const bool cut = mode_ && (*mode_ & Umask()) != 0;
  if (cut && fchmod(file_.Get(), *mode_) != 0) return Fail(errno);
  return true;
}

bool FileSink::Write(const String& data) {
  if (error_ != 0) return false;
  if (summing_) crc_ = Crc32(data, crc_);
  if (const int error = WriteAll(file_.Get(), data.view())) return Fail(error);
  return true;
}

bool FileSink::Skip(std::int32_t count) {
  return lseek(file_.Get(), count, SEEK_CUR) >= 0 || Fail(errno);
}

void FileSink::GetErrorDescription(std::int32_t& code, String& text) {
  code = -error_;
  text = error_ == 0 ? String() : String("file error");
}

bool FileSink::Keep(std::optional<std::time_t> modified) {
  if (modified) {
    const std::array<timespec, 2> times = {timespec{*modified, 0}, timespec{*modified, 0}};
    if (futimens(file_.Get(), times.data()) != 0) return Fail(errno);
  }
  if (const int error = file_.Close()) return Fail(error);
  if (present_name_ != name_ && renameat(folder_, present_name_.c_str(), folder_, name_.c_str()) != 0) {
    return Fail(errno);
  }
  made_ = false;
  return true;
}

bool FileSink::Fail(int error) {
  error_ = error;
  return false;
}

}  // namespace vantorel::forkzip
