#include <nlohmann/json.hpp>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/jobs/Crew.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "tools/forkzip/read/Overlaps.h"
#include "tools/forkzip/read/Verification.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp = R"(Reads all data, and checks sizes and checksums. Nothing is written.
Examples:
  forkzip test backup.zip
  forkzip test backup.zip 'letters/*.txt' photos
  forkzip test -q backup.zip && echo good)";

// Tells what is tested as it goes, so that nothing is kept of an archive whose members are all bad.
class Report {
 public:
  Report(const Options& options, const MemberSelection& selected, bool count_is_wrong)
      : json_(options.json), selected_(selected) {
    if (!json_) return;
    const nlohmann::ordered_json head = {{"archive", options.archive},
                                         {"tested", selected.members.size()},
                                         {"missing", selected.missing},
                                         {"countIsWrong", count_is_wrong}};
    const std::string text = JsonText(head, 2);
    output_.Write(text.substr(0, text.rfind("\n}")) + ",\n  \"failed\": [");
  }

  // `is_tested`: the member is damaged, and not only of a kind that cannot be unpacked here.
  void Add(std::size_t unit, const Told& told, bool is_tested) {
    if (json_) {
      output_.Write(failed_ == 0 ? "\n    " : ",\n    ");
      output_.Write(
          JsonText({{"index", selected_.members[unit]}, {"name", told.member}, {"error", told.message}}));
    }
    ++failed_;
    if (!is_tested) ++untested_;
  }

  void End(bool quiet) {
    const std::size_t missing = selected_.missing.size();
    if (json_) {
      output_.Write(failed_ == 0 ? "]\n}\n" : "\n  ]\n}\n");
    } else if (!quiet) {
      output_.Write(Count(selected_.members.size() - untested_, "member") + " tested");
      if (failed_ != untested_) output_.Write(", " + std::to_string(failed_ - untested_) + " damaged");
      if (untested_ != 0) output_.Write(", " + std::to_string(untested_) + " not tested");
      if (missing != 0) output_.Write(", " + std::to_string(missing) + " missing");
      output_.Write(failed_ + missing == 0 ? ", all sound\n" : "\n");
    }
    output_.Flush();
  }

 private:
  bool json_;
  const MemberSelection& selected_;
  std::size_t failed_ = 0;  // damaged or not tested
  std::size_t untested_ = 0;
  Output output_;
};

void Test(const Options& options, Problems& problems) {
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  if (!options.allow_overlap) RefuseOverlaps(archive);
  const MemberSelection selected = SelectMembers(archive, options, problems);
  if (archive->centralDirCorrupted) {
    problems.Add(ExitCode::kBadArchive, "the directory holds more members than it announces");
  }
  SharedWork work;
  for (const std::int32_t i : selected.members) work.sizes.push_back(SizeOf(archive->Entry(i)));
  Interruption::Watch();
  const auto progress = New<Progress>(options.ShowProgress(), work.TotalSize());
  archive->SetProgressMonitor(progress);
  Report report(options, selected, archive->centralDirCorrupted);
  ShareOut(work);
  work.run = [&](std::size_t unit, const Tell& tell) -> std::size_t {
    const Ref<ZipEntry> entry = archive->Entry(selected.members[unit]);
    progress->Begin(entry);
    try {
      Verify(entry);
    } catch (const Failure& failure) {
      if (!Interruption::Requested()) tell({failure.Code(), Utf8(entry->RawPath()), failure.what()});
    }
    return 0;
  };
  work.take = [&](std::size_t unit, const Told& told) {
    problems.Add(told.code, told.member, told.message);
    report.Add(unit, told, told.message != WhyNotUnpacked(archive->Entry(selected.members[unit])));
  };
  DoShared(work.Jobs(options.jobs), work, *progress);
  if (Interruption::Requested()) return;
  Progress::ClearLine();
  report.End(options.quiet);
}

}  // namespace

void AddTestVerb(CLI::App& app) {
  const auto [command, options] = AddVerb(app, "test", "Checks that members are sound", kHelp, Test);
  AddReadingOptions(command, options);
  AddJsonOption(command, options);
  AddExcludeOption(command, options);
  AddEncodingOption(command, options, Guess::kAllowed);
}

}  // namespace vantorel::forkzip
