#include "tools/forkzip/MemberPath.h"

#include "tools/forkzip/Printable.h"
#include "tools/forkzip/Problems.h"

namespace vantorel::forkzip {

std::vector<std::string> SafePath(const Ref<ZipEntry>& entry) {
  const auto refuse = [](const std::string& why) { throw Failure(ExitCode::kBadArchive, "refused: " + why); };
  const std::string name = Utf8(entry->RawPath());
  if (name.empty()) refuse("the member has no name");
  if (name.front() == '/' && name != "/") refuse("its name is an absolute path");
  std::vector<std::string> components;
  for (const String& part : entry->path) {
    std::string component = Utf8(part);
    if (component == "..") refuse("its name leads out of the destination by \"..\"");
    if (component == "." || component.find('\0') != std::string::npos)
      refuse("its name cannot be that of a file");
    if (!component.empty()) components.push_back(std::move(component));
  }
  if (components.empty() && !entry->IsDirectory()) refuse("its name cannot be that of a file");
  return components;
}

}  // namespace vantorel::forkzip
