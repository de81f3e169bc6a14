#include <zlib.h>

#include "platform/compress/Crc32.h"

namespace vantorel {

std::int32_t Crc32OfBytes(std::string_view bytes, std::int32_t crc) {
  if (bytes.empty()) return crc;  // its bytes may be at nullptr, for which zlib answers 0
  return static_cast<std::int32_t>(
      crc32_z(static_cast<std::uint32_t>(crc), reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

}  // namespace vantorel
