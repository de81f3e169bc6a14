// The processes that do shared work, and the one that hears them.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/base/Descriptor.h"
#include "tools/forkzip/jobs/InOrder.h"
#include "tools/forkzip/jobs/Reports.h"
#include "tools/forkzip/jobs/SharedWork.h"

namespace vantorel::forkzip {

class Crew {
 public:
  // All of them must outlive it.
  Crew(const SharedWork& work, Progress& progress, InOrder& in_order);
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;
  // Ends the processes that are still at work, and waits for them.
  ~Crew();

  // Makes up to `jobs` processes, fewer if the system has no more. False if not even one.
  bool Start(std::size_t jobs);
  // Until all is done or, after a signal, all have stopped. Returns the tally. Raises Failure.
  std::size_t Serve();

 private:
  struct Process {
    pid_t id;
    Descriptor reports;
    std::string unread{};
    std::uint64_t done = 0;  // bytes, for the progress
  };

  [[noreturn]] void Work(int shares, int reports);
  void DoShares(int shares, int reports);
  void Hear(Process& process);
  void Take(Process& process, const Report& report, std::string_view member, std::string_view message);
  void ShowProgress();
  void Stop();
  // Raises Failure unless the process came to its end, or was stopped.
  void CheckEnd(Process& process) const;

  const SharedWork& work_;
  Progress& progress_;
  InOrder& in_order_;
  std::vector<std::vector<std::uint32_t>> units_;  // of each share
  std::vector<Process> processes_;
  std::size_t tally_ = 0;
};

}  // namespace vantorel::forkzip
