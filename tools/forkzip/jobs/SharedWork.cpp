#include "tools/forkzip/jobs/SharedWork.h"

#include <algorithm>
#include <unordered_map>

#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/jobs/Crew.h"
#include "tools/forkzip/jobs/InOrder.h"

namespace vantorel::forkzip {

namespace {

enum class Which { kAll, kOwn, kShared };

// Does units in this process.
std::size_t DoHere(const SharedWork& work, Which which, InOrder& in_order, Progress& progress) {
  std::size_t tally = 0;
  for (std::size_t unit = 0; unit < work.units.size(); ++unit) {
    const Which its = work.units[unit].share == SharedWork::kOwn ? Which::kOwn : Which::kShared;
    if (which != Which::kAll && which != its) continue;
    TellTo problems([&](ExitCode code, std::string_view member, std::string_view message) {
      in_order.Tell(unit, code, member, message);
    });
    tally += work.run(unit, problems);
    if (Interruption::Requested()) break;
    progress.End(work.units[unit].size);
    in_order.End(unit);
  }
  return tally;
}

}  // namespace

void ShareOut(SharedWork& work, const std::vector<std::uint64_t>& keys) {
  constexpr std::uint64_t kPerUnit = 4096;  // whatever its size
  std::uint64_t total = 0;
  for (const SharedWork::Unit& unit : work.units) total += unit.size + kPerUnit;
  const std::uint64_t enough = total / (SharedWork::kMostShares - 1) + 1;
  std::unordered_map<std::uint64_t, std::uint32_t> share_of;
  std::uint64_t gathered = 0;
  for (std::size_t i = 0; i < work.units.size(); ++i) {
    SharedWork::Unit& unit = work.units[i];
    if (unit.share == SharedWork::kOwn) continue;
    const auto next = static_cast<std::uint32_t>(gathered / enough);
    unit.share = keys.empty() ? next : share_of.try_emplace(keys[i], next).first->second;
    gathered += unit.size + kPerUnit;
    work.shares = next + 1;
  }
}

std::size_t DoShared(std::size_t jobs, const SharedWork& work, Progress& progress) {
  InOrder in_order(work);
  if (jobs < 2 || work.shares < 2) return DoHere(work, Which::kAll, in_order, progress);
  const std::size_t own = DoHere(work, Which::kOwn, in_order, progress);
  if (Interruption::Requested()) return own;
  Crew crew(work, progress, in_order);
  const bool started = crew.Start(std::min<std::size_t>(jobs, work.shares));
  return own + (started ? crew.Serve() : DoHere(work, Which::kShared, in_order, progress));
}

}  // namespace vantorel::forkzip
