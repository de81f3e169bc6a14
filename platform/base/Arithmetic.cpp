#include "platform/base/Arithmetic.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vantorel {

std::int32_t RuntimeCvtReal64ToSInt32(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (!std::isfinite(value)) return 0;
  return static_cast<std::int32_t>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

double RuntimeCvtSInt32ToReal64(std::int32_t value) {
  return static_cast<double>(value);
}

}  // namespace vantorel
