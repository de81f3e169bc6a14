#include "tools/forkzip/jobs/SharedWork.h"

#include <numeric>
#include <unordered_map>

#include "tools/forkzip/jobs/JobCount.h"

namespace vantorel::forkzip {

std::uint64_t SharedWork::TotalSize() const {
  return std::accumulate(sizes.begin(), sizes.end(), std::uint64_t{0});
}

std::size_t SharedWork::Jobs(std::size_t asked) const {
  constexpr std::uint64_t kWorthAProcess = 8U << 20U;  // which takes about a millisecond to start
  return JobCount(asked, sizes.size(), TotalSize(), kWorthAProcess);
}

void ShareOut(SharedWork& work, const std::vector<std::optional<std::uint64_t>>& keys) {
  constexpr std::uint64_t kMostShares = 1000;
  constexpr std::uint64_t kPerUnit = 4096;  // whatever its size
  const std::uint64_t enough = (work.TotalSize() + work.sizes.size() * kPerUnit) / (kMostShares - 1) + 1;
  std::unordered_map<std::uint64_t, std::size_t> share_of;
  std::uint64_t gathered = 0;
  for (std::uint32_t unit = 0; unit < work.sizes.size(); ++unit) {
    if (!keys.empty() && !keys[unit]) {
      work.own.push_back(unit);
      continue;
    }
    const std::size_t next = gathered / enough;
    work.shares.resize(next + 1);
    const std::size_t share = keys.empty() ? next : share_of.try_emplace(*keys[unit], next).first->second;
    work.shares[share].push_back(unit);
    gathered += work.sizes[unit] + kPerUnit;
  }
}

}  // namespace vantorel::forkzip
