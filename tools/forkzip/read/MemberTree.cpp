#include "tools/forkzip/read/MemberTree.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/MemberFacts.h"

namespace vantorel::forkzip {

namespace {

// What is in a folder follows it at once: a slash comes before all that a name may hold.
bool IsBefore(const Ref<ZipEntry>& a, const Ref<ZipEntry>& b) {
  const String one = a->RawPath();
  const String other = b->RawPath();
  if (one.view().data() == other.view().data() && one.size() == other.size()) return false;
  const auto rank = [](char c) { return c == '/' ? 0 : static_cast<unsigned char>(c) + 1; };
  return std::ranges::lexicographical_compare(one.view(), other.view(), {}, rank, rank);
}

// The components of a name, those of folders with their slash. What lies very deep stays in one piece: a name
// may hold thousands of them.
std::vector<std::string> ComponentsOf(std::string_view name) {
  constexpr std::size_t kDeepest = 40;
  std::vector<std::string> components;
  while (!name.empty()) {
    const std::size_t slash = components.size() < kDeepest ? name.find('/') : std::string_view::npos;
    const std::size_t size = slash == std::string_view::npos ? name.size() : slash + 1;
    components.emplace_back(name.substr(0, size));
    name.remove_prefix(size);
  }
  return components;
}

void WriteLine(std::size_t depth, const std::string& component, const char* color, Output& output) {
  output.Write(std::string(2 * depth, ' '));
  output.WriteText(String::Bytes(component), component.ends_with('/') ? Color::kFolder : color);
  output.Write("\n");
}

}  // namespace

void WriteTree(const Ref<ZipArchive>& archive, const std::vector<std::int32_t>& members, Output& output) {
  std::vector<Ref<ZipEntry>> entries;
  entries.reserve(members.size());
  for (const std::int32_t i : members) entries.push_back(archive->Entry(i));
  std::stable_sort(entries.begin(), entries.end(), IsBefore);
  std::vector<std::string> open;  // the line before, and what it lies in
  for (const Ref<ZipEntry>& entry : entries) {
    std::vector<std::string> components = ComponentsOf(Utf8(entry->RawPath()));
    if (components.empty()) components.emplace_back();
    const auto shared = std::ranges::mismatch(components, open).in1 - components.begin();
    std::size_t depth = std::min(static_cast<std::size_t>(shared), components.size() - 1);
    const char* color = IsSymbolicLink(entry) ? Color::kLink : nullptr;
    for (; depth < components.size(); ++depth) WriteLine(depth, components[depth], color, output);
    open = std::move(components);
  }
}

}  // namespace vantorel::forkzip
