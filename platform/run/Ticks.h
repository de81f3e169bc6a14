// The coarse clock that waits are counted in.
#pragma once

#include <cstdint>

namespace vantorel {

// A count that rises by 60 each second, from 0 at its first use; independent of the time of day.
std::int32_t Ticks();

}  // namespace vantorel
