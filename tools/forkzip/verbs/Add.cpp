#include <algorithm>
#include <optional>
#include <set>
#include <unordered_set>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/add/AddingOptions.h"
#include "tools/forkzip/add/MemberWriter.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/edit/ArchiveCopy.h"
#include "tools/forkzip/edit/InPlaceEdit.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/edit/RecordKey.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "A member of the same name is replaced.\n"
    "Examples:\n"
    "  forkzip add photos.zip forest.jpg\n"
    "  forkzip add site.zip build/index.html --as index.html\n"
    "  forkzip add --in-place logs.zip today.log";

struct AddOptionsOfVerb : AddingOptions {
  std::optional<std::string> name;
};

AddPlan PlanOf(const AddOptionsOfVerb& options, Problems& problems) {
  if (options.name && options.paths.size() != 1) {
    throw Failure(ExitCode::kUsage, "--as names one item, so give one PATH with it");
  }
  if (options.name && MemberNameOf(*options.name).empty()) {
    throw Failure(ExitCode::kUsage, "what --as gives is no name for a member");
  }
  AddPlan plan(options.Ways(), problems);
  plan.LeaveOut(options.archive);
  for (const std::string& path : options.paths) plan.Add(path, options.name.value_or(""));
  if (plan.Items().empty()) throw Failure(ExitCode::kFileError, "there is nothing to add");
  return plan;
}

// Whether it is the member that stands in an archive of no members.
bool StandsForNone(const RawDirectory& directory) {
  return directory.records.size() == 1 && directory.records[0].Name() == "/" &&
         directory.records[0].Size() == 0;
}

// Which old members give way to those that were added: they are called as one of them, and their companions
// go with them. What could not be added replaces nothing.
class GivesWay {
 public:
  // The new members of the archive are those behind the old ones.
  GivesWay(const Ref<ZipArchive>& archive, std::int32_t old_members, const RawDirectory& before) {
    if (StandsForNone(before)) names_.emplace("/");
    for (std::int32_t i = old_members + 1; i <= archive->EntryCount(); ++i)
      names_.emplace(archive->Entry(i)->z_origEncodedName().view());
    for (std::int32_t i = 1; i <= old_members; ++i) {
      const Ref<ZipEntry> entry = archive->Entry(i);
      if (entry->appleDoubleEntry && names_.contains(KeyOf(entry).second))
        companions_.insert(KeyOf(entry->appleDoubleEntry));
    }
  }
  bool operator()(const RawRecord& record) const {
    return names_.contains(std::string(record.Name())) ||
           (!companions_.empty() && companions_.contains(KeyOf(record)));
  }

 private:
  std::unordered_set<std::string> names_;
  std::set<RecordKey> companions_;
};

// How many members there will be if all that is planned can be added.
std::size_t CountAfter(const RawDirectory& before, const AddPlan& plan) {
  std::unordered_set<std::string_view> names;
  for (const PlannedItem& item : plan.Items()) names.insert(item.name);
  const auto replaced = std::count_if(before.records.begin(), before.records.end(),
                                      [&](const RawRecord& record) { return names.contains(record.Name()); });
  return before.records.size() - static_cast<std::size_t>(replaced) + plan.Items().size();
}

void AddByCopy(const AddOptionsOfVerb& options, Problems& problems) {
  ArchiveCopy copy(options.archive);
  OpenForReading(options.archive, options.encoding);  // says why if it is no archive
  const RawDirectory before = RawDirectory::Read(copy.Original());
  Preflight::CheckDirectory(copy.Original(), before);
  const AddPlan plan = PlanOf(options, problems);
  Preflight::CheckCount(CountAfter(before, plan));
  copy.Begin();
  CopyBytes(copy.Original(), 0, copy.File(), 0, before.end);

  const Ref<ZipArchive> archive = OpenForWriting(copy.Path(), options.encoding);
  const auto progress = New<Progress>(options.ShowProgress(), plan.TotalSize());
  archive->SetProgressMonitor(progress);
  const std::int32_t old_members = archive->EntryCount();
  MemberWriter(archive, options.Ways(), problems).Add(plan, progress);
  if (archive->EntryCount() == old_members) throw Failure(problems.Code(), "nothing was added");
  const GivesWay gives_way(archive, old_members, before);
  CloseWritten(archive);

  // The engine wrote a directory of what it saw; this one has the old records as they were, and the new ones.
  const RawDirectory written = RawDirectory::Read(copy.File());
  RawDirectory after = before;
  std::erase_if(after.records, [&](const RawRecord& record) { return gives_way(record); });
  after.records.insert(after.records.end(), written.records.begin() + old_members, written.records.end());
  Preflight::CheckCount(after.records.size());
  after.start = written.start;
  after.Write(copy.File());
  copy.Commit(after);
}

void AddInPlace(const AddOptionsOfVerb& options, Problems& problems) {
  InPlaceEdit edit(options.archive, options.encoding);
  const AddPlan plan = PlanOf(options, problems);
  Preflight::CheckCount(edit.Before().records.size() + plan.Items().size());
  // Each member's data may grow by five bytes in 16 KiB, and names and headers come on top.
  constexpr std::uint64_t kPerMember = 1024;
  Preflight::CheckSize(edit.Before().end + plan.TotalSize() + plan.TotalSize() / 2048 +
                       plan.Items().size() * kPerMember);
  const Ref<ZipArchive>& archive = edit.Archive();
  const auto progress = New<Progress>(options.ShowProgress(), plan.TotalSize());
  archive->SetProgressMonitor(progress);
  try {
    MemberWriter(archive, options.Ways(), problems).Add(plan, progress);
  } catch (...) {
    edit.Undo();
    throw;
  }
  const std::size_t old_members = edit.Before().records.size();
  if (static_cast<std::size_t>(archive->EntryCount()) == old_members) {
    edit.Undo();
    throw Failure(problems.Code(), "nothing was added");
  }
  const GivesWay gives_way(archive, static_cast<std::int32_t>(old_members), edit.Before());
  for (std::size_t i = old_members; i > 0; --i) {
    if (gives_way(edit.Before().records[i - 1])) archive->RemoveEntry(static_cast<std::int32_t>(i));
  }
  edit.Finish();
}

void Add(const AddOptionsOfVerb& options, Problems& problems) {
  Interruption::Watch();
  if (options.in_place) {
    AddInPlace(options, problems);
  } else {
    AddByCopy(options, problems);
  }
}

}  // namespace

void AddAddVerb(CLI::App& app, ExitCode& exit_code) {
  static AddOptionsOfVerb options;
  CLI::App& command = *app.add_subcommand("add", "Puts files and folders into an archive");
  SetUp(command, options, exit_code, [](Problems& problems) { Add(options, problems); });
  AddProgressOption(command, options);
  AddAddingOptions(command, options);
  command.add_option("--as", options.name, "The name of the one PATH in the archive");
  AddInPlaceOption(command, options);
  AddEncodingOption(command, options);
  command.footer(std::string(kHelpOnEditing) + kHelp);
}

}  // namespace vantorel::forkzip
