#include "platform/files/BinaryStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "platform/files/FileCalls.h"

namespace vantorel {
namespace {

constexpr std::size_t kWindow = 65536;
// A read that does not go on where the last one ended fetches this much; each that does fetches twice as much
// as the one before. So scattered reads stay cheap and a run of small ones takes few system calls.
constexpr std::size_t kFirstFill = 4096;
constexpr std::uint64_t kLastPosition = std::numeric_limits<off_t>::max();

off_t AsOffset(std::uint64_t position) {
  return static_cast<off_t>(std::min(position, kLastPosition));
}

}  // namespace

BinaryStream::BinaryStream(int descriptor, bool writable, std::uint64_t length)
    : descriptor_(descriptor), writable_(writable), length_(length), next_fill_(kFirstFill) {}

BinaryStream::~BinaryStream() {
  Close();
}

std::uint64_t BinaryStream::Length() {
  Flush();
  return length_;
}

void BinaryStream::SetLength(std::uint64_t length) {
  Flush();
  if (length == length_) return;
  if (!writable_ || length > kLastPosition) {
    NoteError(writable_ ? EFBIG : EBADF);
    return;
  }
  if (ftruncate(descriptor_, AsOffset(length)) != 0) {
    NoteError(errno);
    return;
  }
  length_ = length;
  if (window_start_ + window_size_ > length) window_size_ = 0;
}

String BinaryStream::Read(std::int32_t count, const Ref<TextEncoding>& encoding) {
  if (count <= 0 || AtEOF()) return DefineEncoding(String(), encoding);
  const std::size_t wanted = std::min<std::uint64_t>(static_cast<std::uint64_t>(count), length_ - position_);
  std::string bytes;
  if (const char* buffered = Buffered(wanted)) {
    bytes.assign(buffered, wanted);
    position_ += wanted;
  } else {
    bytes.resize(wanted);
    bytes.resize(ReadInto(bytes.data(), wanted));
  }
  return String::Adopt(std::move(bytes), encoding);
}

std::size_t BinaryStream::ReadInto(char* buffer, std::size_t count) {
  if (AtEOF()) return 0;
  count = std::min<std::uint64_t>(count, length_ - position_);
  std::size_t done = 0;
  while (done < count) {
    const std::size_t part = ReadPart(buffer + done, count - done);
    if (part == 0) break;
    done += part;
    position_ += part;
  }
  return done;
}

std::size_t BinaryStream::ReadPart(char* buffer, std::size_t count) {
  if (Buffered(1) == nullptr) {
    Flush();
    if (count >= kDirect) return ReadFile(buffer, count);
    Fill();
  }
  const char* bytes = Buffered(1);
  if (bytes == nullptr) return 0;
  const std::size_t part = std::min(static_cast<std::size_t>(window_.get() + window_size_ - bytes), count);
  std::memcpy(buffer, bytes, part);
  return part;
}

std::size_t BinaryStream::ReadFile(char* buffer, std::size_t count) {
  std::int64_t got = 0;
  do {
    got = ReadAt(buffer, count, position_);
  } while (got < 0 && errno == EINTR);
  if (got < 0 && read_error_ == 0) read_error_ = errno;
  return static_cast<std::size_t>(std::max<std::int64_t>(got, 0));
}

std::int64_t BinaryStream::ReadAt(char* buffer, std::size_t count, std::uint64_t position) {
  return pread(descriptor_, buffer, count, AsOffset(position));
}

void BinaryStream::Fill() {
  if (!window_) window_ = std::make_unique_for_overwrite<char[]>(kWindow);
  const bool goes_on = window_size_ > 0 && position_ == window_start_ + window_size_;
  next_fill_ = goes_on ? std::min(next_fill_ * 2, kWindow) : kFirstFill;
  window_start_ = position_;
  window_size_ = 0;
  window_size_ = ReadFile(window_.get(), next_fill_);
}

const char* BinaryStream::TakeUnbuffered(char* scratch, std::size_t count) {
  const std::uint64_t begin = position_;
  std::memset(scratch, 0, count);
  ReadInto(scratch, count);
  position_ = begin;
  Advance(count);
  return scratch;
}

void BinaryStream::WriteLong(std::int32_t value) {
  char bytes[4];
  Store32(bytes, static_cast<std::uint32_t>(value), byte_order_);
  WriteBytes(std::string_view(bytes, sizeof bytes));
}

void BinaryStream::WriteShort(std::int32_t value) {
  char bytes[2];
  Store16(bytes, static_cast<std::uint16_t>(value), byte_order_);
  WriteBytes(std::string_view(bytes, sizeof bytes));
}

void BinaryStream::WriteBytes(std::string_view bytes) {
  if (bytes.empty()) return;
  if (!writable_ || position_ > kLastPosition - bytes.size()) {
    NoteError(writable_ ? EFBIG : EBADF);
    Advance(bytes.size());
    return;
  }
  if (bytes.size() < kDirect) {
    WriteBuffered(bytes);
  } else {
    WriteDirect(bytes);
  }
  position_ += bytes.size();
}

void BinaryStream::WriteBuffered(std::string_view bytes) {
  if (!window_) window_ = std::make_unique_for_overwrite<char[]>(kWindow);
  std::uint64_t at = position_ - window_start_;
  if (at > window_size_ || at + bytes.size() > kWindow) {
    Flush();
    window_start_ = position_;
    window_size_ = 0;
    at = 0;
  }
  const auto begin = static_cast<std::size_t>(at);
  const std::size_t end = begin + bytes.size();
  if (dirty_begin_ != dirty_end_ && (begin > dirty_end_ || end < dirty_begin_)) Flush();
  if (dirty_begin_ == dirty_end_) {
    dirty_begin_ = begin;
    dirty_end_ = end;
  }
  std::memcpy(window_.get() + begin, bytes.data(), bytes.size());
  dirty_begin_ = std::min(dirty_begin_, begin);
  dirty_end_ = std::max(dirty_end_, end);
  window_size_ = std::max(window_size_, end);
  length_ = std::max(length_, position_ + bytes.size());
}

void BinaryStream::WriteDirect(std::string_view bytes) {
  Flush();
  window_size_ = 0;
  if (Put(bytes, position_)) {
    length_ = std::max(length_, position_ + bytes.size());
  } else {
    ShowFileAsItIs();
  }
}

bool BinaryStream::Flush() {
  if (dirty_begin_ == dirty_end_) return !WriteError();
  const std::string_view dirty(window_.get() + dirty_begin_, dirty_end_ - dirty_begin_);
  const std::uint64_t start = window_start_ + dirty_begin_;
  dirty_begin_ = dirty_end_ = 0;
  if (!Put(dirty, start)) ShowFileAsItIs();
  return !WriteError();
}

bool BinaryStream::Put(std::string_view bytes, std::uint64_t position) {
  const int error = WriteAllAt(descriptor_, position, bytes);
  if (error != 0) NoteError(error);
  return error == 0;
}

void BinaryStream::NoteError(int error) {
  ++write_faults_;
  if (first_error_ == 0) first_error_ = error;
}

// Forgets what a failed write left unwritten.
void BinaryStream::ShowFileAsItIs() {
  window_size_ = 0;
  struct stat info {};
  if (fstat(descriptor_, &info) == 0) length_ = static_cast<std::uint64_t>(info.st_size);
}

void BinaryStream::Close() {
  if (descriptor_ < 0) return;
  Flush();
  if (close(descriptor_) != 0) NoteError(errno);
  descriptor_ = -1;
  writable_ = false;
  window_size_ = 0;
  length_ = 0;
}

Ref<BinaryStream> OpenRegularFile(const std::string& path, int flags, mode_t mode) {
  // Without O_NONBLOCK a pipe in the file's place would keep us waiting for its other end.
  const int descriptor = open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, mode);
  if (descriptor < 0) return nil;
  struct stat info {};
  if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) {
    close(descriptor);
    errno = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    return nil;
  }
  const bool writable = (flags & O_ACCMODE) != O_RDONLY;
  return New<BinaryStream>(descriptor, writable, static_cast<std::uint64_t>(info.st_size));
}

Ref<BinaryStream> MakeFile(const std::string& path, mode_t mode) {
  const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  if (descriptor < 0) return nil;
  return New<BinaryStream>(descriptor, true, std::uint64_t{0});
}

}  // namespace vantorel
