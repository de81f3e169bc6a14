// Work shared out among processes. Each is a copy of this one with all that it has open, so the engine stays
// with one thread. What they tell comes out in the order in which one job would tell it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/Progress.h"

namespace vantorel::forkzip {

struct SharedWork {
  struct Unit {
    std::uint64_t size = 0;   // toward the progress
    std::uint32_t share = 0;  // the units of one share are done by one process, in order
  };
  // A share for the calling process, done before all others.
  static constexpr std::uint32_t kOwn = UINT32_MAX;
  static constexpr std::uint32_t kMostShares = 1000;

  std::vector<Unit> units;   // in the order in which one job does them
  std::uint32_t shares = 0;  // numbered from 0, and begun in that order; kMostShares at most

  // Does a unit, with what is wrong told to `problems`. The sum of what it returns is the result.
  std::function<std::size_t(std::size_t unit, Problems& problems)> run;
  // Takes what was told of a unit, in the calling process and in the order of the units.
  std::function<void(std::size_t unit, ExitCode code, std::string_view member, std::string_view message)>
      take;
};

// Puts units that follow one another into shares of about the same size, but for those that are kOwn already.
// If there are `keys`, one for each unit, then units of one key go together.
void ShareOut(SharedWork& work, const std::vector<std::uint64_t>& keys = {});

// A process takes about a millisecond to start.
inline constexpr std::uint64_t kWorthAProcess = 8U << 20U;

// Does all units in `jobs` processes, or in this one if that is 1. Once a signal has come no more is begun.
// Raises Failure if a process ends before its time, and whatever `run` raises; no process is left by then.
std::size_t DoShared(std::size_t jobs, const SharedWork& work, Progress& progress);

}  // namespace vantorel::forkzip
