// Writes what a compressing stream produces into the archive file: drops a counted number of leading bytes,
// counts what it wrote and, on request, sums a CRC-32. The archive's stream is shared and never closed here.
#pragma once

#include <cstdint>

#include "platform/compress/IStreamWriter.h"
#include "platform/files/BinaryStream.h"

namespace vantorel {

class ZipBinaryStreamWriter : public IStreamWriter {
 public:
  // Always 0: faults of the file show in the WriteError of its stream.
  std::int32_t LastError() override { return 0; }
  void Write(const String& data) override;

  // `discard` is the count of leading bytes to drop; `stream` stands where the member's data goes.
  ZipBinaryStreamWriter(const Ref<BinaryStream>& stream, std::int32_t discard)
      : binstream(stream), discardLeadingBytes(discard) {}

  virtual std::int32_t ErrorValue() { return LastError(); }
  // Does nothing: the archive takes further members through the same stream.
  virtual void Close() {}
  virtual std::int32_t BytesWritten() { return written; }
  // From now on the CRC-32 of all bytes passed to Write is summed, dropped ones included.
  virtual void EnableCRCCalculation() { calcCRC = true; }
  virtual std::int32_t CRC() { return crc_; }

  Ref<BinaryStream> binstream;
  std::int32_t discardLeadingBytes;  // still to be dropped
  std::int32_t written = 0;          // bytes really written
  std::int32_t crc_ = 0;
  bool calcCRC = false;
};

}  // namespace vantorel
