#include "tools/forkzip/jobs/SharedWork.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <unordered_map>

#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/jobs/Crew.h"
#include "tools/forkzip/jobs/InOrder.h"

namespace vantorel::forkzip {

namespace {

// Hands on what it is told of a unit.
class TellOf : public Problems {
 public:
  TellOf(std::uint32_t unit, const SharedWork::Take& tell) : Problems(""), unit_(unit), tell_(tell) {}
  void Add(ExitCode code, std::string_view member, std::string_view message) override {
    tell_(unit_, code, member, message);
  }

 private:
  std::uint32_t unit_;
  const SharedWork::Take& tell_;
};

std::size_t DoHere(const SharedWork& work, const SharedWork::Units& units, InOrder& in_order,
                   Progress& progress) {
  const SharedWork::Take tell = std::bind_front(&InOrder::Tell, &in_order);
  std::size_t tally = 0;
  for (const std::uint32_t unit : units) {
    tally += DoUnit(work, unit, tell, progress);
    if (Interruption::Requested()) break;
    in_order.End(unit);
  }
  return tally;
}

}  // namespace

std::size_t DoUnit(const SharedWork& work, std::uint32_t unit, const SharedWork::Take& tell,
                   Progress& progress) {
  TellOf problems(unit, tell);
  const std::size_t tally = work.run(unit, problems);
  if (!Interruption::Requested()) progress.End(work.sizes[unit]);
  return tally;
}

void ShareOut(SharedWork& work, const std::vector<std::optional<std::uint64_t>>& keys) {
  constexpr std::uint64_t kMostShares = 1000;
  constexpr std::uint64_t kPerUnit = 4096;  // whatever its size
  const std::uint64_t total =
      std::accumulate(work.sizes.begin(), work.sizes.end(), work.sizes.size() * kPerUnit);
  const std::uint64_t enough = total / (kMostShares - 1) + 1;
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

std::size_t DoShared(std::size_t jobs, const SharedWork& work, Progress& progress) {
  InOrder in_order(work);
  Crew crew(work, progress, in_order);
  std::size_t tally = 0;
  if (jobs > 1 && work.shares.size() > 1) {
    tally = DoHere(work, work.own, in_order, progress);
    if (Interruption::Requested()) return tally;
    if (crew.Start(std::min(jobs, work.shares.size()))) return tally + crew.Serve();
  }
  SharedWork::Units rest;
  for (std::uint32_t unit = 0; unit < work.sizes.size(); ++unit) {
    if (!in_order.HasEnded(unit)) rest.push_back(unit);
  }
  return tally + DoHere(work, rest, in_order, progress);
}

}  // namespace vantorel::forkzip
