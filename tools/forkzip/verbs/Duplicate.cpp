#include "platform/text/TextFunctions.h"
#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/add/AddPlan.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/edit/ArchiveEdit.h"
#include "tools/forkzip/edit/MemberCopy.h"
#include "tools/forkzip/edit/MemberRecords.h"
#include "tools/forkzip/read/MemberSelection.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    R"(The data is copied as it is stored; every program can read both members. A damaged member is not copied.
Examples:
  forkzip duplicate site.zip index.html old/index.html)";

// The new name as it is to be stored. A folder's ends in "/".
std::string NameOfCopy(const Ref<ZipArchive>& archive, const NamingOptions& options, bool folder) {
  std::string name = MemberNameOf(options.new_name);
  if (name.empty()) throw Failure(ExitCode::kUsage, "NEWNAME is no name for a member");
  if (folder) name += '/';
  std::string stored = StoredName(archive, name);
  if (archive->EntryIdxByRawPath(DefineEncoding(String::Bytes(name), Encodings::UTF8()), 1) != 0)
    throw Failure(ExitCode::kBadArchive, name + ": exists already");
  return stored;
}

// Looks for the member once no other run can change the archive any more.
void Duplicate(const NamingOptions& options, Problems& /*problems*/) {
  EditArchive(options, [&](ArchiveEdit& edit) {
    const Ref<ZipArchive>& archive = edit.Archive();
    const std::int32_t index = SelectOneName(archive, options.member, LetterCase::kExact).front();
    const Ref<ZipEntry> entry = archive->Entry(index);
    return DuplicateMember(edit, entry, NameOfCopy(archive, options, entry->IsDirectory()));
  });
}

}  // namespace

void AddDuplicateVerb(CLI::App& app) {
  const auto [command, options] =
      AddVerb(app, "duplicate", "Copies a member under a second name", kHelp, Duplicate);
  command.add_option("MEMBER", options.member, "A member's name, or a pattern that only one matches")
      ->required();
  command.add_option("NEWNAME", options.new_name, "The second name")->required();
  AddInPlaceOption(command, options);
  AddEncodingOption(command, options);
}

}  // namespace vantorel::forkzip
