#include "tools/forkzip/extract/SafePath.h"

#include <algorithm>
#include <cstddef>

#include "tools/forkzip/cli/Printable.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kNoFile = "its name cannot be that of a file";

// The components of a path that are not empty.
std::vector<std::string> Split(std::string_view path) {
  std::vector<std::string> components;
  while (!path.empty()) {
    const std::size_t slash = std::min(path.find('/'), path.size());
    if (slash != 0) components.emplace_back(path.substr(0, slash));
    path.remove_prefix(std::min(slash + 1, path.size()));
  }
  return components;
}

std::string_view Stripped(std::string_view name, std::size_t count) {
  if (count == 0) return name;
  for (; count > 0 && !name.empty(); --count)
    name.remove_prefix(std::min(name.find('/'), name.size() - 1) + 1);
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
  std::vector<std::string> components = Split(name);
  std::erase(components, ".");
  for (const std::string& component : components) {
    if (component == "..") Refuse("its name leads out of the destination by \"..\"");
    if (component.find('\0') != std::string::npos) Refuse(kNoFile);
  }
  if (name == "." || name.ends_with("/.") || (components.empty() && !entry->IsDirectory())) Refuse(kNoFile);
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
  std::vector<std::string> steps = Split(target);
  std::erase(steps, ".");
  const auto behind_last_up = std::find(steps.rbegin(), steps.rend(), "..").base();
  bool all_folders = true;  // where ".." follows
  std::vector<std::string> at(folders.begin(), folders.end());
  for (auto step = steps.begin(); step != steps.end(); ++step) {
    if (*step != "..") {
      at.push_back(*step);
      if (step < behind_last_up) all_folders = all_folders && destination.HasFolder(at);
    } else if (at.empty()) {
      lead_out();
    } else {
      at.pop_back();
    }
  }
  if (!all_folders)
    Refuse("the symbolic link leads by \"..\" from where the destination has no folder: " + shown);
}

}  // namespace vantorel::forkzip
