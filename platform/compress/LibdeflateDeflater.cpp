#include "platform/compress/LibdeflateDeflater.h"

#include <libdeflate.h>

#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/compress/IStreamWriter.h"

namespace vantorel {

namespace {
// As good as zlib's default level, within one per cent.
constexpr int kLevel = 6;

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

void LibdeflateDeflater::Write(std::string_view data, IStreamWriter& writer) {
  if (stream_ == nullptr) {
    if (held_.size() + data.size() <= kLimit) {
      held_.append(data);
      return;
    }
    stream_ = std::make_unique<ZlibDeflater>();
    stream_->Write(std::exchange(held_, {}), writer);
  }
  stream_->Write(data, writer);
}

void LibdeflateDeflater::Finish(IStreamWriter& writer) {
  if (stream_ != nullptr) {
    stream_->Finish(writer);
    return;
  }
  std::string member(libdeflate_gzip_compress_bound(Compressor(), held_.size()), '\0');
  const std::size_t length =
      libdeflate_gzip_compress(Compressor(), held_.data(), held_.size(), member.data(), member.size());
  if (length == 0) throw RuntimeException("the compression library did not keep to its own bound");
  member.resize(length);
  writer.Write(String::Adopt(std::move(member), nil));
}

}  // namespace vantorel
