// What goes wrong in a run: told on standard error as it happens, summed up in the exit code.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace vantorel::forkzip {

// The worse one counts where several things go wrong.
enum class ExitCode {
  kDone = 0,
  kBadArchive = 1,  // the archive or a member is bad or missing
  kUsage = 2,
  kFileError = 3,  // a file or the disk
};

// Ends the verb. what() is the message without the program's and the archive's name.
class Failure : public std::exception {
 public:
  Failure(ExitCode code, std::string message) : code_(code), message_(std::move(message)) {}
  ExitCode Code() const { return code_; }
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  ExitCode code_;
  std::string message_;
};

// What the exception that is being handled comes to. Passes on what is no std::exception, and Interrupted.
Failure FailureInFlight();

class Problems {
 public:
  // Messages begin with the archive's name.
  explicit Problems(std::string archive) : archive_(std::move(archive)) {}
  Problems(const Problems&) = delete;
  Problems& operator=(const Problems&) = delete;

  void Add(ExitCode code, std::string_view message);
  // About one member. Long names are cut in the middle; where very many members have the same problem, only
  // the first are told one by one, and AddUp tells how many more there were.
  void Add(ExitCode code, std::string_view member, std::string_view message);
  void AddUp();
  // Something worth knowing that leaves the exit code alone.
  void Note(std::string_view message) const;

  ExitCode Code() const { return code_; }

 private:
  std::string archive_;
  ExitCode code_ = ExitCode::kDone;
  std::map<std::string, std::size_t, std::less<>> told_;  // how often, by the beginning of the message
};

// What is wrong with a member, as work that is shared out tells it.
struct Told {
  ExitCode code;
  std::string member;
  std::string message;
};
using Tell = std::function<void(const Told& told)>;

// "forkzip: ", as all messages on standard error begin.
std::string MessagePrefix();
// "what: cause", with the text of a system error.
std::string WithCause(std::string_view what, int error);
// The Failure (kFileError) that says so.
Failure SystemFailure(std::string_view what, int error);

}  // namespace vantorel::forkzip
