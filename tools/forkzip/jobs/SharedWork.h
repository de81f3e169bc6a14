// Work shared out among processes. Each is a copy of this one with all that it has open, so the engine stays
// with one thread. What they tell comes out in the order in which one job would tell it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/Progress.h"

namespace vantorel::forkzip {

struct SharedWork {
  using Units = std::vector<std::uint32_t>;

  std::vector<std::uint64_t>
      sizes;                  // of the units, in the order in which one job does them; for the progress
  Units own;                  // for the calling process, which does them before all others
  std::vector<Units> shares;  // each done by one process, in order; begun in this order

  // Does a unit, and tells what is wrong. The sum of what it returns is the result.
  std::function<std::size_t(std::size_t unit, const Tell& tell)> run;
  // Takes what was told of a unit, in the calling process and in the order of the units.
  std::function<void(std::size_t unit, const Told& told)> take;

  std::uint64_t TotalSize() const;
  // With how many jobs it is done, going by JobCount, if `asked` are asked for.
  std::size_t Jobs(std::size_t asked) const;
};

// Puts units that follow one another into shares of about the same size. If there are `keys`, one for each
// unit, then units of one key go together, and those that have none are for the calling process.
void ShareOut(SharedWork& work, const std::vector<std::optional<std::uint64_t>>& keys = {});

}  // namespace vantorel::forkzip
