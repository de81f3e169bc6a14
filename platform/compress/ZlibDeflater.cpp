#define ZLIB_CONST
#include <zlib.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/compress/MemberDeflater.h"
#include "platform/compress/PooledState.h"

namespace vantorel {

namespace {
// The largest window, and a gzip member around the data.
constexpr int kGzipWindowBits = 15 + 16;
constexpr int kDefaultMemory = 8;
constexpr std::size_t kOutputPiece = 32768;
struct State {
  State() {
    if (deflateInit2(&stream, kDefaultDeflateLevel, Z_DEFLATED, kGzipWindowBits, kDefaultMemory,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
      RaiseOutOfMemoryException();
    }
    PointAtOutput();
  }
  ~State() { deflateEnd(&stream); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  void Reset() {
    deflateReset(&stream);
    PointAtOutput();
  }
  // For a state that is as good as new.
  void SetLevel(int wanted) {
    if (std::exchange(level, wanted) != wanted) deflateParams(&stream, wanted, Z_DEFAULT_STRATEGY);
  }
  void PointAtOutput() {
    stream.next_out = output.data();
    stream.avail_out = static_cast<uInt>(output.size());
  }
  // Hands over what has gathered and makes room again.
  void Empty(IStreamWriter& writer) {
    const std::size_t filled = output.size() - stream.avail_out;
    if (filled == 0) return;
    writer.Write(String::Bytes({reinterpret_cast<const char*>(output.data()), filled}));
    PointAtOutput();
  }

  z_stream stream{};
  int level = kDefaultDeflateLevel;
  std::array<Bytef, kOutputPiece> output{};
};

class ZlibDeflater : public MemberDeflater {
 public:
  // The levels below the fourth save little time for what they cost in size.
  explicit ZlibDeflater(int level) { state_->SetLevel(std::max(level, 4)); }

  void Write(std::string_view data, IStreamWriter& writer) override {
    constexpr std::size_t kMost = 1U << 30;  // zlib counts in 32 bits
    for (; !data.empty(); data.remove_prefix(std::min(data.size(), kMost))) {
      Run(data.substr(0, kMost), Z_NO_FLUSH, writer);
    }
  }
  void Finish(IStreamWriter& writer) override {
    Run({}, Z_FINISH, writer);
    state_->Empty(writer);
  }

 private:
  void Run(std::string_view data, int flush, IStreamWriter& writer) {
    z_stream& stream = state_->stream;
    stream.next_in = reinterpret_cast<const Bytef*>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    for (;;) {
      deflate(&stream, flush);
      if (stream.avail_out != 0) break;
      state_->Empty(writer);
    }
  }

  PooledState<State> state_;
};

}  // namespace

std::unique_ptr<MemberDeflater> NewZlibDeflater(int level) {
  return std::make_unique<ZlibDeflater>(level);
}

}  // namespace vantorel
