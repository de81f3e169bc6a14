#include "tools/forkzip/extract/FileSink.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/compress/Crc32.h"
#include "platform/files/FileCalls.h"
#include "tools/forkzip/extract/Provisional.h"

namespace vantorel::forkzip {

namespace {

// A file of up to this size is made when all of its data is there, under its own name: to rename each of
// many small files would take a fifth of all time. Larger ones are renamed.
constexpr std::size_t kMadeAtOnce = 65536;

// A file bears this mode, which no archive gives, until it is whole. So it tells what a killed run left.
constexpr mode_t kUnfinished = S_ISVTX;
constexpr mode_t kAllModeBits = 07777;
constexpr mode_t kNewFile = 0666;  // less the umask

mode_t Umask() {
  static const mode_t mask = [] {
    const mode_t present = umask(0);
    umask(present);
    return present;
  }();
  return mask;
}

}  // namespace

bool IsUnfinished(mode_t kind) {
  return S_ISREG(kind) && (kind & kAllModeBits) == kUnfinished;
}

FileSink::FileSink(int folder, std::string name, std::optional<mode_t> mode, bool replace, std::uint64_t size)
    : folder_(folder), name_(std::move(name)), mode_(mode), replace_(replace) {
  if (!replace_ && size <= kMadeAtOnce) return;  // to make it will tell
  const mode_t kind = KindOf(folder_, name_);
  in_the_way_ = kind != 0;
  if (S_ISDIR(kind)) {
    Fail(EISDIR);
  } else if (IsUnfinished(kind)) {
    replace_ = true;
  } else if (in_the_way_ && !replace_) {
    Fail(EEXIST);
  }
}

FileSink::~FileSink() {
  if (!present_name_.empty()) unlinkat(folder_, present_name_.c_str(), 0);
}

bool FileSink::Write(const String& data) {
  if (error_ != 0) return false;
  if (summing_) crc_ = Crc32(data, crc_);
  if (!file_.IsOpen()) {
    if (pending_.size() + data.size() <= kMadeAtOnce) {
      pending_ += data.view();
      return true;
    }
    if (!Create(ProvisionalName()) || !WriteOut(pending_)) return false;
    pending_.clear();
  }
  return WriteOut(data.view());
}

void FileSink::GetErrorDescription(std::int32_t& code, String& text) {
  code = -error_;
  text = error_ == 0 ? String() : String("file error");
}

bool FileSink::Keep(std::optional<std::time_t> modified, const std::string& staged) {
  if (error_ != 0) return false;
  const std::string& place = staged.empty() ? name_ : staged;
  if (!file_.IsOpen() && !(staged.empty() && in_the_way_ ? Create(ProvisionalName()) : CreateInPlace(place)))
    return false;
  if (!WriteOut(pending_) || !Complete(modified)) return false;
  if (present_name_ != place) {
    if (const int error =
            Rename(folder_, present_name_, place, replace_ ? IfTaken::kReplace : IfTaken::kRefuse))
      return Fail(error);
  }
  present_name_.clear();
  return true;
}

bool FileSink::Create(const std::string& name) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  file_ = Descriptor(openat(folder_, name.c_str(), kFlags, kUnfinished));
  if (!file_.IsOpen()) return Fail(errno);
  present_name_ = name;
  return true;
}

bool FileSink::CreateInPlace(const std::string& name) {
  if (Create(name)) return true;
  if (error_ != EEXIST || !IsUnfinished(KindOf(folder_, name))) return false;
  error_ = 0;
  replace_ = true;
  return Create(ProvisionalName());
}

bool FileSink::WriteOut(std::string_view bytes) {
  const int error = WriteAll(file_.Number(), bytes);
  return error == 0 || Fail(error);
}

// The mode comes last: with it the file is whole.
bool FileSink::Complete(std::optional<std::time_t> modified) {
  if (modified) {
    const std::array<timespec, 2> times = {timespec{*modified, 0}, timespec{*modified, 0}};
    if (futimens(file_.Number(), times.data()) != 0) return Fail(errno);
  }
  if (fchmod(file_.Number(), mode_.value_or(kNewFile & ~Umask())) != 0) return Fail(errno);
  if (const int error = file_.Close()) return Fail(error);
  return true;
}

bool FileSink::Fail(int error) {
  error_ = error;
  return false;
}

}  // namespace vantorel::forkzip
