#include "platform/compress/LibdeflateDeflater.h"

#include <libdeflate.h>

#include <algorithm>
#include <string_view>

#include "platform/base/Exceptions.h"
#include "platform/compress/IStreamWriter.h"

namespace vantorel {

namespace {
// Archives are still a little smaller than with zlib's default level.
constexpr int kLevel = 5;

struct FreeCompressor {
  void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
};

// One for all members: it carries nothing from one call to the next.
libdeflate_compressor* Compressor() {
  static const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(
      libdeflate_alloc_compressor(kLevel));
  if (compressor == nullptr) RaiseOutOfMemoryException();
  return compressor.get();
}
}  // namespace

// Room for the largest member that is held, and for what becomes of it. Memory that no member needs is never
// touched, and what one has needed serves the next.
struct HeldMember {
  void Reset() { size = 0; }

  std::size_t packed_room = libdeflate_gzip_compress_bound(Compressor(), LibdeflateDeflater::kLimit);
  std::unique_ptr<char[]> data = std::make_unique_for_overwrite<char[]>(LibdeflateDeflater::kLimit);
  std::unique_ptr<char[]> packed = std::make_unique_for_overwrite<char[]>(packed_room);
  std::size_t size = 0;
};

LibdeflateDeflater::LibdeflateDeflater() = default;
LibdeflateDeflater::~LibdeflateDeflater() = default;

void LibdeflateDeflater::Write(std::string_view data, IStreamWriter& writer) {
  if (stream_ == nullptr) {
    if (data.size() <= kLimit - held_->size) {
      std::copy(data.begin(), data.end(), held_->data.get() + held_->size);
      held_->size += data.size();
      return;
    }
    stream_ = std::make_unique<ZlibDeflater>();
    stream_->Write({held_->data.get(), held_->size}, writer);
  }
  stream_->Write(data, writer);
}

void LibdeflateDeflater::Finish(IStreamWriter& writer) {
  if (stream_ != nullptr) {
    stream_->Finish(writer);
    return;
  }
  const std::size_t length = libdeflate_gzip_compress(Compressor(), held_->data.get(), held_->size,
                                                      held_->packed.get(), held_->packed_room);
  if (length == 0) throw RuntimeException("the compression library did not keep to its own bound");
  constexpr std::size_t kOutputPiece = 65536;
  for (std::string_view rest(held_->packed.get(), length); !rest.empty();) {
    const std::string_view piece = rest.substr(0, kOutputPiece);
    writer.Write(String::Bytes(piece));
    rest.remove_prefix(piece.size());
  }
}

}  // namespace vantorel
