#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp = R"(Examples:
  forkzip list photos.zip               mode, size and date of each member on a terminal;
                                        names alone, one a line, into a pipe or file
  forkzip list photos.zip | grep -c jpg
  curl -s https://example.org/a.zip | forkzip list -
  forkzip list --long photos.zip | less
  forkzip list --json photos.zip | jq '.[].size'
  forkzip list --encoding cp437 old.zip names as old DOS programs wrote them)";

struct ListOptions : Options {
  bool long_form = false;
  bool tree = false;
};

using Members = std::vector<std::int32_t>;

void WriteName(const Ref<ZipEntry>& entry, Output& output) {
  const char* color = nullptr;
  if (output.IsTerminal() && IsSymbolicLink(entry)) color = Color::kLink;
  if (output.IsTerminal() && entry->IsDirectory()) color = Color::kFolder;
  output.WriteText(entry->RawPath(), color);
}

void ListNames(const Ref<ZipArchive>& archive, const Members& members, Output& output) {
  for (const std::int32_t i : members) {
    WriteName(archive->Entry(i), output);
    output.Write("\n");
  }
}

// "@" behind the mode stands for a companion with resource fork and Finder data.
void ListFacts(const Ref<ZipArchive>& archive, const Members& members, Output& output) {
  std::uint64_t total = 0;
  for (const std::int32_t i : members) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    const auto mode = ModeOf(entry);
    const std::string mode_text =
        mode ? ModeText(*mode) : std::string(entry->IsDirectory() ? "d" : "-") + "---------";
    output.Write(Formatted("%s%c %11llu  %-16.16s  ", mode_text.c_str(), entry->appleDoubleEntry ? '@' : ' ',
                           static_cast<unsigned long long>(SizeOf(entry)), TimeText(entry, ' ').c_str()));
    WriteName(entry, output);
    const std::string why_not = WhyNotUnpacked(entry);
    output.Write(why_not.empty() ? "\n" : "  [" + why_not + "]\n");
    total += SizeOf(entry);
  }
  output.Write(Count(members.size(), "member") + ", " + HumanSize(total) + "\n");
}

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

// Each member on a line of its own, by its last component, below the folders on the way to it, whether those
// are members or not; sorted by name.
void ListTree(const Ref<ZipArchive>& archive, const Members& members, Output& output) {
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

void ListJson(const Ref<ZipArchive>& archive, const Members& members, Output& output) {
  for (const std::int32_t i : members) {
    output.Write(i == members.front() ? "[\n" : ",\n");
    output.Write(JsonText(MemberAsJson(archive->Entry(i), i)));
  }
  output.Write(members.empty() ? "[]\n" : "\n]\n");
}

void List(const ListOptions& options, Problems& problems) {
  RefuseTogether(options, "--tree", {"--json", "--long"});
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  const Members members = SelectMembers(archive, options, problems).members;
  Output output;
  if (options.json) {
    ListJson(archive, members, output);
  } else if (options.tree) {
    ListTree(archive, members, output);
  } else if (options.long_form || (output.IsTerminal() && !options.quiet)) {
    ListFacts(archive, members, output);
  } else {
    ListNames(archive, members, output);
  }
  output.Flush();
}

}  // namespace

void AddListVerb(CLI::App& app) {
  const auto [command, options] = AddVerb(app, "list", "Lists the members of an archive", kHelp, List);
  command.add_flag("-l,--long", options.long_form,
                   "Mode, size and date of each member, wherever the output goes");
  command.add_flag("--tree", options.tree, "Folders and what is in them, one below the other");
  AddJsonOption(command, options);
  AddExcludeOption(command, options);
  AddEncodingOption(command, options, Guess::kAllowed);
}

}  // namespace vantorel::forkzip
