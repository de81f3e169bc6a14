// Why an update was not published, and the exit code that goes with it.
#pragma once

#include <stdexcept>
#include <string>

namespace vantorel::publish {

// The same codes as forkzip's: what was given is no good, or a file or the disk failed.
enum class ExitCode { kBadInput = 1, kWrongUsage = 2, kFileError = 3 };

class PublishError : public std::runtime_error {
 public:
  PublishError(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode Code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace vantorel::publish
