#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/compress/GzipFraming.h"
#include "platform/compress/MemberDeflater.h"
#include "platform/compress/PooledState.h"

namespace vantorel {

const std::size_t kHeldUpTo = 8U << 20U;

namespace {

// What the library takes for each of zlib's levels: archives are a little smaller than zlib's.
constexpr std::array<int, 10> kLevels = {0, 4, 4, 5, 5, 5, 5, 6, 8, 12};

// One for all members of a thread: it carries nothing from one call to the next.
libdeflate_compressor* Compressor(int level) {
  thread_local std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor(
      nullptr, libdeflate_free_compressor);
  thread_local int its_level = -1;
  if (std::exchange(its_level, level) != level) {
    compressor.reset(libdeflate_alloc_compressor(kLevels.at(static_cast<std::size_t>(level))));
  }
  if (compressor == nullptr) RaiseOutOfMemoryException();
  return compressor.get();
}

void WriteInPieces(std::string_view bytes, IStreamWriter& writer) {
  constexpr std::size_t kOutputPiece = 65536;
  for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), kOutputPiece))) {
    writer.Write(String::Bytes(bytes.substr(0, kOutputPiece)));
  }
}

// Room for the largest member that is held, and for what becomes of it. Memory that no member needs is never
// touched, and what one has needed serves the next.
struct HeldMember {
  void Reset() { size = 0; }

  std::size_t packed_room = libdeflate_gzip_compress_bound(nullptr, kHeldUpTo);
  std::unique_ptr<char[]> data = std::make_unique_for_overwrite<char[]>(kHeldUpTo);
  std::unique_ptr<char[]> packed = std::make_unique_for_overwrite<char[]>(packed_room);
  std::size_t size = 0;
};

class LibdeflateDeflater : public MemberDeflater {
 public:
  explicit LibdeflateDeflater(const DeflateWays& ways) : ways_(ways) {}

  void Write(std::string_view data, IStreamWriter& writer) override {
    if (stream_ == nullptr) {
      if (data.size() <= kHeldUpTo - held_->size) {
        std::copy(data.begin(), data.end(), held_->data.get() + held_->size);
        held_->size += data.size();
        return;
      }
      stream_ = NewZlibDeflater(ways_.level);
      stream_->Write({held_->data.get(), held_->size}, writer);
    }
    stream_->Write(data, writer);
  }

  void Finish(IStreamWriter& writer) override {
    if (stream_ != nullptr) return stream_->Finish(writer);
    const std::size_t length = libdeflate_gzip_compress(Compressor(ways_.level), held_->data.get(),
                                                        held_->size, held_->packed.get(), held_->packed_room);
    if (length == 0) throw RuntimeException("the compression library did not keep to its own bound");
    const std::string_view packed(held_->packed.get(), length);
    const std::string_view data(held_->data.get(), held_->size);
    stored_ = ways_.may_store && packed.size() >= data.size() + kGzipHeaderLength + kGzipTrailerLength;
    if (!stored_) return WriteInPieces(packed, writer);
    writer.Write(String::Bytes(packed.substr(0, kGzipHeaderLength)));
    WriteInPieces(data, writer);
    writer.Write(String::Bytes(packed.substr(packed.size() - kGzipTrailerLength)));
  }
  bool Stored() const override { return stored_; }

 private:
  DeflateWays ways_;
  bool stored_ = false;
  PooledState<HeldMember> held_;
  // Set once the member has grown past the limit.
  std::unique_ptr<MemberDeflater> stream_;
};

}  // namespace

std::unique_ptr<MemberDeflater> NewLibdeflateDeflater(const DeflateWays& ways) {
  return std::make_unique<LibdeflateDeflater>(ways);
}

}  // namespace vantorel
