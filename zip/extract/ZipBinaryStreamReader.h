// Makes a stretch of the archive file look like a whole gzip member: a prefix, then a counted number of bytes
// from the archive, then a suffix. It reads from where the archive stands and runs one way only. The
// archive's stream is shared: it is neither repositioned nor closed here.
#pragma once

#include <cstdint>

#include "platform/compress/IStreamReader.h"
#include "platform/files/BinaryStream.h"

namespace vantorel {

class ZipBinaryStreamReader : public IStreamReader {
 public:
  // 0 until a Read finds nothing left, then -39 for good.
  std::int32_t LastError() override { return errCode; }
  // The next bytes, at most `count`, across the seams between the parts. An archive that ends too early shows
  // only by missing bytes.
  String Read(std::int32_t count) override;

  // `length` is the count of bytes to take from `stream`, which stands at the first of them.
  ZipBinaryStreamReader(const Ref<BinaryStream>& stream, std::int32_t length, const String& prefix,
                        const String& suffix);

  // For Read: exactly `count` bytes. REQUIRES: count is not above what was left to read.
  virtual String fetch(std::int32_t count);
  // Bytes that Read has still to deliver.
  virtual std::int32_t Remaining() { return leftToRead; }
  virtual std::int32_t ErrorValue() { return LastError(); }

  Ref<BinaryStream> theStream;
  std::int32_t errCode = 0;
  std::int32_t leftToRead;
  String prefixStr;  // what is not delivered yet
  String suffixStr;  // what is not delivered yet
  std::int32_t prefixLen;
  std::int32_t suffixLen;
  std::int32_t streamLen;
};

}  // namespace vantorel
