#include "platform/base/Arithmetic.h"

#include <limits>

namespace vantorel {

std::int32_t RuntimeCvtReal64ToSInt32(double value) {
  if (value > -2147483649.0 && value < 2147483648.0) return static_cast<std::int32_t>(value);
  return std::numeric_limits<std::int32_t>::min();
}

double RuntimeCvtSInt32ToReal64(std::int32_t value) {
  return static_cast<double>(value);
}

}  // namespace vantorel
