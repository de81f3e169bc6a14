#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/forkzip/jobs/SharedWork.h"

namespace vantorel::forkzip {

// Hands on what it is told.
class TellTo : public Problems {
 public:
  using Take = std::function<void(ExitCode code, std::string_view member, std::string_view message)>;
  explicit TellTo(Take take) : Problems(""), take_(std::move(take)) {}
  void Add(ExitCode code, std::string_view member, std::string_view message) override {
    take_(code, member, message);
  }

 private:
  Take take_;
};

// Holds back what is told of a unit until all units before it are done.
class InOrder {
 public:
  explicit InOrder(const SharedWork& work) : work_(work), done_(work.units.size()) {}

  void Tell(std::size_t unit, ExitCode code, std::string_view member, std::string_view message);
  // Nothing more will be told of the unit.
  void End(std::size_t unit);

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
