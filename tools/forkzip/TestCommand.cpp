#include <nlohmann/json.hpp>
#include <numeric>

#include "tools/forkzip/Interruption.h"
#include "tools/forkzip/MemberFacts.h"
#include "tools/forkzip/MemberJson.h"
#include "tools/forkzip/MemberSelection.h"
#include "tools/forkzip/OpenArchive.h"
#include "tools/forkzip/Options.h"
#include "tools/forkzip/Output.h"
#include "tools/forkzip/Printable.h"
#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/Verification.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "Reads all data and compares its checksums. Nothing is written.\n"
    "Examples:\n"
    "  forkzip test backup.zip\n"
    "  forkzip test backup.zip 'letters/*.txt' photos\n"
    "  forkzip test -q backup.zip && echo good";

std::uint64_t SizeOfAll(const Ref<ZipArchive>& archive, const std::vector<std::int32_t>& members) {
  return std::accumulate(members.begin(), members.end(), std::uint64_t{0},
                         [&](std::uint64_t sum, std::int32_t i) { return sum + SizeOf(archive->Entry(i)); });
}

void Test(const Options& options, Problems& problems) {
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  const std::vector<std::int32_t> members = SelectMembers(archive, options.members, problems);
  Interruption::Watch();
  const auto progress = New<Progress>(options.ShowProgress(), SizeOfAll(archive, members));
  archive->SetProgressMonitor(progress);
  auto failed = nlohmann::ordered_json::array();
  for (const std::int32_t i : members) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    progress->Begin(entry);
    const std::string fault = FaultOf(entry);
    if (Interruption::Requested()) return;
    progress->End(SizeOf(entry));
    if (fault.empty()) continue;
    const std::string name = Utf8(entry->RawPath());
    problems.Add(ExitCode::kBadArchive, name, fault);
    failed.push_back({{"index", i}, {"name", name}, {"error", fault}});
  }
  Progress::ClearLine();
  Output output;
  if (options.json) {
    output.Write(JsonText({{"archive", options.archive}, {"tested", members.size()}, {"failed", failed}}, 2) +
                 "\n");
  } else if (!options.quiet) {
    const std::string tested = Count(members.size(), "member") + " tested, ";
    output.Write(tested + (failed.empty() ? "all sound" : std::to_string(failed.size()) + " damaged") + "\n");
  }
  output.Flush();
}

}  // namespace

void AddTestVerb(CLI::App& app, ExitCode& exit_code) {
  static Options options;
  CLI::App& command = *app.add_subcommand("test", "Checks that members can be read and are whole");
  SetUp(command, options, exit_code, [](Problems& problems) { Test(options, problems); });
  command.add_option("MEMBER", options.members,
                     "Names, folders or shell patterns; all members if none is given");
  AddJsonOption(command, options);
  AddEncodingOption(command, options);
  command.footer(kHelp);
}

}  // namespace vantorel::forkzip
