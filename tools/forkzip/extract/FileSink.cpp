#include "tools/forkzip/extract/FileSink.h"

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

}  // namespace

FileSink::FileSink(int folder, std::string name, std::optional<mode_t> mode, bool replace)
    : folder_(folder), name_(std::move(name)), present_name_(name_), mode_(mode), replace_(replace) {
  if (!replace) return;
  const mode_t kind = KindOf(folder_, name_);
  if (S_ISDIR(kind)) Fail(EISDIR);
  // A name of its own in the same folder, so that one rename puts the finished file in place.
  if (kind != 0) present_name_ = ProvisionalName();
}

FileSink::~FileSink() {
  if (made_) unlinkat(folder_, present_name_.c_str(), 0);
}

bool FileSink::Open() {
  if (error_ != 0) return false;
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

bool FileSink::Stage(const std::string& inner_folder) {
  const std::string staged = inner_folder + "/" + name_;
  if (renameat(folder_, present_name_.c_str(), folder_, staged.c_str()) != 0) return Fail(errno);
  present_name_ = staged;
  staged_in_ = inner_folder;
  return true;
}

bool FileSink::Complete(std::optional<std::time_t> modified) {
  if (modified) {
    const std::array<timespec, 2> times = {timespec{*modified, 0}, timespec{*modified, 0}};
    if (futimens(file_.Get(), times.data()) != 0) return Fail(errno);
  }
  if (const int error = file_.Close()) return Fail(error);
  return true;
}

bool FileSink::Keep(const std::string& name) {
  name_ = name;
  if (!staged_in_.empty()) present_name_ = staged_in_ + "/" + name_;
  if (present_name_ != name_) {
    if (const int error = Rename(folder_, present_name_, name_, replace_)) return Fail(error);
  }
  made_ = false;
  return true;
}

bool FileSink::Fail(int error) {
  error_ = error;
  return false;
}

}  // namespace vantorel::forkzip
