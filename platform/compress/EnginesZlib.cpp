#include "platform/compress/Engines.h"
#include "platform/compress/ZlibDeflater.h"
#include "platform/compress/ZlibInflater.h"

namespace vantorel {

std::optional<std::string> InflateAtOnce(CompressEngine /*engine*/, std::string_view /*first*/) {
  return std::nullopt;
}

std::unique_ptr<MemberInflater> NewInflater(CompressEngine /*engine*/, std::string_view /*first*/) {
  return std::make_unique<ZlibInflater>();
}

std::unique_ptr<MemberDeflater> NewDeflater(CompressEngine /*engine*/) {
  return std::make_unique<ZlibDeflater>();
}

}  // namespace vantorel
