#include "tools/forkzip/extract/MemberPath.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

std::vector<std::string> SafePath(const Ref<ZipEntry>& entry) {
  const auto refuse = [](const std::string& why) { throw Failure(ExitCode::kBadArchive, "refused: " + why); };
  const std::string name = Utf8(entry->RawPath());
  if (name.empty()) refuse("the member has no name");
  if (name.front() == '/' && name != "/") refuse("its name is an absolute path");
  std::vector<std::string> components;
  for (std::size_t begin = 0; begin < name.size();) {
    const std::size_t slash = std::min(name.find('/', begin), name.size());
    std::string component = name.substr(begin, slash - begin);
    begin = slash + 1;
    if (component.empty() || (component == "." && slash < name.size())) continue;
    if (component == "..") refuse("its name leads out of the destination by \"..\"");
    if (component == "." || component.find('\0') != std::string::npos)
      refuse("its name cannot be that of a file");
    components.push_back(std::move(component));
  }
  if (components.empty() && !entry->IsDirectory()) refuse("its name cannot be that of a file");
  return components;
}

}  // namespace vantorel::forkzip
