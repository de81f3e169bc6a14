#include "tools/forkzip/extract/SafePath.h"

#include <algorithm>
#include <cstddef>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

namespace {

[[noreturn]] void Refuse(const std::string& why) {
  throw Failure(ExitCode::kBadArchive, "refused: " + why);
}

// Cuts the first component off `path`, with the slash behind it.
std::string_view TakeComponent(std::string_view& path) {
  const std::size_t slash = std::min(path.find('/'), path.size());
  const std::string_view component = path.substr(0, slash);
  path.remove_prefix(std::min(slash + 1, path.size()));
  return component;
}

// The count of bytes behind the last ".." component of a path; of all bytes if there is none.
std::size_t SizeBehindLastUp(std::string_view path) {
  std::size_t size = path.size();
  while (!path.empty()) {
    if (TakeComponent(path) == "..") size = path.size();
  }
  return size;
}

std::string_view Stripped(std::string_view name, std::size_t count) {
  if (count == 0) return name;
  for (; count > 0 && !name.empty(); --count) TakeComponent(name);
  name.remove_prefix(std::min(name.find_first_not_of('/'), name.size()));
  return name;
}

}  // namespace

bool IsPassedOver(const Ref<ZipEntry>& entry, std::size_t strip) {
  return strip != 0 && Stripped(Utf8(entry->RawPath()), strip).empty();
}

std::vector<std::string> SafePath(const Ref<ZipEntry>& entry, std::size_t strip) {
  const std::string whole = Utf8(entry->RawPath());
  const std::string_view name = Stripped(whole, strip);
  if (name.empty()) Refuse("the member has no name");
  if (name.front() == '/' && name != "/") Refuse("its name is an absolute path");
  std::vector<std::string> components;
  for (std::string_view rest = name; !rest.empty();) {
    const std::string_view component = TakeComponent(rest);
    const bool is_last = rest.empty() && name.back() != '/';
    if (component.empty() || (component == "." && !is_last)) continue;
    if (component == "..") Refuse("its name leads out of the destination by \"..\"");
    if (component == "." || component.find('\0') != std::string_view::npos)
      Refuse("its name cannot be that of a file");
    components.emplace_back(component);
  }
  if (components.empty() && !entry->IsDirectory()) Refuse("its name cannot be that of a file");
  return components;
}

void CheckLinkTarget(std::string_view target, std::span<const std::string> folders,
                     const Destination& destination) {
  const std::string shown(target);
  if (target.empty()) Refuse("the symbolic link has no target");
  if (target.find('\0') != std::string_view::npos)
    Refuse("a zero byte is in the target of the symbolic link");
  const auto lead_out = [&] { Refuse("the symbolic link leads out of the destination: " + shown); };
  if (target.front() == '/') lead_out();
  const std::size_t behind_last_up = SizeBehindLastUp(target);
  bool all_folders = true;  // where ".." follows
  std::vector<std::string> at(folders.begin(), folders.end());
  while (!target.empty()) {
    const std::string_view component = TakeComponent(target);
    if (component.empty() || component == ".") continue;
    if (component == "..") {
      if (at.empty()) lead_out();
      at.pop_back();
    } else {
      at.emplace_back(component);
      if (target.size() > behind_last_up) all_folders = all_folders && destination.HasFolder(at);
    }
  }
  if (!all_folders)
    Refuse("the symbolic link leads by \"..\" from where the destination has no folder: " + shown);
}

}  // namespace vantorel::forkzip
