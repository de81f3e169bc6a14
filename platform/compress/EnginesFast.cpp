#include "platform/compress/Engines.h"
#include "platform/compress/GzipFraming.h"
#include "platform/compress/IsalInflater.h"
#include "platform/compress/LibdeflateDeflater.h"
#include "platform/compress/LibdeflateInflate.h"
#include "platform/compress/StoringDeflater.h"
#include "platform/compress/ZlibDeflater.h"
#include "platform/compress/ZlibInflater.h"

namespace vantorel {

const std::size_t kHeldUpTo = LibdeflateDeflater::kLimit;

namespace {
// Contents up to this size are inflated in one step.
constexpr std::size_t kAtOnceLimit = 524288;
// Deflate cannot make more than this out of one byte, so a trailer that claims more is wrong.
constexpr std::size_t kMostPerByte = 1032;

// Whether `first` looks like a whole, small member. What it says of its size is not to be relied on.
bool LooksSmall(std::string_view first) {
  if (!HasPlainGzipHeader(first) || first.size() >= kInputPiece) return false;
  const std::size_t size = SizeInGzipTrailer(first);
  return size <= kAtOnceLimit && size <= first.size() * kMostPerByte;
}
}  // namespace

std::optional<std::string> InflateAtOnce(CompressEngine engine, std::string_view first) {
  if (engine == CompressEngine::kZlib || !LooksSmall(first)) return std::nullopt;
  return InflateWholeMember(first, SizeInGzipTrailer(first));
}

// zlib knows every kind of header; and where a small member could not be inflated at once, zlib is to say
// what is wrong with it.
std::unique_ptr<MemberInflater> NewInflater(CompressEngine engine, std::string_view first) {
  if (engine == CompressEngine::kZlib || !HasPlainGzipHeader(first) || LooksSmall(first)) {
    return std::make_unique<ZlibInflater>();
  }
  return std::make_unique<IsalInflater>();
}

std::unique_ptr<MemberDeflater> NewDeflater(CompressEngine engine, const DeflateWays& ways) {
  if (ways.level == 0) return std::make_unique<StoringDeflater>();
  if (engine == CompressEngine::kZlib) return std::make_unique<ZlibDeflater>(ways.level);
  return std::make_unique<LibdeflateDeflater>(ways);
}

}  // namespace vantorel
