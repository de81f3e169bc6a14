// The coarse clock that waits are counted in.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/base/Arithmetic.h"

namespace vantorel {

// A count that rises by 60 each second, from 0 at its first use; independent of the time of day.
inline std::int32_t Ticks() {
  using Clock = std::chrono::steady_clock;
  static const Clock::time_point start = Clock::now();
  using Sixtieths = std::chrono::duration<std::int64_t, std::ratio<1, 60>>;
  const auto ticks = std::chrono::duration_cast<Sixtieths>(Clock::now() - start);
  return ToSInt32(static_cast<std::uint64_t>(ticks.count()));
}

}  // namespace vantorel
