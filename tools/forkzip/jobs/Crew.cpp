#include "tools/forkzip/jobs/Crew.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/jobs/InOrder.h"

namespace vantorel::forkzip {

namespace {

// What a process says through its pipe, before the two texts that belong to it.
struct Report {
  enum class Kind : std::uint32_t {
    kTold,       // something about the unit `index`
    kShareDone,  // the share `index`, with `tally`
    kFault,      // what ends the work
  };

  Kind kind;
  ExitCode code = ExitCode::kDone;
  std::uint32_t index = 0;
  std::uint32_t member_size = 0;
  std::uint32_t message_size = 0;
  std::uint32_t tally = 0;
};

// Raises Interrupted if nobody listens any more.
void Write(int pipe, Report report, std::string_view member = {}, std::string_view message = {}) {
  report.member_size = static_cast<std::uint32_t>(member.size());
  report.message_size = static_cast<std::uint32_t>(message.size());
  std::string bytes(reinterpret_cast<const char*>(&report), sizeof report);
  bytes.append(member).append(message);
  if (WriteAll(pipe, bytes) != 0) throw Interrupted();
}

// False if the pipe ends before that.
bool Read(int pipe, char* bytes, std::size_t count) {
  while (count != 0) {
    const ssize_t got = read(pipe, bytes, count);
    if (got == 0) return false;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw SystemFailure("one of its processes cannot be heard", errno);
    bytes += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

std::size_t DoHere(const SharedWork& work, const SharedWork::Units& units, InOrder& in_order,
                   Progress& progress) {
  std::size_t tally = 0;
  for (const std::uint32_t unit : units) {
    tally += work.run(unit, std::bind_front(&InOrder::Tell, &in_order, unit));
    if (Interruption::Requested()) break;
    progress.End(work.sizes[unit]);
    in_order.End(unit);
  }
  return tally;
}

// The processes that do shared work, and the one that hears them.
class Crew {
 public:
  // All of them must outlive it.
  Crew(const SharedWork& work, Progress& progress, InOrder& in_order)
      : work_(work), progress_(progress), in_order_(in_order) {}
  // Ends the processes that are still at work, and waits for them.
  ~Crew() {
    Stop();
    // One that waits for its reports to be read sees that nobody will.
    for (Process& process : processes_) process.reports.Close();
    for (const Process& process : processes_) {
      while (process.id != 0 && waitpid(process.id, nullptr, 0) < 0 && errno == EINTR) {
      }
    }
  }

  // Makes up to `jobs` processes, fewer if the system has no more. False if not even one.
  bool Start(std::size_t jobs) {
    void* memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return false;
    board_ = {std::construct_at(static_cast<Board*>(memory)),
              [](Board* board) { munmap(board, sizeof *board); }};
    const pid_t parent = getpid();
    while (processes_.size() < jobs) {
      std::array<int, 2> ends = {-1, -1};
      const pid_t id = pipe2(ends.data(), O_CLOEXEC) == 0 ? fork() : -1;
      Descriptor reports(ends[0]);
      const Descriptor report_to(ends[1]);
      if (id == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) _exit(1);
        // All reports are for the parent alone: when it is gone, a write fails.
        reports.Close();
        processes_.clear();
        Work(report_to.Number());
      }
      if (id < 0) break;
      processes_.push_back({id, std::move(reports)});
    }
    return !processes_.empty();
  }

  // Until all is done or, after a signal, all have stopped. Returns the tally. Raises Failure if a process
  // ends before its time, and for whatever one raised.
  std::size_t Serve() {
    while (true) {
      std::vector<pollfd> waiting;
      for (const Process& process : processes_) waiting.push_back({process.reports.Number(), POLLIN, 0});
      if (std::ranges::none_of(waiting, [](const pollfd& each) { return each.fd >= 0; })) break;
      // Not without end: a signal may come just before it.
      poll(waiting.data(), waiting.size(), 100);
      if (Interruption::Requested()) Stop();
      for (std::size_t i = 0; i < waiting.size(); ++i) {
        if (waiting[i].revents != 0) Hear(processes_[i]);
      }
      progress_.ShowAhead(board_->bytes_done);
    }
    if (!Interruption::Requested()) progress_.End(board_->bytes_done);
    return tally_;
  }

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

  [[noreturn]] void Work(int reports) {
    try {
      try {
        DoShares(reports);
      } catch (...) {
        const Failure fault = FailureInFlight();
        Write(reports, {Report::Kind::kFault, fault.Code()}, {}, fault.what());
      }
    } catch (...) {
      _exit(1);  // there is nobody to hear more
    }
    _exit(Interruption::Requested() ? 1 : 0);
  }

  void DoShares(int reports) {
    progress_.DivertTo([this, before = std::uint64_t{0}](std::uint64_t done) mutable {
      board_->bytes_done += done - std::exchange(before, done);
    });
    // Whoever is free takes the next one.
    std::uint32_t share = 0;
    while (!Interruption::Requested() && (share = board_->next_share++) < work_.shares.size()) {
      std::uint32_t tally = 0;
      for (const std::uint32_t unit : work_.shares[share]) {
        const auto tell = [=](const Told& told) {
          Write(reports, {Report::Kind::kTold, told.code, unit}, told.member, told.message);
        };
        tally += static_cast<std::uint32_t>(work_.run(unit, tell));
        if (Interruption::Requested()) return;
        progress_.End(work_.sizes[unit]);
      }
      Write(reports, {.kind = Report::Kind::kShareDone, .index = share, .tally = tally});
    }
  }

  void Hear(Process& process) {
    Report report{};
    const int pipe = process.reports.Number();
    const bool told = Read(pipe, reinterpret_cast<char*>(&report), sizeof report);
    std::string member(report.member_size, '\0');
    std::string message(report.message_size, '\0');
    if (!told || !Read(pipe, member.data(), member.size()) || !Read(pipe, message.data(), message.size())) {
      process.reports.Close();
      return CheckEnd(process);
    }
    if (report.kind == Report::Kind::kFault) throw Failure(report.code, message);
    if (report.kind == Report::Kind::kTold)
      return in_order_.Tell(report.index, {report.code, member, message});
    tally_ += report.tally;
    for (const std::uint32_t unit : work_.shares.at(report.index)) in_order_.End(unit);
  }

  // They clean up and end by themselves.
  void Stop() {
    for (const Process& process : processes_) {
      if (process.id != 0) kill(process.id, SIGTERM);
    }
  }

  // Raises Failure unless the process came to its end, or was stopped.
  void CheckEnd(Process& process) const {
    int status = 0;
    const pid_t id = std::exchange(process.id, 0);
    while (waitpid(id, &status, 0) < 0 && errno == EINTR) {
    }
    if (status == 0 || Interruption::Requested()) return;
    const std::string how = WIFSIGNALED(status) ? " by signal " + std::to_string(WTERMSIG(status)) : "";
    throw Failure(ExitCode::kFileError, "one of its processes was ended" + how);
  }

  const SharedWork& work_;
  Progress& progress_;
  InOrder& in_order_;
  std::shared_ptr<Board> board_;
  std::vector<Process> processes_;
  std::size_t tally_ = 0;
};

}  // namespace

std::size_t DoShared(std::size_t jobs, const SharedWork& work, Progress& progress) {
  InOrder in_order(work);
  Crew crew(work, progress, in_order);
  std::size_t tally = 0;
  if (jobs > 1 && work.shares.size() > 1) {
    tally = DoHere(work, work.own, in_order, progress);
    if (Interruption::Requested()) return tally;
    if (crew.Start(std::min(jobs, work.shares.size()))) return tally + crew.Serve();
  }
  SharedWork::Units rest;
  for (std::uint32_t unit = 0; unit < work.sizes.size(); ++unit) {
    if (!in_order.HasEnded(unit)) rest.push_back(unit);
  }
  return tally + DoHere(work, rest, in_order, progress);
}

}  // namespace vantorel::forkzip
