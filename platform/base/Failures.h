// The file operations that failed last, kept for the report of a fault that follows from one: what cannot be
// opened is nil, and the fault of a call through nil cannot tell why by itself.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantorel {

// Notes that `operation` ("open", "make the folder", …) on `path` failed with that errno. errno stays.
void NoteFailure(std::string_view operation, std::string_view path, int error_number);

// Forgets what was noted of `path`, since an operation on it has succeeded: such a refusal was harmless.
void ForgetFailures(std::string_view path);

struct Failure {
  std::string operation;
  std::string path;
  int error_number;
};

// Up to the last three, oldest first.
const std::vector<Failure>& RecentFailures();

}  // namespace vantorel
