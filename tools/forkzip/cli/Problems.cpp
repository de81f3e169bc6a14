#include "tools/forkzip/cli/Problems.h"

#include <algorithm>
#include <cstdio>
#include <system_error>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Progress.h"

namespace vantorel::forkzip {

void Problems::Add(ExitCode code, std::string_view message) {
  code_ = std::max(code_, code);
  Note(message);
}

void Problems::Add(ExitCode code, std::string_view member, std::string_view message) {
  Add(code, std::string(member) + ": " + std::string(message));
}

void Problems::Note(std::string_view message) const {
  Progress::ClearLine();
  const std::string line = "forkzip: " + Printable(archive_) + ": " + Printable(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string WithCause(std::string_view what, int error) {
  return std::string(what) + ": " + std::generic_category().message(error);
}

}  // namespace vantorel::forkzip
