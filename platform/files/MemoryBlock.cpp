#include "platform/files/MemoryBlock.h"

#include <algorithm>
#include <limits>
#include <string>

namespace vantorel {

// calloc maps a large block without touching it; asked for no bytes, it might give nothing.
std::unique_ptr<std::uint8_t, MemoryBlock::Free> MemoryBlock::Allocate(std::size_t size) {
  void* bytes =
      std::calloc(std::max<std::size_t>(size, 1), 1);  // NOLINT(cppcoreguidelines-owning-memory): see there
  return std::unique_ptr<std::uint8_t, Free>(static_cast<std::uint8_t*>(bytes));
}

MemoryBlock::MemoryBlock(std::int32_t size, ByteOrder order) : size_(std::max(size, 0)), byte_order_(order) {
  if (size >= 0) bytes_ = Allocate(static_cast<std::size_t>(size));
  if (!bytes_) RaiseOutOfMemoryException();
}

Ref<MemoryBlock> NewMemoryBlock(std::int64_t size) {
  if (size < 0 || size > std::numeric_limits<std::int32_t>::max()) return nil;
  try {
    return New<MemoryBlock>(static_cast<std::int32_t>(size));
  } catch (const OutOfMemoryException&) {
    return nil;
  }
}

std::uint8_t* MemoryBlock::At(std::int32_t offset, std::int32_t count) const {
  if (offset < 0 || count < 0 || count > size_ || offset > size_ - count) RaiseOutOfBoundsException();
  return bytes_.get() + offset;
}

std::uint8_t MemoryBlock::Byte(std::int32_t offset) const {
  return *At(offset, 1);
}
void MemoryBlock::SetByte(std::int32_t offset, std::int32_t value) {
  *At(offset, 1) = static_cast<std::uint8_t>(value);
}

std::int16_t MemoryBlock::Short(std::int32_t offset) const {
  return static_cast<std::int16_t>(UShort(offset));
}
void MemoryBlock::SetShort(std::int32_t offset, std::int32_t value) {
  SetUShort(offset, value);
}

std::uint16_t MemoryBlock::UShort(std::int32_t offset) const {
  return Load16(At(offset, 2), byte_order_);
}
void MemoryBlock::SetUShort(std::int32_t offset, std::int32_t value) {
  Store16(At(offset, 2), static_cast<std::uint16_t>(value), byte_order_);
}

std::int32_t MemoryBlock::Long(std::int32_t offset) const {
  return static_cast<std::int32_t>(Load32(At(offset, 4), byte_order_));
}
void MemoryBlock::SetLong(std::int32_t offset, std::int32_t value) {
  Store32(At(offset, 4), static_cast<std::uint32_t>(value), byte_order_);
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

std::string_view MemoryBlock::View() const {
  return {reinterpret_cast<const char*>(bytes_.get()), static_cast<std::size_t>(size_)};
}

}  // namespace vantorel
