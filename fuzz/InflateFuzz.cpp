// Inflates a gzip member by zlib and by the engines of this build: they must come to the same verdict and
// deliver the same bytes. In a faulty member one engine may notice the fault a little earlier than the other,
// and so call it cut where the other calls it bad.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/base/ByteOrder.h"
#include "platform/compress/Crc32.h"
#include "platform/compress/MemberInflater.h"
#include "platform/compress/ZStream.h"

namespace vantorel {
namespace {

// Lets a bomb end in reasonable time.
constexpr std::size_t kMostOutput = 8U << 20U;

class PieceReader : public IStreamReader {
 public:
  PieceReader(std::string_view bytes, std::size_t piece) : bytes_(bytes), piece_(piece) {}
  String Read(std::int32_t count) override {
    const std::string_view taken = bytes_.substr(0, std::min(piece_, static_cast<std::size_t>(count)));
    bytes_.remove_prefix(taken.size());
    return String::Bytes(taken);
  }
  std::int32_t LastError() override { return 0; }

 private:
  std::string_view bytes_;
  std::size_t piece_;
};

struct Outcome {
  std::string bytes;
  std::int32_t error = 0;
};

Outcome InflateByZlib(std::string_view member) {
  const std::unique_ptr<MemberInflater> zlib = NewZlibInflater();
  std::string room(16384, '\0');
  Outcome outcome;
  while (outcome.error == 0 && outcome.bytes.size() < kMostOutput) {
    const std::size_t left = member.size();
    std::size_t produced = 0;
    outcome.error = static_cast<std::int32_t>(zlib->Inflate(member, room.data(), room.size(), produced));
    outcome.bytes.append(room, 0, produced);
    const bool stuck = outcome.error == 0 && produced == 0 && member.size() == left;
    if (stuck) outcome.error = static_cast<std::int32_t>(MemberStatus::kTruncated);
  }
  return outcome;
}

Outcome Inflate(std::string_view member, std::size_t piece) {
  ZStream stream(false, nil, New<PieceReader>(member, piece));
  Outcome outcome;
  while (stream.ErrorValue() == 0 && outcome.bytes.size() < kMostOutput) {
    outcome.bytes += stream.Read(16384).view();
  }
  outcome.error = stream.ErrorValue();
  return outcome;
}

// Deflate data in the frame that an archive's reader puts around a member's data. A stored block in front
// makes the member larger than one piece of input. The trailer is right for what zlib makes of the data.
std::string Framed(std::string_view data, bool long_member) {
  std::string member("\x1F\x8B\x08\0\0\0\0\0\0\x07", 10);
  if (long_member) member += std::string("\0\xFF\xFF\0\0", 5) + std::string(65535, 'x');
  member += data;
  const std::string contents = InflateByZlib(member + std::string(8, '\0')).bytes;
  member += LittleEndian32(static_cast<std::uint32_t>(Crc32OfBytes(contents, 0)));
  return member + LittleEndian32(static_cast<std::uint32_t>(contents.size()));
}

}  // namespace
}  // namespace vantorel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantorel;
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
  const std::string member = (data[0] & 1) != 0 ? Framed(bytes, (data[0] & 2) != 0) : std::string(bytes);
  const std::size_t piece = data[1] == 0 ? 65536 : data[1];
  const Outcome slow = InflateByZlib(member);
  const Outcome fast = Inflate(member, piece);
  if (std::min(slow.bytes.size(), fast.bytes.size()) >= kMostOutput) return 0;
  const bool same = slow.error < 0 ? fast.error < 0 && (slow.bytes.starts_with(fast.bytes) ||
                                                        fast.bytes.starts_with(slow.bytes))
                                   : slow.error == fast.error && slow.bytes == fast.bytes;
  if (!same) {
    std::fprintf(stderr, "zlib: %d after %zu bytes; fast: %d after %zu\n", slow.error, slow.bytes.size(),
                 fast.error, fast.bytes.size());
    std::abort();
  }
  return 0;
}
