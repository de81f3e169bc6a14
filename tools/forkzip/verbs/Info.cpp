#include <nlohmann/json.hpp>

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
  forkzip info photos.zip               counts, sizes and comment of the archive
  forkzip info photos.zip beach.jpg     all that is known of one member
  forkzip info --json photos.zip | jq .members)";

constexpr const char* kDamage =
    "the directory holds more members than it announces; the archive is read-only";

struct InfoOptions : Options {
  std::string member;
};

struct Totals {
  std::uint64_t files = 0, folders = 0, encrypted = 0, companions = 0, not_unpacked = 0, size = 0,
                compressed_size = 0;
};

Totals AddUp(const Ref<ZipArchive>& archive) {
  Totals totals;
  for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    ++(entry->IsDirectory() ? totals.folders : totals.files);
    if (entry->IsEncrypted()) ++totals.encrypted;
    if (!WhyNotUnpacked(entry).empty()) ++totals.not_unpacked;
    if (entry->appleDoubleEntry) ++totals.companions;
    totals.size += SizeOf(entry);
    totals.compressed_size += CompressedSizeOf(entry);
  }
  return totals;
}

std::string Line(const std::string& label, const std::string& value) {
  constexpr std::size_t kColumn = 18;
  return label + ":" + std::string(kColumn - label.size(), ' ') + value + "\n";
}

// Labels and values; where there is nothing to say there is no line.
using Facts = std::initializer_list<std::pair<const char*, std::string>>;

void WriteFacts(Facts facts, Output& output) {
  for (const auto& [label, value] : facts) {
    if (!value.empty()) output.Write(Line(label, value));
  }
}

std::string MembersText(const Ref<ZipArchive>& archive, const Totals& totals) {
  const std::int32_t count = archive->EntryCount();
  if (count == 0) return "none";
  if (count == 1 && archive->Entry(1)->RawPath().view() == "/")
    return "none; the folder \"/\" stands for an archive without members";
  return Count(totals.files, "file") + ", " + Count(totals.folders, "folder");
}

void DescribeArchive(const Ref<ZipArchive>& archive, const Options& options, const std::string& guess,
                     Output& output) {
  const Totals totals = AddUp(archive);
  if (options.json) {
    const nlohmann::ordered_json value = {{"archive", options.archive},
                                          {"members", archive->EntryCount()},
                                          {"files", totals.files},
                                          {"folders", totals.folders},
                                          {"encrypted", totals.encrypted},
                                          {"companions", totals.companions},
                                          {"size", totals.size},
                                          {"compressedSize", totals.compressed_size},
                                          {"notUnpacked", totals.not_unpacked},
                                          {"countIsWrong", archive->centralDirCorrupted},
                                          {"comment", std::string(archive->Comment().view())}};
    output.Write(JsonText(value, 2) + "\n");
    return;
  }
  const auto count_if_any = [](std::uint64_t members) {
    return members == 0 ? "" : Count(members, "member");
  };
  const std::string not_unpacked = count_if_any(totals.not_unpacked);
  WriteFacts({{"Archive", Printable(options.archive)},
              {"Members", MembersText(archive, totals)},
              {"Size", HumanSize(totals.size) + ", compressed " + HumanSize(totals.compressed_size)},
              {"Encrypted", count_if_any(totals.encrypted)},
              {"Not unpacked", not_unpacked.empty() ? "" : not_unpacked + "; `list --long` tells why"},
              {"Encoding", guess.empty() ? "" : guess + ", as a guess"},
              {"With Mac data", count_if_any(totals.companions)},
              {"Damage", archive->centralDirCorrupted ? kDamage : ""},
              {"Comment", Printable(archive->Comment().view())}},
             output);
}

void DescribeMember(const Ref<ZipArchive>& archive, const InfoOptions& options, Output& output) {
  const std::int32_t index = SelectOneName(archive, options.member).front();
  const Ref<ZipEntry> entry = archive->Entry(index);
  if (options.json) {
    output.Write(JsonText(MemberAsJson(entry, index), 2) + "\n");
    return;
  }
  const auto mode = ModeOf(entry);
  const std::string time = TimeText(entry, ' ');
  const char* kind = IsSymbolicLink(entry) ? "symbolic link" : entry->IsDirectory() ? "folder" : "file";
  const Ref<ZipEntry>& companion = entry->appleDoubleEntry;
  output.Write(Line("Name", Printable(Utf8(entry->RawPath()))));
  WriteFacts({{"Kind", kind},
              {"Number", std::to_string(index)},
              {"Size", Count(SizeOf(entry), "byte")},
              {"Compressed", Count(CompressedSizeOf(entry), "byte") + ", " + MethodText(entry)},
              {"CRC-32", CrcText(entry)},
              {"Changed", time.empty() ? "unknown" : time},
              {"Mode", mode ? ModeText(*mode) : "unknown"},
              {"Encrypted", entry->IsEncrypted() ? "yes" : ""},
              {"Not unpacked", WhyNotUnpacked(entry)},
              {"Mac data", companion ? Count(SizeOf(companion), "byte") + " in a companion" : ""},
              {"Comment", Printable(Utf8(entry->Comment()))}},
             output);
}

void Info(const InfoOptions& options, Problems& /*problems*/) {
  std::string guess;
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding, &guess);
  Output output;
  if (options.member.empty()) {
    DescribeArchive(archive, options, guess, output);
  } else {
    DescribeMember(archive, options, output);
  }
  output.Flush();
}

}  // namespace

void AddInfoVerb(CLI::App& app) {
  const auto [command, options] =
      AddVerb(app, "info", "Describes an archive, or one of its members", kHelp, Info);
  command.add_option("MEMBER", options.member, "A member's name, or a pattern that only one matches");
  AddJsonOption(command, options);
  AddEncodingOption(command, options, Guess::kAllowed);
}

}  // namespace vantorel::forkzip
