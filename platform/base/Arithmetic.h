// Arithmetic that is defined for every value: sums wrap, and conversions cut.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vantorel {

// A double cut to a signed 32-bit integer, toward zero. A number that does not fit gives the nearest that
// does; what is no number (NaN, or the infinity that a division by 0 leaves) gives 0.
inline std::int32_t RuntimeCvtReal64ToSInt32(double value) {
  if (!std::isfinite(value)) return 0;
  return static_cast<std::int32_t>(std::clamp<double>(value, INT32_MIN, INT32_MAX));
}
inline double RuntimeCvtSInt32ToReal64(std::int32_t value) {
  return value;
}

// Two's-complement wrap-around, for record fields that are handled as signed 32-bit numbers.
constexpr std::int32_t ToSInt32(std::uint64_t value) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}
// A signed 32-bit position widened by sign, as a stream position: 2^31 and above lands beyond any file.
constexpr std::uint64_t ToPosition(std::int32_t value) {
  return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
}
constexpr std::int32_t AddSInt32(std::int32_t a, std::int32_t b) {
  return ToSInt32(static_cast<std::uint64_t>(static_cast<std::int64_t>(a) + b));
}
constexpr std::int32_t SubtractSInt32(std::int32_t a, std::int32_t b) {
  return ToSInt32(static_cast<std::uint64_t>(static_cast<std::int64_t>(a) - b));
}

}  // namespace vantorel
