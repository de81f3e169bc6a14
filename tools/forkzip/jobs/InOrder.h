#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/forkzip/jobs/SharedWork.h"

namespace vantorel::forkzip {

// Holds back what is told of a unit until all units before it are done.
class InOrder {
 public:
  explicit InOrder(const SharedWork& work) : work_(work), done_(work.sizes.size()) {}

  void Tell(std::size_t unit, ExitCode code, std::string_view member, std::string_view message);
  // Nothing more will be told of the unit.
  void End(std::size_t unit);
  bool HasEnded(std::size_t unit) const { return done_[unit]; }

 private:
  struct Told {
    ExitCode code;
    std::string member;
    std::string message;
  };

  const SharedWork& work_;
  std::multimap<std::size_t, Told> held_;
  std::vector<bool> done_;
  std::size_t next_ = 0;  // the first unit that is not done
};

}  // namespace vantorel::forkzip
