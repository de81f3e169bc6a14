#include "tools/forkzip/jobs/JobCount.h"

#include <sched.h>

#include <algorithm>

namespace vantorel::forkzip {

std::size_t JobCount(std::size_t asked, std::size_t members, std::uint64_t bytes, std::uint64_t least) {
  constexpr std::uint64_t kPerMember = 4096;
  std::uint64_t jobs = asked;
  if (jobs == 0) {
    cpu_set_t usable;
    const bool known = sched_getaffinity(0, sizeof usable, &usable) == 0;
    jobs = std::min<std::uint64_t>(known ? static_cast<std::uint64_t>(CPU_COUNT(&usable)) : 1,
                                   (bytes + members * kPerMember) / least);
  }
  return std::clamp<std::uint64_t>(jobs, 1, std::max<std::size_t>(members, 1));
}

}  // namespace vantorel::forkzip
