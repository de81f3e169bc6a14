// The bytes of one member, stored or deflated, read from where the archive's stream stands: once, front to
// back. Lives for one extraction.
#pragma once

#include <cstdint>

#include "platform/compress/ZStream.h"
#include "platform/files/BinaryStream.h"
#include "platform/files/MemoryBlock.h"

namespace vantorel {

class MemberData {
 public:
  // A stored member.
  explicit MemberData(const Ref<BinaryStream>& stream) : stream_(stream) {}
  // A deflated member of `compressed_size` bytes. `gzip_header`, `crc` and `size` make it a gzip member, so
  // that reading its last byte checks the sum.
  MemberData(const Ref<BinaryStream>& stream, std::int32_t compressed_size,
             const Ref<MemoryBlock>& gzip_header, std::int32_t crc, std::int32_t size);

  // Up to `count` bytes; fewer at the end and on a fault.
  String Read(std::int32_t count) { return inflate_ ? inflate_->Read(count) : stream_->Read(count); }
  // The code of a fault in the deflated data, 0 if there is none.
  std::int32_t Fault() const;

 private:
  Ref<BinaryStream> stream_;
  Ref<ZStream> inflate_;  // nil for a stored member
};

}  // namespace vantorel
