#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <unordered_set>

#include "tools/forkzip/AddingOptions.h"
#include "tools/forkzip/ArchiveCopy.h"
#include "tools/forkzip/InPlaceEdit.h"
#include "tools/forkzip/Interruption.h"
#include "tools/forkzip/MemberWriter.h"
#include "tools/forkzip/OpenArchive.h"
#include "tools/forkzip/Output.h"
#include "tools/forkzip/Preflight.h"
#include "tools/forkzip/Printable.h"
#include "tools/forkzip/Rebuild.h"
#include "tools/forkzip/Verbs.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "A member of the same name is replaced.\n"
    "Examples:\n"
    "  forkzip add photos.zip forest.jpg\n"
    "  forkzip add site.zip build/index.html --as index.html\n"
    "  forkzip add --in-place logs.zip today.log";

struct AddOptionsOfVerb : AddingOptions {
  std::string name;
};

AddPlan PlanOf(const AddOptionsOfVerb& options, Problems& problems) {
  if (!options.name.empty() && options.paths.size() != 1) {
    throw Failure(ExitCode::kUsage, "--as names one item, so give one PATH with it");
  }
  AddPlan plan(options.Ways(), problems);
  struct stat status {};
  if (stat(options.archive.c_str(), &status) == 0) plan.LeaveOut(status);
  for (const std::string& path : options.paths) plan.Add(path, options.name);
  return plan;
}

// Whether a member gives way to what is added: it bears the name of such an item, or it is the one that
// stands in an archive of no members.
class GivesWay {
 public:
  explicit GivesWay(const AddPlan& plan) : names_{"/"} {
    for (const PlannedItem& item : plan.Items()) names_.insert(item.name);
  }
  bool operator()(std::string_view name) const { return names_.contains(std::string(name)); }

 private:
  std::unordered_set<std::string> names_;
};

// The directory without the members that give way.
RawDirectory WithoutReplaced(RawDirectory directory, const AddPlan& plan) {
  const GivesWay gives_way(plan);
  std::erase_if(directory.records, [&](const RawRecord& record) { return gives_way(record.Name()); });
  return directory;
}

void AddByCopy(const AddOptionsOfVerb& options, const AddPlan& plan, const Ref<Progress>& progress,
               Problems& problems) {
  ArchiveCopy copy(options.archive);
  const RawDirectory before = RawDirectory::Read(copy.Original());
  Preflight::CheckDirectory(copy.Original(), before);
  RawDirectory after = WithoutReplaced(before, plan);
  Preflight::CheckCount(after.records.size() + plan.Items().size());
  CopyBytes(copy.Original(), 0, copy.File(), 0, before.end);

  const Ref<ZipArchive> archive = OpenForWriting(copy.Path(), options.encoding);
  archive->SetProgressMonitor(progress);
  const std::int32_t first_new = archive->EntryCount();
  MemberWriter(archive, options.Ways(), problems).Add(plan, progress);
  if (archive->EntryCount() == first_new) throw Failure(problems.Code(), "nothing was added");
  CloseWritten(archive);

  // The engine wrote a directory of what it saw; this one has the old records as they were, and the new ones.
  const RawDirectory written = RawDirectory::Read(copy.File());
  after.records.insert(after.records.end(), written.records.begin() + first_new, written.records.end());
  after.start = written.start;
  after.Write(copy.File());
  copy.Commit(after);
}

void AddInPlace(const AddOptionsOfVerb& options, const AddPlan& plan, const Ref<Progress>& progress,
                Problems& problems) {
  InPlaceEdit edit(options.archive, options.encoding);
  Preflight::CheckCount(edit.Before().records.size() + plan.Items().size());
  // Each member's data may grow by five bytes in 16 KiB, and names and headers come on top.
  constexpr std::uint64_t kPerMember = 1024;
  Preflight::CheckSize(edit.Before().end + plan.TotalSize() + plan.TotalSize() / 2048 +
                       plan.Items().size() * kPerMember);
  const Ref<ZipArchive>& archive = edit.Archive();
  archive->SetProgressMonitor(progress);
  try {
    MemberWriter(archive, options.Ways(), problems).Add(plan, progress);
  } catch (...) {
    edit.Undo();
    throw;
  }
  const GivesWay gives_way(plan);
  for (std::size_t i = edit.Before().records.size(); i > 0; --i) {
    if (gives_way(edit.Before().records[i - 1].Name())) archive->RemoveEntry(static_cast<std::int32_t>(i));
  }
  edit.Finish();
}

void Add(const AddOptionsOfVerb& options, Problems& problems) {
  OpenForReading(options.archive, options.encoding);  // says why if it is no archive
  const AddPlan plan = PlanOf(options, problems);
  if (plan.Items().empty()) throw Failure(ExitCode::kFileError, "there is nothing to add");
  Interruption::Watch();
  const auto progress = New<Progress>(options.ShowProgress(), plan.TotalSize());
  if (options.in_place) {
    AddInPlace(options, plan, progress, problems);
  } else {
    AddByCopy(options, plan, progress, problems);
  }
}

}  // namespace

void AddAddVerb(CLI::App& app, ExitCode& exit_code) {
  static AddOptionsOfVerb options;
  CLI::App& command = *app.add_subcommand("add", "Puts files and folders into an archive");
  SetUp(command, options, exit_code, [](Problems& problems) { Add(options, problems); });
  AddAddingOptions(command, options);
  command.add_option("--as", options.name, "The name of the one PATH in the archive");
  AddInPlaceOption(command, options);
  AddEncodingOption(command, options);
  command.footer(std::string(kHelpOnEditing) + kHelp);
}

}  // namespace vantorel::forkzip
