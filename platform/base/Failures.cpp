#include "platform/base/Failures.h"

#include <cerrno>
#include <cstddef>
#include <system_error>

namespace vantorel {

namespace {

constexpr std::size_t kKept = 3;

std::vector<std::string>& Kept() {
  static std::vector<std::string> kept;
  return kept;
}

}  // namespace

void NoteFailure(std::string_view operation, std::string_view path, int error_number) {
  const int errno_before = errno;
  std::vector<std::string>& kept = Kept();
  if (kept.size() == kKept) kept.erase(kept.begin());
  std::string note = "cannot ";
  note.append(operation).append(" ").append(path).append(": ");
  note.append(std::generic_category().message(error_number));
  kept.push_back(std::move(note));
  errno = errno_before;
}

const std::vector<std::string>& RecentFailures() {
  return Kept();
}

}  // namespace vantorel
