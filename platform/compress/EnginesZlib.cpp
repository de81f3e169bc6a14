#include "platform/compress/Engines.h"
#include "platform/compress/StoringDeflater.h"
#include "platform/compress/ZlibDeflater.h"
#include "platform/compress/ZlibInflater.h"

namespace vantorel {

const std::size_t kHeldUpTo = 0;

std::optional<std::string> InflateAtOnce(CompressEngine /*engine*/, std::string_view /*first*/) {
  return std::nullopt;
}

std::unique_ptr<MemberInflater> NewInflater(CompressEngine /*engine*/, std::string_view /*first*/) {
  return std::make_unique<ZlibInflater>();
}

std::unique_ptr<MemberDeflater> NewDeflater(CompressEngine /*engine*/, const DeflateWays& ways) {
  if (ways.level == 0) return std::make_unique<StoringDeflater>();
  return std::make_unique<ZlibDeflater>(ways.level);
}

}  // namespace vantorel
