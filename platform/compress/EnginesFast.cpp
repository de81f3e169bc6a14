// The build with the faster engines, and which of them takes what.
#include <isa-l/crc.h>
#include <libdeflate.h>

#include "platform/base/Exceptions.h"
#include "platform/compress/Crc32.h"
#include "platform/compress/GzipFraming.h"
#include "platform/compress/MemberDeflater.h"
#include "platform/compress/MemberInflater.h"

namespace vantorel {
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

struct FreeDecompressor {
  void operator()(libdeflate_decompressor* decompressor) const { libdeflate_free_decompressor(decompressor); }
};

// One for all members: it carries nothing from one call to the next.
libdeflate_decompressor* Decompressor() {
  static const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> decompressor(
      libdeflate_alloc_decompressor());
  if (decompressor == nullptr) RaiseOutOfMemoryException();
  return decompressor.get();
}

}  // namespace

std::optional<std::string> InflateAtOnce(std::string_view first) {
  if (!LooksSmall(first)) return std::nullopt;
  std::string contents(SizeInGzipTrailer(first), '\0');
  std::size_t produced = 0;
  const libdeflate_result result = libdeflate_gzip_decompress(Decompressor(), first.data(), first.size(),
                                                              contents.data(), contents.size(), &produced);
  if (result != LIBDEFLATE_SUCCESS || produced != contents.size()) return std::nullopt;
  return contents;
}

// zlib knows every kind of header; and where a small member could not be inflated at once, zlib is to say
// what is wrong with it.
std::unique_ptr<MemberInflater> NewInflater(std::string_view first) {
  return HasPlainGzipHeader(first) && !LooksSmall(first) ? NewIsalInflater() : NewZlibInflater();
}

std::unique_ptr<MemberDeflater> NewDeflater(const DeflateWays& ways) {
  return ways.level == 0 ? NewStoringDeflater() : NewLibdeflateDeflater(ways);
}

std::int32_t Crc32OfBytes(std::string_view bytes, std::int32_t crc) {
  return static_cast<std::int32_t>(crc32_gzip_refl(static_cast<std::uint32_t>(crc),
                                                   reinterpret_cast<const unsigned char*>(bytes.data()),
                                                   static_cast<std::uint64_t>(bytes.size())));
}

}  // namespace vantorel
