#include <set>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/edit/ArchiveCopy.h"
#include "tools/forkzip/edit/InPlaceEdit.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/edit/Rebuild.h"
#include "tools/forkzip/edit/RecordKey.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "The space of the members is given back, but not with --in-place: there `forkzip compact` does that. If "
    "a name means\n"
    "no member, nothing is deleted. An archive of no members holds one called `/`.\n"
    "Examples:\n"
    "  forkzip delete photos.zip blurred.jpg\n"
    "  forkzip delete backup.zip '*.o' cache/           what matches a pattern; a folder and what is in it\n"
    "  forkzip delete --in-place big.zip old.iso && forkzip compact --in-place big.zip";

// The records that stay. A member's companion goes with it.
RawDirectory Without(RawDirectory directory, const Ref<ZipArchive>& archive,
                     const std::vector<std::int32_t>& members) {
  std::set<RecordKey> doomed;
  for (const std::int32_t i : members) AddKeysOf(archive->Entry(i), doomed);
  std::erase_if(directory.records, [&](const RawRecord& record) { return doomed.contains(KeyOf(record)); });
  return directory;
}

std::vector<std::int32_t> MembersToDelete(const Ref<ZipArchive>& archive, const Options& options,
                                          Problems& problems) {
  std::vector<std::int32_t> members =
      SelectMembers(archive, options.members, problems, LetterCase::kExact).members;
  if (problems.Code() != ExitCode::kDone) throw Failure(problems.Code(), "nothing is deleted");
  return members;
}

std::size_t DeleteByCopy(const Options& options, Problems& problems) {
  ArchiveCopy copy(options.archive);
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  const std::vector<std::int32_t> members = MembersToDelete(archive, options, problems);
  const RawDirectory before = RawDirectory::Read(copy.Original());
  Preflight::CheckDirectory(copy.Original(), before);
  const RawDirectory kept = Without(before, archive, members);
  if (kept.records.empty()) {
    copy.CommitEmpty(kept.comment);
  } else {
    copy.Begin();
    copy.Commit(Rebuild(copy.Original(), kept, copy.File()));
  }
  return members.size();
}

std::size_t DeleteInPlace(const Options& options, Problems& problems) {
  InPlaceEdit edit(options.archive, options.encoding);
  const std::vector<std::int32_t> members = MembersToDelete(edit.Archive(), options, problems);
  for (auto member = members.rbegin(); member != members.rend(); ++member)
    edit.Archive()->RemoveEntry(*member);
  edit.Finish();
  return members.size();
}

void Delete(const Options& options, Problems& problems) {
  Interruption::Watch();
  // The members are looked for once no other run can change the archive any more.
  const std::size_t deleted =
      options.in_place ? DeleteInPlace(options, problems) : DeleteByCopy(options, problems);
  if (options.quiet) return;
  Output output;
  output.Write(Count(deleted, "member") + " deleted\n");
  output.Flush();
}

}  // namespace

void AddDeleteVerb(CLI::App& app, ExitCode& exit_code) {
  static Options options;
  CLI::App& command = *app.add_subcommand("delete", "Takes members out of an archive");
  SetUp(command, options, exit_code, [](Problems& problems) { Delete(options, problems); });
  command.add_option("MEMBER", options.members, "Names, folders or shell patterns")->required();
  AddInPlaceOption(command, options);
  AddEncodingOption(command, options);
  command.footer(std::string(kHelpOnEditing) + kHelp);
}

}  // namespace vantorel::forkzip
