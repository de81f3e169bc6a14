#include <array>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/MemberJson.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "Examples:\n"
    "  forkzip list photos.zip               mode, size and date of each member on a terminal;\n"
    "                                        names alone, one a line, into a pipe or file\n"
    "  forkzip list photos.zip | grep -c jpg\n"
    "  forkzip list --long photos.zip | less\n"
    "  forkzip list --json photos.zip | jq '.[].size'\n"
    "  forkzip list --encoding cp437 old.zip names as old DOS programs wrote them";

struct ListOptions : Options {
  bool long_form = false;
};

void ListNames(const Ref<ZipArchive>& archive, Output& output) {
  const std::int32_t count = archive->EntryCount();
  for (std::int32_t i = 1; i <= count; ++i) {
    output.WriteText(archive->Entry(i)->RawPath());
    output.Write("\n");
  }
}

// "@" behind the mode stands for a companion with resource fork and Finder data.
void ListFacts(const Ref<ZipArchive>& archive, Output& output) {
  const std::int32_t count = archive->EntryCount();
  std::uint64_t total = 0;
  for (std::int32_t i = 1; i <= count; ++i) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    const auto mode = ModeOf(entry);
    const std::string mode_text =
        mode ? ModeText(*mode) : std::string(entry->IsDirectory() ? "d" : "-") + "---------";
    std::array<char, 120> facts{};
    std::snprintf(facts.data(), facts.size(), "%s%c %11u  %-16.16s  ", mode_text.c_str(),
                  entry->appleDoubleEntry ? '@' : ' ', SizeOf(entry), TimeText(entry, ' ').c_str());
    output.Write(facts.data());
    output.WriteText(entry->RawPath());
    output.Write("\n");
    total += SizeOf(entry);
  }
  output.Write(Count(static_cast<unsigned long long>(count), "member") + ", " + HumanSize(total) + "\n");
}

void ListJson(const Ref<ZipArchive>& archive, Output& output) {
  const std::int32_t count = archive->EntryCount();
  for (std::int32_t i = 1; i <= count; ++i) {
    output.Write(i == 1 ? "[\n" : ",\n");
    output.Write(JsonText(MemberAsJson(archive->Entry(i), i)));
  }
  output.Write(count == 0 ? "[]\n" : "\n]\n");
}

void List(const ListOptions& options) {
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  Output output;
  if (options.json) {
    ListJson(archive, output);
  } else if (options.long_form || (output.IsTerminal() && !options.quiet)) {
    ListFacts(archive, output);
  } else {
    ListNames(archive, output);
  }
  output.Flush();
}

}  // namespace

void AddListVerb(CLI::App& app, ExitCode& exit_code) {
  static ListOptions options;
  CLI::App& command = *app.add_subcommand("list", "Lists the members of an archive");
  SetUp(command, options, exit_code, [](Problems&) { List(options); });
  command.add_flag("-l,--long", options.long_form,
                   "Mode, size and date of each member, wherever the output goes");
  AddJsonOption(command, options);
  AddEncodingOption(command, options);
  command.footer(kHelp);
}

}  // namespace vantorel::forkzip
