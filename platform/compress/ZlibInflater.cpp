#define ZLIB_CONST
#include <zlib.h>

#include "platform/base/Exceptions.h"
#include "platform/compress/MemberInflater.h"
#include "platform/compress/PooledState.h"

namespace vantorel {

namespace {
// The largest window, and a gzip member around the data.
constexpr int kGzipWindowBits = 15 + 16;

struct State {
  State() {
    if (inflateInit2(&stream, kGzipWindowBits) != Z_OK) RaiseOutOfMemoryException();
  }
  ~State() { inflateEnd(&stream); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  void Reset() { inflateReset(&stream); }

  z_stream stream{};
};

class ZlibInflater : public MemberInflater {
 public:
  MemberStatus Inflate(std::string_view& input, char* output, std::size_t room,
                       std::size_t& produced) override {
    z_stream& stream = state_->stream;
    const auto offered = static_cast<uInt>(input.size());
    const auto wanted = static_cast<uInt>(room);
    stream.next_in = reinterpret_cast<const Bytef*>(input.data());
    stream.avail_in = offered;
    stream.next_out = reinterpret_cast<Bytef*>(output);
    stream.avail_out = wanted;
    const int result = inflate(&stream, Z_NO_FLUSH);
    input.remove_prefix(offered - stream.avail_in);
    produced = wanted - stream.avail_out;
    switch (result) {
      case Z_STREAM_END:
        return MemberStatus::kEnd;
      case Z_OK:
      case Z_BUF_ERROR:  // neither input nor room was left to do anything with
        return MemberStatus::kGoing;
      case Z_MEM_ERROR:
        return MemberStatus::kOutOfMemory;
      default:
        return MemberStatus::kBadData;
    }
  }

 private:
  PooledState<State> state_;
};

}  // namespace

std::unique_ptr<MemberInflater> NewZlibInflater() {
  return std::make_unique<ZlibInflater>();
}

}  // namespace vantorel
