#include "tools/forkzip/jobs/Crew.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <memory>
#include <utility>

#include "tools/forkzip/cli/Interruption.h"

namespace vantorel::forkzip {

namespace {

// The end to read from, and the end to write to; neither if the system has no more.
std::pair<Descriptor, Descriptor> MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return {};
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

class TellByReport : public Problems {
 public:
  TellByReport(int reports, std::uint32_t unit) : Problems(""), reports_(reports), unit_(unit) {}
  void Add(ExitCode code, std::string_view member, std::string_view message) override {
    WriteReport(reports_, {Report::Kind::kTold, code, unit_}, member, message);
  }

 private:
  int reports_;
  std::uint32_t unit_;
};

}  // namespace

Crew::Crew(const SharedWork& work, Progress& progress, InOrder& in_order)
    : work_(work), progress_(progress), in_order_(in_order), units_(work.shares) {
  for (std::uint32_t unit = 0; unit < work.units.size(); ++unit) {
    const std::uint32_t share = work.units[unit].share;
    if (share != SharedWork::kOwn) units_[share].push_back(unit);
  }
}

Crew::~Crew() {
  Stop();
  // One that waits for its reports to be read sees that nobody will.
  for (Process& process : processes_) process.reports.Close();
  for (const Process& process : processes_) {
    while (process.id != 0 && waitpid(process.id, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
}

void Crew::Unmap::operator()(Board* board) const {
  munmap(board, sizeof *board);
}

bool Crew::Start(std::size_t jobs) {
  void* memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return false;
  board_.reset(std::construct_at(static_cast<Board*>(memory)));
  const pid_t parent = getpid();
  while (processes_.size() < jobs) {
    auto [reports, report_to] = MakePipe();
    const pid_t id = report_to.IsOpen() ? fork() : -1;
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

void Crew::Work(int reports) {
  try {
    try {
      DoShares(reports);
    } catch (...) {
      const Failure fault = FailureInFlight();
      WriteReport(reports, {Report::Kind::kFault, fault.Code()}, {}, fault.what());
    }
  } catch (...) {
    _exit(1);  // there is nobody to hear more
  }
  _exit(Interruption::Requested() ? 1 : 0);
}

void Crew::DoShares(int reports) {
  progress_.DivertTo([this, before = std::uint64_t{0}](std::uint64_t done) mutable {
    board_->bytes_done += done - std::exchange(before, done);
  });
  // Whoever is free takes the next one.
  std::uint32_t share = 0;
  while (!Interruption::Requested() && (share = board_->next_share++) < units_.size()) {
    std::size_t tally = 0;
    for (const std::uint32_t unit : units_[share]) {
      TellByReport problems(reports, unit);
      tally += work_.run(unit, problems);
      if (Interruption::Requested()) return;
      progress_.End(work_.units[unit].size);
    }
    WriteReport(reports, {.kind = Report::Kind::kShareDone, .index = share, .count = tally});
  }
}

std::size_t Crew::Serve() {
  while (true) {
    std::vector<pollfd> waiting;
    for (const Process& process : processes_) waiting.push_back({process.reports.Number(), POLLIN, 0});
    if (std::none_of(waiting.begin(), waiting.end(), [](const pollfd& each) { return each.fd >= 0; })) break;
    // Not without end: a signal may come just before it.
    poll(waiting.data(), waiting.size(), 100);
    if (Interruption::Requested()) Stop();
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      if (waiting[i].revents != 0) Hear(processes_[i]);
    }
    progress_.ShowAhead(board_->bytes_done);
  }
  if (Interruption::Requested()) return tally_;
  if (shares_done_ != units_.size()) throw Failure(ExitCode::kFileError, "not all of the work was done");
  for (const auto& units : units_) {
    for (const std::uint32_t unit : units) progress_.End(work_.units[unit].size);
  }
  return tally_;
}

void Crew::Hear(Process& process) {
  std::array<char, 65536> bytes{};
  const ssize_t got = read(process.reports.Number(), bytes.data(), bytes.size());
  if (got < 0 && errno == EINTR) return;
  if (got < 0) throw Failure(ExitCode::kFileError, WithCause("one of its processes cannot be heard", errno));
  if (got == 0) {
    process.reports.Close();
    return CheckEnd(process);
  }
  process.unread.append(bytes.data(), static_cast<std::size_t>(got));
  TakeReports(process.unread, [&](const Report& report, std::string_view member, std::string_view message) {
    Take(report, member, message);
  });
}

void Crew::Take(const Report& report, std::string_view member, std::string_view message) {
  switch (report.kind) {
    case Report::Kind::kTold:
      return in_order_.Tell(report.index, report.code, member, message);
    case Report::Kind::kShareDone:
      ++shares_done_;
      tally_ += report.count;
      for (const std::uint32_t unit : units_.at(report.index)) in_order_.End(unit);
      return;
    case Report::Kind::kFault:
      throw Failure(report.code, std::string(message));
  }
}

// They clean up and end by themselves.
void Crew::Stop() {
  for (const Process& process : processes_) {
    if (process.id != 0) kill(process.id, SIGTERM);
  }
}

void Crew::CheckEnd(Process& process) const {
  int status = 0;
  const pid_t id = std::exchange(process.id, 0);
  while (waitpid(id, &status, 0) < 0 && errno == EINTR) {
  }
  if (status == 0 || Interruption::Requested()) return;
  const std::string how = WIFSIGNALED(status) ? " by signal " + std::to_string(WTERMSIG(status)) : "";
  throw Failure(ExitCode::kFileError, "one of its processes was ended" + how);
}

}  // namespace vantorel::forkzip
