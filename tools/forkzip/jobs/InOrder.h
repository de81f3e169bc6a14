#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "tools/forkzip/jobs/SharedWork.h"

namespace vantorel::forkzip {

// Holds back what is told of a unit until all units before it are done.
class InOrder {
 public:
  explicit InOrder(const SharedWork& work) : work_(work), done_(work.sizes.size()) {}

  void Tell(std::size_t unit, const Told& told) {
    if (unit == next_) return work_.take(unit, told);
    held_.emplace(unit, told);
  }

  // Nothing more will be told of the unit.
  void End(std::size_t unit) {
    done_[unit] = true;
    for (; next_ < done_.size() && done_[next_]; ++next_) {
      const auto [begin, end] = held_.equal_range(next_ + 1);
      for (auto held = begin; held != end; ++held) work_.take(held->first, held->second);
      held_.erase(begin, end);
    }
  }

  bool HasEnded(std::size_t unit) const { return done_[unit]; }

 private:
  const SharedWork& work_;
  std::multimap<std::size_t, Told> held_;
  std::vector<bool> done_;
  std::size_t next_ = 0;  // the first unit that is not done
};

}  // namespace vantorel::forkzip
