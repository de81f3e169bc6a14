// The build without the faster engines: zlib does everything.
#include <zlib.h>

#include "platform/compress/Crc32.h"
#include "platform/compress/MemberDeflater.h"
#include "platform/compress/MemberInflater.h"

namespace vantorel {

const std::size_t kHeldUpTo = 0;

std::optional<std::string> InflateAtOnce(std::string_view /*first*/) {
  return std::nullopt;
}

std::unique_ptr<MemberInflater> NewInflater(std::string_view /*first*/) {
  return NewZlibInflater();
}

std::unique_ptr<MemberDeflater> NewDeflater(const DeflateWays& ways) {
  return ways.level == 0 ? NewStoringDeflater() : NewZlibDeflater(ways.level);
}

std::int32_t Crc32OfBytes(std::string_view bytes, std::int32_t crc) {
  if (bytes.empty()) return crc;  // its bytes may be at nullptr, for which zlib answers 0
  return static_cast<std::int32_t>(
      crc32_z(static_cast<std::uint32_t>(crc), reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

}  // namespace vantorel
