#include "platform/files/MemoryBlock.h"

#include <algorithm>
#include <limits>
#include <string>

namespace vantorel {

MemoryBlock::MemoryBlock(std::int32_t size, ByteOrder order)
    : bytes_(nullptr, std::free), size_(std::max(size, 0)), byte_order_(order) {
  // calloc maps a large block without touching it; asked for no bytes, it might give nothing.
  void* bytes = std::calloc(std::max<std::size_t>(static_cast<std::size_t>(size_), 1), 1);
  bytes_.reset(static_cast<std::uint8_t*>(bytes));
  if (size < 0 || !bytes_) RaiseOutOfMemoryException();
}

Ref<MemoryBlock> NewMemoryBlock(std::int64_t size) {
  if (size < 0 || size > std::numeric_limits<std::int32_t>::max()) return nil;
  try {
    return New<MemoryBlock>(static_cast<std::int32_t>(size));
  } catch (const OutOfMemoryException&) {
    return nil;
  }
}

String MemoryBlock::StringValue(std::int32_t offset, std::int32_t length,
                                const Ref<TextEncoding>& encoding) const {
  const auto* bytes = reinterpret_cast<const char*>(At(offset, length));
  return String::Adopt(std::string(bytes, static_cast<std::size_t>(length)), encoding);
}

void MemoryBlock::SetStringValue(std::int32_t offset, std::int32_t length, const String& text) {
  std::uint8_t* bytes = At(offset, length);
  const std::string_view source = text.view().substr(0, static_cast<std::size_t>(length));
  std::fill_n(std::copy(source.begin(), source.end(), bytes),
              static_cast<std::size_t>(length) - source.size(), std::uint8_t{0});
}

String MemoryBlock::PString(std::int32_t offset) const {
  const std::int32_t length = Byte(offset);
  return length == 0 ? String() : StringValue(offset + 1, length);
}

void MemoryBlock::SetPString(std::int32_t offset, const String& text) {
  constexpr std::size_t kLongest = 255;
  const auto length = static_cast<std::int32_t>(std::min(text.size(), kLongest));
  At(offset, length + 1);
  SetByte(offset, length);
  SetStringValue(offset + 1, length, text);
}

}  // namespace vantorel
