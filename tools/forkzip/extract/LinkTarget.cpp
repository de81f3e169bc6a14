#include "tools/forkzip/extract/LinkTarget.h"

namespace vantorel::forkzip {

bool StaysBelow(std::string_view target, std::size_t depth) {
  if (target.empty() || target.front() == '/' || target.find('\0') != std::string_view::npos) return false;
  bool going_up = true;
  while (!target.empty()) {
    const std::size_t slash = target.find('/');
    const std::string_view component = target.substr(0, slash);
    target.remove_prefix(slash == std::string_view::npos ? target.size() : slash + 1);
    if (component.empty() || component == ".") continue;
    if (component == "..") {
      if (!going_up || depth == 0) return false;
      --depth;
    } else {
      going_up = false;
    }
  }
  return true;
}

}  // namespace vantorel::forkzip
