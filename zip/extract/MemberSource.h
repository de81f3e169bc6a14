// The bytes of one member, stored or deflated, read from where the archive's stream stands: once, front to
// back. Lives for one extraction.
#pragma once

#include <cstdint>

#include "platform/compress/ZStream.h"
#include "platform/files/BinaryStream.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel {

class MemberSource {
 public:
  // A stored member of `size` bytes.
  MemberSource(const Ref<BinaryStream>& stream, std::int32_t size) : stream_(stream), left_(size) {}
  // A deflated member of `compressed_size` bytes. `gzip_header`, `crc` and `size` make it a gzip member, so
  // that reading its last byte checks the sum.
  MemberSource(const Ref<BinaryStream>& stream, std::int32_t compressed_size, const String& gzip_header,
               std::int32_t crc, std::int32_t size);

  // Up to `count` bytes; fewer at the end and on a fault.
  String Read(std::int32_t count);
  // The code of a fault in the deflated data, 0 if there is none.
  std::int32_t Fault() const;
  // What an entry says of it.
  String FaultMessage() const;
  // What follows what was read.
  DataEnd End();

 private:
  Ref<BinaryStream> stream_;
  std::int32_t left_ = 0;  // bytes of a stored member still to be read
  Ref<ZStream> inflate_;   // nil for a stored member
};

}  // namespace vantorel
