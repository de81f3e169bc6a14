#include <isa-l/crc.h>

#include "platform/compress/Crc32.h"

namespace vantorel {

std::int32_t Crc32OfBytes(std::string_view bytes, std::int32_t crc) {
  return static_cast<std::int32_t>(crc32_gzip_refl(static_cast<std::uint32_t>(crc),
                                                   reinterpret_cast<const unsigned char*>(bytes.data()),
                                                   static_cast<std::uint64_t>(bytes.size())));
}

}  // namespace vantorel
