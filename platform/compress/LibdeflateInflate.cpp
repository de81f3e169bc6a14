#include "platform/compress/LibdeflateInflate.h"

#include <libdeflate.h>

#include <memory>

#include "platform/base/Exceptions.h"

namespace vantorel {

namespace {
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

std::optional<std::string> InflateWholeMember(std::string_view member, std::size_t size) {
  std::string contents(size, '\0');
  std::size_t produced = 0;
  const libdeflate_result result = libdeflate_gzip_decompress(Decompressor(), member.data(), member.size(),
                                                              contents.data(), size, &produced);
  if (result != LIBDEFLATE_SUCCESS || produced != size) return std::nullopt;
  return contents;
}

}  // namespace vantorel
