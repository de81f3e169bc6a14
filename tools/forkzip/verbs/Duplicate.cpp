#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/text/TextFunctions.h"
#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/add/AddPlan.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/edit/ArchiveCopy.h"
#include "tools/forkzip/edit/InPlaceEdit.h"
#include "tools/forkzip/edit/MemberDuplicate.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/edit/StoredNames.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "The data is copied as it is stored, without being unpacked; every program can read both members.\n"
    "Examples:\n"
    "  forkzip duplicate site.zip index.html old/index.html";

struct DuplicateOptions : Options {
  std::string member;
  std::string new_name;
};

// The new name in the archive's encoding. A folder's ends in "/".
std::string StoredName(const Ref<ZipArchive>& archive, const DuplicateOptions& options, bool folder) {
  std::string name = MemberNameOf(options.new_name);
  if (name.empty()) throw Failure(ExitCode::kUsage, "NEWNAME is no name for a member");
  if (folder) name += '/';
  if (!CanStore(archive, name)) {
    throw Failure(ExitCode::kUsage, "NEWNAME has letters that the archive's encoding lacks");
  }
  const String text = DefineEncoding(String::Bytes(name), Encodings::UTF8());
  if (archive->EntryIdxByRawPath(text, 1) != 0)
    throw Failure(ExitCode::kBadArchive, name + ": exists already");
  return std::string(archive->z_pathToEncName(text).view());
}

// Looked up once no other run can change the archive any more.
Ref<ZipEntry> EntryOf(const Ref<ZipArchive>& archive, const DuplicateOptions& options) {
  return archive->Entry(SelectOneMember(archive, options.member));
}

void DuplicateByCopy(const DuplicateOptions& options) {
  ArchiveCopy copy(options.archive);
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  const Ref<ZipEntry> entry = EntryOf(archive, options);
  const std::string name = StoredName(archive, options, entry->IsDirectory());
  const RawDirectory before = RawDirectory::Read(copy.Original());
  Preflight::CheckDirectory(copy.Original(), before);
  copy.Begin();
  CopyBytes(copy.Original(), 0, copy.File(), 0, before.start);
  const RawDirectory after = AddDuplicate(copy.Original(), before, entry, name, copy.File());
  after.Write(copy.File());
  copy.Commit(after);
}

void DuplicateInPlace(const DuplicateOptions& options) {
  InPlaceEdit edit(options.archive, options.encoding);
  const Ref<ZipEntry> entry = EntryOf(edit.Archive(), options);
  const std::string name = StoredName(edit.Archive(), options, entry->IsDirectory());
  try {
    const RawDirectory after = AddDuplicate(edit.File(), edit.Before(), entry, name, edit.File());
    after.Write(edit.File());
    if (fsync(edit.File()) != 0) throw Failure(ExitCode::kFileError, WithCause("cannot be written", errno));
  } catch (...) {
    edit.Undo();
    throw;
  }
}

void Duplicate(const DuplicateOptions& options) {
  Interruption::Watch();
  if (options.in_place) {
    DuplicateInPlace(options);
  } else {
    DuplicateByCopy(options);
  }
}

}  // namespace

void AddDuplicateVerb(CLI::App& app, ExitCode& exit_code) {
  static DuplicateOptions options;
  CLI::App& command = *app.add_subcommand("duplicate", "Gives a member's data a second name");
  SetUp(command, options, exit_code, [](Problems&) { Duplicate(options); });
  command.add_option("MEMBER", options.member, "A member's name, or a pattern that only one matches")
      ->required();
  command.add_option("NEWNAME", options.new_name, "The second name")->required();
  AddInPlaceOption(command, options);
  AddEncodingOption(command, options);
  command.footer(std::string(kHelpOnEditing) + kHelp);
}

}  // namespace vantorel::forkzip
