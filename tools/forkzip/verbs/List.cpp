#include <nlohmann/json.hpp>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "tools/forkzip/read/MemberTree.h"
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

void ListJson(const Ref<ZipArchive>& archive, const Members& members, Output& output) {
  for (const std::int32_t i : members) {
    output.Write(i == members.front() ? "[\n" : ",\n");
    output.Write(JsonText(MemberAsJson(archive->Entry(i), i)));
  }
  output.Write(members.empty() ? "[]\n" : "\n]\n");
}

void List(const ListOptions& options, Problems& problems) {
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  const Members members = SelectMembers(archive, options, problems).members;
  Output output;
  if (options.json) {
    ListJson(archive, members, output);
  } else if (options.tree) {
    WriteTree(archive, members, output);
  } else if (options.long_form || (output.IsTerminal() && !options.quiet)) {
    ListFacts(archive, members, output);
  } else {
    ListNames(archive, members, output);
  }
  output.Flush();
}

}  // namespace

void AddListVerb(CLI::App& app, ExitCode& exit_code) {
  static ListOptions options;
  CLI::App& command = *app.add_subcommand("list", "Lists the members of an archive");
  SetUp(command, options, exit_code, [&command](Problems& problems) {
    RefuseTogether(command, "--tree", {"--json", "--long"});
    List(options, problems);
  });
  command.add_flag("-l,--long", options.long_form,
                   "Mode, size and date of each member, wherever the output goes");
  command.add_flag("--tree", options.tree, "Folders and what is in them, one below the other");
  AddJsonOption(command, options);
  AddExcludeOption(command, options);
  AddEncodingOption(command, options, Guess::kAllowed);
  command.footer(kHelp);
}

}  // namespace vantorel::forkzip
