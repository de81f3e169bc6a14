// The two Mac header formats: the first byte chooses, the rest is the beginning of a member's stream.
#include <algorithm>
#include <cstdint>
#include <string_view>

#include "zip/archive/ZipEntry.h"
#include "zip/extract/AppleDoubleHeader.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace {

using namespace vantorel;  // NOLINT(google-build-using-namespace): the harness is about nothing else

String HeaderBytes(std::string_view input, std::int32_t size) {
  std::string bytes(input.substr(0, static_cast<std::size_t>(size)));
  bytes.resize(static_cast<std::size_t>(size));
  return String::Bytes(bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const bool apple = (data[0] & 1) != 0;
  const std::string_view input(reinterpret_cast<const char*>(data + 1), size - 1);
  const Ref<ZipArchiveData> archive = New<ZipArchiveData>();
  const Ref<ZipEntry> entry = New<ZipEntry>(archive, nil, "name", nil, String());
  entry->EnableMacBinary1Detection((data[0] & 2) != 0);
  Ref<MemoryBlock> block;
  std::int32_t resource_offset = 0;
  try {
    const std::int32_t header_size = apple ? AppleDoubleHeader::kSize : MacBinaryHeader::kSize;
    const bool good = entry->z_unzipMBHdr(apple, HeaderBytes(input, header_size), block, resource_offset);
    // Only a bad AppleDouble header is refused, and a MacBinary one ends behind itself.
    if (!good && !apple) __builtin_trap();
    if (block && !apple && resource_offset < MacBinaryHeader::kSize) __builtin_trap();
  } catch (const RuntimeException&) {
    // A Finder info that does not lie within the bytes looked at.
    if (!apple) __builtin_trap();
  }
  return 0;
}
