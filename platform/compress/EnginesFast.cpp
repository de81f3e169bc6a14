// The build with the faster engines, and which of them takes what.
#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <libdeflate.h>

#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/compress/Crc32.h"
#include "platform/compress/GzipFraming.h"
#include "platform/compress/MemberDeflater.h"
#include "platform/compress/MemberInflater.h"
#include "platform/compress/PooledState.h"

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

// One for all members: it carries nothing from one call to the next.
libdeflate_decompressor* Decompressor() {
  static const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor(
      libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  if (decompressor == nullptr) RaiseOutOfMemoryException();
  return decompressor.get();
}

struct IsalState {
  IsalState() { Reset(); }
  // Raw deflate data with a gzip trailer that is checked.
  void Reset() {
    isal_inflate_init(&state);
    state.crc_flag = ISAL_GZIP_NO_HDR_VER;
  }
  inflate_state state;
};

// For members whose header has no optional fields and lies whole in the first input.
class IsalInflater : public MemberInflater {
 public:
  MemberStatus Inflate(std::string_view& input, char* output, std::size_t room,
                       std::size_t& produced) override {
    input.remove_prefix(std::exchange(header_left_, 0));
    inflate_state& state = state_->state;
    const auto offered = static_cast<std::uint32_t>(input.size());
    const auto wanted = static_cast<std::uint32_t>(room);
    // The library reads its input only, but does not say so.
    state.next_in = const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(input.data()));
    state.avail_in = offered;
    state.next_out = reinterpret_cast<std::uint8_t*>(output);
    state.avail_out = wanted;
    const int result = isal_inflate(&state);
    input.remove_prefix(offered - state.avail_in);
    produced = wanted - state.avail_out;
    if (result != ISAL_DECOMP_OK) return MemberStatus::kBadData;
    return state.block_state == ISAL_BLOCK_FINISH ? MemberStatus::kEnd : MemberStatus::kGoing;
  }

 private:
  PooledState<IsalState> state_;
  std::size_t header_left_ = kGzipHeaderLength;
};

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
  if (!HasPlainGzipHeader(first) || LooksSmall(first)) return NewZlibInflater();
  return std::make_unique<IsalInflater>();
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
