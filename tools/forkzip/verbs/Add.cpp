#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "platform/files/SideFile.h"
#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/add/MemberWriter.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/edit/ArchiveEdit.h"
#include "tools/forkzip/edit/MemberRecords.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/CorrectedArchive.h"
#include "tools/forkzip/read/MemberFacts.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp = R"(A member of the same name is replaced, with its Mac data.
Examples:
  forkzip add photos.zip forest.jpg
  forkzip add site.zip build/index.html --as index.html
  forkzip add --newer backup.zip letters   what has changed since
  forkzip add --in-place logs.zip today.log)";

// Whether an item is newer than the member of its name, or there is none. Mac data that changed counts too.
bool IsNewer(const PlannedItem& item, const std::unordered_map<std::string, std::time_t>& members) {
  const auto member = members.find(item.name);
  if (member == members.end() || item.modified.tv_sec > member->second) return true;
  struct stat side_file {};
  return item.has_side_file && lstat(SideFile::PathFor(item.Source()).c_str(), &side_file) == 0 &&
         side_file.st_mtim.tv_sec > member->second;
}

AddPlan PlanOf(const Ref<ZipArchive>& archive, const AddingOptions& options, Problems& problems) {
  const std::vector<std::string> paths = PathsOf(options);
  if (options.name && paths.size() != 1) {
    throw Failure(ExitCode::kUsage, "--as names one item, so give one PATH with it");
  }
  if (options.name && MemberNameOf(*options.name).empty()) {
    throw Failure(ExitCode::kUsage, "what --as gives is no name for a member");
  }
  AddPlan plan(options, problems);
  std::unordered_map<std::string, std::time_t> members;
  for (std::int32_t i = 1; options.newer && i <= archive->EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    if (const auto time = LatestTimeOf(entry)) members[ListedName(*entry)] = *time;
  }
  plan.Restrict([members = std::move(members)](const PlannedItem& item) { return IsNewer(item, members); });
  for (const std::string& path : paths) plan.Add(path, options.name.value_or(""));
  const bool may_be_empty =
      options.newer || (!options.excluded.empty() && problems.Code() == ExitCode::kDone);
  if (plan.Items().empty() && !may_be_empty) throw Failure(ExitCode::kFileError, "there is nothing to add");
  return plan;
}

// How many members there will be if all that is planned can be added.
std::size_t CountAfter(const RawDirectory& before, const AddPlan& plan) {
  std::unordered_set<std::string_view> names;
  for (const PlannedItem& item : plan.Items()) names.insert(item.name);
  const auto replaced = std::count_if(before.records.begin(), before.records.end(),
                                      [&](const RawRecord& record) { return names.contains(record.Name()); });
  return before.records.size() - static_cast<std::size_t>(replaced) + plan.Items().size();
}

// What the members may take at most: their data may grow by five bytes in 16 KiB, and names and headers come
// on top.
std::uint64_t MostBytes(const AddPlan& plan) {
  constexpr std::uint64_t kPerMember = 1024;
  return plan.TotalSize() + plan.TotalSize() / 2048 + plan.Items().size() * kPerMember;
}

// Whether it is the member that stands in an archive of no members.
bool StandsForNone(const RawDirectory& directory) {
  return directory.records.size() == 1 && directory.records[0].Name() == "/" &&
         directory.records[0].Size() == 0;
}

// Which of the old records go: those of members that are called as one of those that were added, and of their
// companions. What could not be added replaces nothing.
std::vector<bool> Replaced(const RawDirectory& before, const Ref<ZipArchive>& archive,
                           const std::vector<RawRecord>& added) {
  std::unordered_set<std::string_view> names;
  for (const RawRecord& record : added) names.insert(record.Name());
  RecordSet replaced;
  for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive->Entry(i);  // one without a name bears that of the one before it
    const std::optional<std::string> read_as = CorrectedName(*entry);
    const bool goes =
        names.contains(entry->zipEncName.view()) ||
        (read_as && CanStore(archive, *read_as) && names.contains(StoredName(archive, *read_as)));
    if (goes) replaced.Add(entry);
  }
  std::vector<bool> goes;
  for (const RawRecord& record : before.records) {
    goes.push_back(StandsForNone(before) || names.contains(record.Name()) || replaced.Contains(record));
  }
  return goes;
}

// The names of the items that can be added, as they will be stored.
std::vector<std::string> StoredNames(const AddPlan& plan, const Ref<ZipArchive>& archive) {
  std::vector<std::string> names;
  for (const PlannedItem& item : plan.Items()) {
    if (WhyLeftOut(item, archive).empty()) names.push_back(StoredName(archive, item.name));
  }
  return names;
}

void Preview(const ArchiveEdit& edit, const AddPlan& plan, bool quiet, Problems& problems) {
  std::unordered_set<std::string> names;
  for (const RawRecord& record : edit.Before().records) names.emplace(record.Name());
  std::unordered_set<std::string> listed;
  for (std::int32_t i = 1; i <= edit.Archive()->EntryCount(); ++i) {
    listed.insert(ListedName(*edit.Archive()->Entry(i)));
  }
  Output output;
  for (const PlannedItem& item : plan.Items()) {
    if (const std::string why = WhyLeftOut(item, edit.Archive()); !why.empty()) {
      problems.Add(ExitCode::kFileError, item.path, why);
    } else if (!quiet) {
      const bool there = listed.contains(item.name) || names.contains(StoredName(edit.Archive(), item.name));
      output.WriteAction(there ? "replace " : "add ", String::Bytes(item.name));
    }
  }
  output.Flush();
}

std::optional<RawDirectory> Added(ArchiveEdit& edit, const AddingOptions& options, Problems& problems) {
  const AddPlan plan = PlanOf(edit.Archive(), options, problems);
  if (plan.Items().empty()) {
    if (!options.quiet && !options.newer) Print("nothing to add\n");
    return std::nullopt;
  }
  Preflight::CheckCount(CountAfter(edit.Before(), plan));
  Preflight::CheckPlaces(edit.Before().records, StoredNames(plan, edit.Archive()));
  if (options.in_place) Preflight::CheckSize(edit.Before().end + MostBytes(plan));
  if (options.dry_run) {
    Preview(edit, plan, options.quiet, problems);
    return std::nullopt;
  }
  RawDirectory after = edit.MakeRoomBehindMembers();
  const RawDirectory added = WriteMembers(edit.To(), after.start, plan, options, problems);
  if (added.records.empty()) throw Failure(problems.Code(), "nothing was added");
  const std::vector<bool> replaced = Replaced(edit.Before(), edit.Archive(), added.records);
  const std::vector<RawRecord> old = std::exchange(after.records, {});
  for (std::size_t i = 0; i < old.size(); ++i) {
    if (!replaced[i]) after.records.push_back(old[i]);
  }
  after.records.insert(after.records.end(), added.records.begin(), added.records.end());
  after.start = added.start;
  return after;
}

void Add(const AddingOptions& options, Problems& problems) {
  EditArchive(options, [&](ArchiveEdit& edit) { return Added(edit, options, problems); });
}

}  // namespace

void AddAddVerb(CLI::App& app) {
  const auto [command, options] = AddVerb(app, "add", "Adds files and folders to an archive", kHelp, Add);
  DefineAddingOptions(command, options);
  command.add_flag("--newer", options.newer, "Add files that are newer than their member, or have none yet");
  command.add_option("--as", options.name, "The name of the one PATH in the archive");
  AddDryRunOption(command, options);
  AddInPlaceOption(command, options);
  AddEncodingOption(command, options);
}

}  // namespace vantorel::forkzip
