#include "tools/forkzip/extract/FileSink.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

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

FileSink::FileSink(int folder, std::string name, std::optional<mode_t> mode, IfTaken if_taken,
                   std::uint64_t size)
    : folder_(folder), name_(std::move(name)), mode_(mode), if_taken_(if_taken) {
  if (size <= kMadeAtOnce) return;  // to make it will tell
  const mode_t kind = KindOf(folder_, name_);
  if (IsUnfinished(kind)) if_taken_ = IfTaken::kReplace;
  if (S_ISDIR(kind) || (kind != 0 && if_taken_ == IfTaken::kRefuse)) Expect(EEXIST);
}

FileSink::~FileSink() {
  if (!present_name_.empty()) unlinkat(folder_, present_name_.c_str(), 0);
}

bool FileSink::Write(const String& data) {
  if (error_ != 0) return false;
  if (summing_) SummingSink::Write(data);
  if (!file_.IsOpen()) {
    if (pending_.size() + data.size() <= kMadeAtOnce) {
      pending_ += data.view();
      return true;
    }
    Create(ProvisionalName());
    WriteOut(pending_);
    pending_.clear();
  }
  WriteOut(data.view());
  return error_ == 0;
}

bool FileSink::Keep(std::optional<std::time_t> modified, const std::string& staged) {
  if (error_ != 0) return false;
  const std::string& place = staged.empty() ? name_ : staged;
  if (!file_.IsOpen()) {
    Create(place);
    if (error_ == EEXIST && (if_taken_ == IfTaken::kReplace || IsUnfinished(KindOf(folder_, place)))) {
      error_ = 0;
      if_taken_ = IfTaken::kReplace;
      Create(ProvisionalName());
    }
  }
  WriteOut(pending_);
  Complete(modified);
  if (error_ == 0 && present_name_ != place) Expect(Rename(folder_, present_name_, place, if_taken_));
  if (error_ == 0) present_name_.clear();
  return error_ == 0;
}

void FileSink::Create(const std::string& name) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  file_ = Descriptor(openat(folder_, name.c_str(), kFlags, kUnfinished));
  if (!file_.IsOpen()) return Expect(errno);
  present_name_ = name;
}

void FileSink::WriteOut(std::string_view bytes) {
  if (error_ == 0) Expect(WriteAll(file_.Number(), bytes));
}

// The mode comes last: with it the file is whole.
void FileSink::Complete(std::optional<std::time_t> modified) {
  if (error_ == 0 && modified) {
    const std::array<timespec, 2> times = {timespec{*modified, 0}, timespec{*modified, 0}};
    ExpectAttribute(futimens(file_.Number(), times.data()));
  }
  if (error_ == 0) ExpectAttribute(fchmod(file_.Number(), mode_.value_or(kNewFile & ~Umask())));
  Expect(file_.Close());
}

// What a file system does not store, or leaves to its owner alone, is no reason to lose the content.
void FileSink::ExpectAttribute(int result) {
  if (result == 0) return;
  if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS) return Expect(errno);
  attribute_error_ = errno;
}

void FileSink::Expect(int error) {
  if (error_ == 0) error_ = error;
}

}  // namespace vantorel::forkzip
