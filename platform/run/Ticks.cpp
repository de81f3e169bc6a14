#include "platform/run/Ticks.h"

#include <chrono>

#include "platform/base/Arithmetic.h"

namespace vantorel {

std::int32_t Ticks() {
  using Clock = std::chrono::steady_clock;
  using Sixtieths = std::chrono::duration<std::int64_t, std::ratio<1, 60>>;
  static const Clock::time_point start = Clock::now();
  const auto ticks = std::chrono::duration_cast<Sixtieths>(Clock::now() - start);
  return ToSInt32(static_cast<std::uint64_t>(ticks.count()));
}

}  // namespace vantorel
