// The file operation that failed last, kept for the report of a fault that follows from it: what cannot be
// opened is nil, and the fault of a call through nil cannot tell why by itself. Only operations whose callers
// go on without a test for nil are noted: those that answer a question, such as whether a file is there, may
// well fail.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantorel {

// Notes that `operation` ("open", "make the folder", …) on `path` failed with that errno. errno stays.
void NoteFailure(std::string_view operation, std::string_view path, int error_number);
// Forgets it, since an operation has succeeded.
void ForgetFailures();

struct Failure {
  std::string operation;
  std::string path;
  int error_number;
};

// The last failure, behind up to two of the folders that it lies in, which may have led to it.
const std::vector<Failure>& RecentFailures();

}  // namespace vantorel
