// An open file as a stream of bytes and numbers. Buffered; writes reach the kernel at the latest when Length
// is read or set, on Close, or when the position jumps. Positions count from 0, in 64 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/base/Ref.h"
#include "platform/text/String.h"

namespace vantorel {

class BinaryStream : public Object {
 public:
  // Takes over an open descriptor. `writable` tells whether writing is allowed.
  BinaryStream(int descriptor, bool writable);
  // Closes the file if Close was not called.
  ~BinaryStream() override;

  bool LittleEndian() const { return little_endian_; }
  void SetLittleEndian(bool value) { little_endian_ = value; }

  std::uint64_t Position() const;
  void SetPosition(std::uint64_t position);
  std::uint64_t Length() const;
  // Truncates or extends the file; the position stays.
  void SetLength(std::uint64_t length);
  // True when the position has reached the length. (The bare name is a macro of the C library.)
  bool AtEOF() const;

  // The next 4 or 2 bytes as a signed number; 0 past the end.
  std::int32_t ReadLong();
  std::int16_t ReadShort();
  // Up to `count` bytes; fewer at the end of the file; none for a count of 0 or less. Memory grows only with
  // what the file really holds.
  String Read(std::int32_t count, const Ref<TextEncoding>& encoding = nil);
  // As Read, into the caller's buffer. Returns the count of bytes read.
  std::size_t ReadInto(char* buffer, std::size_t count);

  void WriteLong(std::int32_t value);
  void WriteShort(std::int32_t value);
  void Write(const String& bytes);
  void WriteBytes(std::string_view bytes);

  // True once a write or a change of length has failed; stays so.
  bool WriteError() const;
  // Hands what is buffered to the kernel. False if that or an earlier write failed.
  bool Flush();
  void Close();

 private:
  bool little_endian_ = false;
};

}  // namespace vantorel
