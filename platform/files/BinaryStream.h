// An open file as a stream of bytes and numbers. Positions count from 0, in 64 bits. Buffered: writes reach
// the kernel at the latest when Length is read or changed, on Flush or Close, or on a transfer elsewhere in
// the file; transfers of `kDirect` bytes or more go straight between the caller's memory and the file. A read
// sees what was written before it on the same stream. The file is taken to change through this stream only.
#pragma once

#include <sys/types.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/base/ByteOrder.h"
#include "platform/base/Ref.h"
#include "platform/text/String.h"

namespace vantorel {

class BinaryStream : public Object {
 public:
  // From this size on a transfer bypasses the buffer.
  static constexpr std::size_t kDirect = 8192;

  // Takes over the descriptor of a regular file of `length` bytes, open for reading and, if `writable`, for
  // writing.
  BinaryStream(int descriptor, bool writable, std::uint64_t length);
  // Closes the file if Close was not called.
  ~BinaryStream() override;

  // The descriptor, which stays the stream's; -1 once it is closed.
  int Descriptor() const { return descriptor_; }

  bool LittleEndian() const { return byte_order_ == ByteOrder::kLittle; }
  void SetLittleEndian(bool value) { byte_order_ = value ? ByteOrder::kLittle : ByteOrder::kBig; }

  std::uint64_t Position() const { return position_; }
  void SetPosition(std::uint64_t position) { position_ = position; }
  // The length after what is buffered went to the kernel, so that it tells whether all of it found room.
  std::uint64_t Length();
  // Truncates or extends the file; the position stays.
  void SetLength(std::uint64_t length);
  // True when the position has reached the length. (The bare name is a macro of the C library.)
  bool AtEOF() const { return position_ >= length_; }

  // The next 4 or 2 bytes as a signed number. Bytes past the end count as 0; the position moves on all the
  // same, but never round to the front.
  std::int32_t ReadLong() {
    char scratch[4];
    return static_cast<std::int32_t>(Load32(Take(scratch, sizeof scratch), byte_order_));
  }
  std::int16_t ReadShort() {
    char scratch[2];
    return static_cast<std::int16_t>(Load16(Take(scratch, sizeof scratch), byte_order_));
  }
  // Up to `count` bytes; fewer at the end of the file; none for a count of 0 or less. Memory grows only with
  // what the file really holds.
  String Read(std::int32_t count, const Ref<TextEncoding>& encoding = nil);
  // As Read, into the caller's buffer. Returns the count of bytes read.
  std::size_t ReadInto(char* buffer, std::size_t count);

  void WriteLong(std::int32_t value);
  void WriteShort(std::int32_t value);
  void Write(const String& bytes) { WriteBytes(bytes.view()); }
  void WriteBytes(std::string_view bytes);

  // True once the system has refused a read, which then looks like the end of the file; stays so.
  bool ReadError() const { return read_error_ != 0; }
  // The system's number for the first such refusal, negative; 0 if there was none.
  std::int32_t ReadErrorCode() const { return -read_error_; }

  // True once a write or a change of length has failed; stays so.
  bool WriteError() const { return write_faults_ != 0; }
  // How many times that has happened: whether a stretch of writing went well shows in the count before and
  // after it, once Flush was called.
  std::uint32_t WriteFaults() const { return write_faults_; }
  // The system's number for the first such failure, negative; 0 if there was none.
  std::int32_t WriteErrorCode() const { return -first_error_; }
  // Hands what is buffered to the kernel. False if that or an earlier write failed.
  bool Flush();
  // Flushes and closes. Afterwards the stream is an empty file that takes nothing.
  void Close();

 protected:
  // As pread on the file: all reading goes through here, a window or a large transfer at a time.
  virtual std::int64_t ReadAt(char* buffer, std::size_t count, std::uint64_t position);

 private:
  // The `count` buffered bytes at the position; nullptr if they are not all there.
  const char* Buffered(std::size_t count) const {
    const std::uint64_t at = position_ - window_start_;  // huge for a position before the window
    return window_size_ >= count && at <= window_size_ - count ? window_.get() + at : nullptr;
  }
  // The next `count` bytes, buffered or read into `scratch`.
  const char* Take(char* scratch, std::size_t count) {
    const char* bytes = Buffered(count);
    if (bytes == nullptr) return TakeUnbuffered(scratch, count);
    position_ += count;
    return bytes;
  }
  const char* TakeUnbuffered(char* scratch, std::size_t count);
  // Moves the position on; beyond the last one there is none.
  void Advance(std::uint64_t count) { position_ += std::min(count, ~position_); }
  // Reads the window anew from the position on.
  void Fill();
  // Some of the bytes at the position, at least one; none at the end of the file or if the system refuses.
  // ReadPart takes them from the window where it can.
  std::size_t ReadFile(char* buffer, std::size_t count);
  std::size_t ReadPart(char* buffer, std::size_t count);
  void WriteBuffered(std::string_view bytes);
  void WriteDirect(std::string_view bytes);
  // Writes all of `bytes`, or says no after having written what could be.
  bool Put(std::string_view bytes, std::uint64_t position);
  void NoteError(int error);
  void ShowFileAsItIs();

  int descriptor_;
  bool writable_;
  ByteOrder byte_order_ = ByteOrder::kBig;
  std::uint32_t write_faults_ = 0;
  int first_error_ = 0;
  int read_error_ = 0;
  std::uint64_t position_ = 0;
  std::uint64_t length_;  // with what is buffered

  // The window holds the bytes of the file from window_start_ on, as this stream sees them. Those from
  // dirty_begin_ to before dirty_end_, offsets in the window, have yet to be written.
  std::unique_ptr<char[]> window_;
  std::uint64_t window_start_ = 0;
  std::size_t window_size_ = 0;
  std::size_t dirty_begin_ = 0;
  std::size_t dirty_end_ = 0;
  std::size_t next_fill_;
};

// Opens a file with the flags of open(2), never waiting; links are followed unless the flags say otherwise.
// nil, with errno set, if it cannot be opened or is no regular file.
Ref<BinaryStream> OpenRegularFile(const std::string& path, int flags, mode_t mode = 0666);
// Makes a file that was not there, open for reading and writing. nil, with errno set, if it cannot be made.
Ref<BinaryStream> MakeFile(const std::string& path, mode_t mode = 0666);

}  // namespace vantorel
