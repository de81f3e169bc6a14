#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <utility>

#include "platform/compress/GzipFraming.h"
#include "platform/compress/MemberInflater.h"
#include "platform/compress/PooledState.h"

namespace vantorel {
namespace {

// The library counts in 32 bits.
std::uint32_t Clip(std::size_t count) {
  constexpr std::size_t kMost = 1U << 30U;
  return static_cast<std::uint32_t>(std::min(count, kMost));
}

struct State {
  State() { Reset(); }
  // Raw deflate data with a gzip trailer that is checked.
  void Reset() {
    isal_inflate_init(&state);
    state.crc_flag = ISAL_GZIP_NO_HDR_VER;
  }
  inflate_state state;
};

class IsalInflater : public MemberInflater {
 public:
  MemberStatus Inflate(std::string_view& input, char* output, std::size_t room,
                       std::size_t& produced) override;

 private:
  PooledState<State> state_;
  std::size_t header_left_ = kGzipHeaderLength;
};

MemberStatus IsalInflater::Inflate(std::string_view& input, char* output, std::size_t room,
                                   std::size_t& produced) {
  input.remove_prefix(std::exchange(header_left_, 0));
  inflate_state& state = state_->state;
  const std::uint32_t offered = Clip(input.size());
  const std::uint32_t wanted = Clip(room);
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

}  // namespace

std::unique_ptr<MemberInflater> NewIsalInflater() {
  return std::make_unique<IsalInflater>();
}

}  // namespace vantorel
