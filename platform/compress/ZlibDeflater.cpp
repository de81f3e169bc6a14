#include "platform/compress/ZlibDeflater.h"

#define ZLIB_CONST
#include <zlib.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/compress/IStreamWriter.h"

namespace vantorel {

namespace {
// The largest window, and a gzip member around the data.
constexpr int kGzipWindowBits = 15 + 16;
constexpr int kDefaultMemory = 8;
constexpr std::size_t kOutputPiece = 32768;
}  // namespace

struct ZlibDeflateState {
  ZlibDeflateState() {
    if (deflateInit2(&stream, kDefaultDeflateLevel, Z_DEFLATED, kGzipWindowBits, kDefaultMemory,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
      RaiseOutOfMemoryException();
    }
    PointAtOutput();
  }
  ~ZlibDeflateState() { deflateEnd(&stream); }
  ZlibDeflateState(const ZlibDeflateState&) = delete;
  ZlibDeflateState& operator=(const ZlibDeflateState&) = delete;
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

// The levels below the fourth save little time for what they cost in size.
ZlibDeflater::ZlibDeflater(int level) {
  state_->SetLevel(std::max(level, 4));
}
ZlibDeflater::~ZlibDeflater() = default;

void ZlibDeflater::Write(std::string_view data, IStreamWriter& writer) {
  constexpr std::size_t kMost = 1U << 30;  // zlib counts in 32 bits
  for (; !data.empty(); data.remove_prefix(std::min(data.size(), kMost))) {
    Run(data.substr(0, kMost), Z_NO_FLUSH, writer);
  }
}

void ZlibDeflater::Finish(IStreamWriter& writer) {
  Run({}, Z_FINISH, writer);
  state_->Empty(writer);
}

void ZlibDeflater::Run(std::string_view data, int flush, IStreamWriter& writer) {
  z_stream& stream = state_->stream;
  stream.next_in = reinterpret_cast<const Bytef*>(data.data());
  stream.avail_in = static_cast<uInt>(data.size());
  for (;;) {
    deflate(&stream, flush);
    if (stream.avail_out != 0) break;
    state_->Empty(writer);
  }
}

}  // namespace vantorel
