#include "platform/base/Failures.h"

#include <cerrno>
#include <cstddef>

namespace vantorel {

namespace {

constexpr std::size_t kKept = 3;

std::vector<Failure>& Kept() {
  static std::vector<Failure> kept;
  return kept;
}

}  // namespace

void NoteFailure(std::string_view operation, std::string_view path, int error_number) {
  const int errno_before = errno;
  std::vector<Failure>& kept = Kept();
  if (kept.size() == kKept) kept.erase(kept.begin());
  kept.push_back({std::string(operation), std::string(path), error_number});
  errno = errno_before;
}

void ForgetFailures(std::string_view path) {
  std::erase_if(Kept(), [&](const Failure& failure) { return failure.path == path; });
}

const std::vector<Failure>& RecentFailures() {
  return Kept();
}

}  // namespace vantorel
