#include "platform/compress/Crc32.h"

namespace vantorel {

std::int32_t Crc32(const String& bytes, std::int32_t crc) {
  return Crc32OfBytes(bytes.view(), crc);
}

}  // namespace vantorel
