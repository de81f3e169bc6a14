#include "platform/compress/StoringDeflater.h"

#include <utility>

#include "platform/base/LittleEndian.h"
#include "platform/compress/Crc32.h"
#include "platform/compress/GzipFraming.h"
#include "platform/compress/IStreamWriter.h"

namespace vantorel {

void StoringDeflater::Begin(IStreamWriter& writer) {
  if (!std::exchange(begun_, true)) writer.Write(String::Bytes(kPlainGzipHeader));
}

void StoringDeflater::Write(std::string_view data, IStreamWriter& writer) {
  Begin(writer);
  crc_ = Crc32OfBytes(data, crc_);
  size_ += static_cast<std::uint32_t>(data.size());
  writer.Write(String::Bytes(data));
}

void StoringDeflater::Finish(IStreamWriter& writer) {
  Begin(writer);
  writer.Write(String::Bytes(LittleEndian32(static_cast<std::uint32_t>(crc_)) + LittleEndian32(size_)));
}

}  // namespace vantorel
