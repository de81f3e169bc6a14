#include "tools/forkzip/add/FileSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace vantorel::forkzip {

bool FileSource::Open() {
  if (file_.IsOpen()) return true;
  file_ = Descriptor(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  struct stat status {};
  if (!file_.IsOpen() || fstat(file_.Number(), &status) != 0) {
    error_ = errno;
  } else if (status.st_size > INT32_MAX) {
    error_ = EFBIG;
  } else {
    size_ = left_ = static_cast<std::uint64_t>(status.st_size);
  }
  return error_ == 0;
}

void FileSource::Close() {
  if (file_.IsOpen() && error_ == 0 && left_ == 0) {
    char next = 0;
    const ssize_t got = pread(file_.Number(), &next, 1, static_cast<off_t>(size_));
    if (got < 0) error_ = errno;
    grew_ = got > 0;
  }
  file_.Close();
}

String FileSource::Read(std::int32_t count) {
  if (error_ != 0 || count <= 0) return {};
  std::string bytes(std::min<std::uint64_t>(static_cast<std::uint64_t>(count), left_), '\0');
  ssize_t got = 0;
  do {
    got = read(file_.Number(), bytes.data(), bytes.size());
  } while (got < 0 && errno == EINTR);
  if (got < 0) error_ = errno;
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  left_ -= bytes.size();
  return String::Adopt(std::move(bytes), nil);
}

LinkSource::LinkSource(const std::string& path) : FileSource(std::uint64_t{0}) {
  std::array<char, 4096> target{};
  const ssize_t length = readlink(path.c_str(), target.data(), target.size());
  const int error = length < 0 ? errno : 0;
  target_ = String::Bytes({target.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))});
  SetOutcome(error, target_.size(), false);
}

String LinkSource::Read(std::int32_t /*count*/) {
  SetOutcome(0, 0, false);
  return std::exchange(target_, {});
}

}  // namespace vantorel::forkzip
