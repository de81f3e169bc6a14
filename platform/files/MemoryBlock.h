// A buffer of fixed size with a byte-order flag. Every numeric accessor works at a byte offset, from 0, under
// that flag; one that would leave the block raises OutOfBoundsException.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "platform/base/ByteOrder.h"
#include "platform/base/Ref.h"
#include "platform/text/String.h"

namespace vantorel {

class MemoryBlock : public Object {
 public:
  // A zero-filled block, in the machine's byte order if none is given. Raises OutOfMemoryException if it
  // cannot be had.
  explicit MemoryBlock(std::int32_t size, ByteOrder order = kMachineOrder);

  std::int32_t Size() const { return size_; }
  bool LittleEndian() const { return byte_order_ == ByteOrder::kLittle; }
  void SetLittleEndian(bool value) { byte_order_ = value ? ByteOrder::kLittle : ByteOrder::kBig; }

  std::uint8_t Byte(std::int32_t offset) const { return *At(offset, 1); }
  void SetByte(std::int32_t offset, std::int32_t value) { *At(offset, 1) = static_cast<std::uint8_t>(value); }
  std::int16_t Short(std::int32_t offset) const { return static_cast<std::int16_t>(UShort(offset)); }
  void SetShort(std::int32_t offset, std::int32_t value) { SetUShort(offset, value); }
  std::uint16_t UShort(std::int32_t offset) const { return Load16(At(offset, 2), byte_order_); }
  void SetUShort(std::int32_t offset, std::int32_t value) {
    Store16(At(offset, 2), static_cast<std::uint16_t>(value), byte_order_);
  }
  std::int32_t Long(std::int32_t offset) const {
    return static_cast<std::int32_t>(Load32(At(offset, 4), byte_order_));
  }
  void SetLong(std::int32_t offset, std::int32_t value) {
    Store32(At(offset, 4), static_cast<std::uint32_t>(value), byte_order_);
  }
  // `length` bytes as a string with the given label.
  String StringValue(std::int32_t offset, std::int32_t length, const Ref<TextEncoding>& encoding = nil) const;
  // Copies `text` in: `length` bytes, cut or filled up with zeros.
  void SetStringValue(std::int32_t offset, std::int32_t length, const String& text);
  // A string with a length byte in front.
  String PString(std::int32_t offset) const;
  // At most 255 bytes of `text` are stored.
  void SetPString(std::int32_t offset, const String& text);

  // The block's bytes, valid while it lives.
  std::string_view View() const {
    return {reinterpret_cast<const char*>(bytes_.get()), static_cast<std::size_t>(size_)};
  }

 private:
  static constexpr ByteOrder kMachineOrder =
      std::endian::native == std::endian::little ? ByteOrder::kLittle : ByteOrder::kBig;

  // The `count` bytes at `offset`, after the bounds check.
  std::uint8_t* At(std::int32_t offset, std::int32_t count) const {
    if (offset < 0 || count < 0 || count > size_ || offset > size_ - count) RaiseOutOfBoundsException();
    return bytes_.get() + offset;
  }

  std::unique_ptr<std::uint8_t, void (*)(void*)> bytes_;
  std::int32_t size_ = 0;
  ByteOrder byte_order_;
};

// A zero-filled block, or nil when memory is short or the size is negative or beyond 2^31 - 1. Costs no
// touched memory for a large size.
Ref<MemoryBlock> NewMemoryBlock(std::int64_t size);

}  // namespace vantorel
