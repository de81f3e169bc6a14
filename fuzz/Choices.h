// What a harness does next, as the bytes of the input say.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantorel::fuzzing {

// The choices that the input makes; zeros once it is used up.
class Choices {
 public:
  Choices(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool More() const { return position_ < size_; }
  std::uint8_t Byte() { return More() ? data_[position_++] : std::uint8_t{0}; }
  std::size_t Below(std::size_t bound) { return bound == 0 ? 0 : Byte() % bound; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t position_ = 0;
};

}  // namespace vantorel::fuzzing
