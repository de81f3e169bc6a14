#include "tools/forkzip/jobs/InOrder.h"

namespace vantorel::forkzip {

void InOrder::Tell(std::size_t unit, ExitCode code, std::string_view member, std::string_view message) {
  if (unit == next_) return work_.take(unit, code, member, message);
  held_.emplace(unit, Told{code, std::string(member), std::string(message)});
}

void InOrder::End(std::size_t unit) {
  done_[unit] = true;
  for (; next_ < done_.size() && done_[next_]; ++next_) {
    const auto [begin, end] = held_.equal_range(next_ + 1);
    for (auto told = begin; told != end; ++told) {
      work_.take(told->first, told->second.code, told->second.member, told->second.message);
    }
    held_.erase(begin, end);
  }
}

}  // namespace vantorel::forkzip
