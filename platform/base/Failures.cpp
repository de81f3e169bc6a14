#include "platform/base/Failures.h"

#include <cerrno>
#include <cstddef>

namespace vantorel {

namespace {

// So many folders above what could not be opened, at most.
constexpr std::size_t kKept = 3;

std::vector<Failure> kept;

}  // namespace

void NoteFailure(std::string_view operation, std::string_view path, int error_number) {
  const int errno_before = errno;
  std::erase_if(kept, [&](const Failure& failure) { return !path.starts_with(failure.path + '/'); });
  if (kept.size() == kKept) kept.erase(kept.begin());
  kept.push_back({std::string(operation), std::string(path), error_number});
  errno = errno_before;
}

void ForgetFailures() {
  kept.clear();
}

const std::vector<Failure>& RecentFailures() {
  return kept;
}

}  // namespace vantorel
