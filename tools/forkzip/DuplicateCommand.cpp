#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/text/TextFunctions.h"
#include "tools/forkzip/AddPlan.h"
#include "tools/forkzip/ArchiveCopy.h"
#include "tools/forkzip/InPlaceEdit.h"
#include "tools/forkzip/Interruption.h"
#include "tools/forkzip/MemberDuplicate.h"
#include "tools/forkzip/MemberSelection.h"
#include "tools/forkzip/OpenArchive.h"
#include "tools/forkzip/Options.h"
#include "tools/forkzip/Preflight.h"
#include "tools/forkzip/Printable.h"
#include "tools/forkzip/StoredNames.h"
#include "tools/forkzip/Verbs.h"

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

void DuplicateByCopy(const DuplicateOptions& options, const Ref<ZipEntry>& entry, const std::string& name) {
  ArchiveCopy copy(options.archive);
  const RawDirectory before = RawDirectory::Read(copy.Original());
  Preflight::CheckDirectory(copy.Original(), before);
  CopyBytes(copy.Original(), 0, copy.File(), 0, before.start);
  const RawDirectory after = AddDuplicate(copy.Original(), before, entry, name, copy.File());
  after.Write(copy.File());
  copy.Commit(after);
}

void DuplicateInPlace(const DuplicateOptions& options, const Ref<ZipEntry>& entry, const std::string& name) {
  const InPlaceEdit edit(options.archive, options.encoding);
  const RawDirectory after = AddDuplicate(edit.File(), edit.Before(), entry, name, edit.File());
  after.Write(edit.File());
  if (fsync(edit.File()) != 0) throw Failure(ExitCode::kFileError, WithCause("cannot be written", errno));
}

void Duplicate(const DuplicateOptions& options) {
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  const Ref<ZipEntry> entry = archive->Entry(SelectOneMember(archive, options.member));
  const std::string name = StoredName(archive, options, entry->IsDirectory());
  Interruption::Watch();
  if (options.in_place) {
    DuplicateInPlace(options, entry, name);
  } else {
    DuplicateByCopy(options, entry, name);
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
