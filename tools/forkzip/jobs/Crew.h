// The processes that do shared work, and the one that hears them.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/base/Descriptor.h"
#include "tools/forkzip/jobs/InOrder.h"
#include "tools/forkzip/jobs/SharedWork.h"

namespace vantorel::forkzip {

class Crew {
 public:
  // All of them must outlive it.
  Crew(const SharedWork& work, Progress& progress, InOrder& in_order)
      : work_(work), progress_(progress), in_order_(in_order) {}
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;
  // Ends the processes that are still at work, and waits for them.
  ~Crew();

  // Makes up to `jobs` processes, fewer if the system has no more. False if not even one.
  bool Start(std::size_t jobs);
  // Until all is done or, after a signal, all have stopped. Returns the tally. Raises Failure if a process
  // ends before its time, and for whatever one raised.
  std::size_t Serve();

 private:
  struct Process {
    pid_t id;
    Descriptor reports;
  };
  // In memory that all processes share.
  struct Board {
    std::atomic<std::uint32_t> next_share = 0;
    std::atomic<std::uint64_t> bytes_done = 0;  // for the progress
  };

  [[noreturn]] void Work(int reports);
  void DoShares(int reports);
  void Hear(Process& process);
  void Stop();
  // Raises Failure unless the process came to its end, or was stopped.
  void CheckEnd(Process& process) const;

  const SharedWork& work_;
  Progress& progress_;
  InOrder& in_order_;
  std::shared_ptr<Board> board_;
  std::vector<Process> processes_;
  std::size_t tally_ = 0;
};

// Does all units in `jobs` processes, or in this one if that is 1. Once a signal has come no more is begun.
// Raises Failure if a process ends before its time, and whatever `run` raises; no process is left by then.
std::size_t DoShared(std::size_t jobs, const SharedWork& work, Progress& progress);

}  // namespace vantorel::forkzip
