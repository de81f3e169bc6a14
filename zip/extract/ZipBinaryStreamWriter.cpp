#include "zip/extract/ZipBinaryStreamWriter.h"

#include "platform/base/Arithmetic.h"
#include "platform/compress/Crc32.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

void ZipBinaryStreamWriter::Write(const String& data) {
  if (calcCRC) crc_ = Crc32(data, crc_);
  const std::int32_t n = LenB(data);
  if (discardLeadingBytes < 1) {
    binstream->Write(data);
    written = AddSInt32(written, n);
  } else if (n < discardLeadingBytes) {
    discardLeadingBytes -= n;
  } else {
    binstream->Write(MidB(data, discardLeadingBytes + 1));
    written = AddSInt32(written, n - discardLeadingBytes);
    discardLeadingBytes = 0;
  }
}

}  // namespace vantorel
