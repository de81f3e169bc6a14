#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/edit/ArchiveEdit.h"
#include "tools/forkzip/edit/MemberRecords.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "zip/records/MemberExtents.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    R"(The space of the members is freed, but not with --in-place: `forkzip compact` does that.
If a name means no member, nothing is deleted. Letter case counts.
Examples:
  forkzip delete photos.zip blurred.jpg
  forkzip delete backup.zip '*.o' cache/           what matches a pattern; a folder and what is in it
  forkzip delete --in-place big.zip old.iso && forkzip compact --in-place big.zip)";

void Preview(const Ref<ZipArchive>& archive, const std::vector<std::int32_t>& members, bool quiet) {
  if (quiet) return;
  Output output;
  for (const std::int32_t i : members) output.WriteAction("delete ", archive->Entry(i)->RawPath());
  output.Flush();
}

// Looks for the members once no other run can change the archive any more.
void Delete(const Options& options, Problems& problems) {
  std::size_t deleted = 0;
  EditArchive(options, [&](ArchiveEdit& edit) {
    const std::vector<std::int32_t> members =
        SelectMembers(edit.Archive(), options, problems, LetterCase::kExact).members;
    if (problems.Code() != ExitCode::kDone) throw Failure(problems.Code(), "nothing is deleted");
    RecordSet doomed;
    for (const std::int32_t i : members) doomed.Add(edit.Archive()->Entry(i));
    std::optional<RawDirectory> directory = edit.Before();
    std::erase_if(directory->records, [&](const RawRecord& record) { return doomed.Contains(record); });
    if (options.dry_run) {
      if (!options.in_place) ExtentsOf(edit.From(), *directory);  // which the others must have to be moved
      Preview(edit.Archive(), members, options.quiet);
      directory.reset();
    } else if (options.in_place) {
      edit.KeepMembers();
    } else {
      edit.MoveTogether(*directory);
    }
    deleted = members.size();
    return directory;
  });
  if (!options.quiet) Print(Count(deleted, "member") + (options.dry_run ? " to be deleted\n" : " deleted\n"));
}

}  // namespace

void AddDeleteVerb(CLI::App& app) {
  const auto [command, options] = AddVerb(app, "delete", "Deletes members from an archive", kHelp, Delete);
  command.add_option("MEMBER", options.members, "Names, folders or shell patterns")->required();
  AddExcludeOption(command, options);
  AddDryRunOption(command, options);
  AddInPlaceOption(command, options);
  AddEncodingOption(command, options);
}

}  // namespace vantorel::forkzip
