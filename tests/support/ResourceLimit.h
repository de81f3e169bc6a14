// A system that runs short of something, as far as one process can tell: RLIMIT_FSIZE is a disk that fills
// up.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace vantorel::testing {

// The process has no more than `value` of `what` while this lives.
class ResourceLimit {
 public:
  ResourceLimit(decltype(RLIMIT_FSIZE) what, rlim_t value)
      : what_(what), handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(what, &before_);
    const rlimit limit{value, before_.rlim_max};
    setrlimit(what, &limit);
  }
  ResourceLimit(const ResourceLimit&) = delete;
  ResourceLimit& operator=(const ResourceLimit&) = delete;
  ~ResourceLimit() {
    setrlimit(what_, &before_);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  decltype(RLIMIT_FSIZE) what_;
  rlimit before_{};
  void (*handler_)(int);
};

}  // namespace vantorel::testing
