#include <optional>
#include <unordered_set>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/add/AddPlan.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/edit/ArchiveEdit.h"
#include "tools/forkzip/edit/MemberCopy.h"
#include "tools/forkzip/edit/MemberRecords.h"
#include "tools/forkzip/read/CorrectedArchive.h"
#include "tools/forkzip/read/MemberSelection.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    R"(Of a folder, all that is in it is renamed. Letter case counts, and a name that is taken is refused. With
--in-place the data is written again at the end; `forkzip compact` frees the space of the old one.
Examples:
  forkzip rename site.zip index.htm index.html
  forkzip rename photos.zip 2024 'years/2024'    a folder)";

constexpr std::string_view kCompanionTree = "__MACOSX/";

// Whether a member is called `name` or lies in the folder of that name.
bool Bears(std::string_view member, std::string_view name) {
  return member.starts_with(name) && (member.size() == name.size() || member[name.size()] == '/');
}

// The name of the one member or folder that is meant.
std::string OldName(const Ref<ZipArchive>& archive, const std::string& argument) {
  std::string name(WithoutSlash(argument));
  for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) {
    if (Bears(ListedName(*archive->Entry(i)), name)) return name;
  }
  const std::int32_t index = SelectOneName(archive, argument, LetterCase::kExact).front();
  return std::string(WithoutSlash(ListedName(*archive->Entry(index))));
}

// The new name of a member, or folder in the tree of companions, that bears the old one or lies below it.
std::optional<std::string> Renamed(const std::string& name, const std::string& old_name,
                                   const std::string& new_name) {
  const std::string_view tree = name.starts_with(kCompanionTree) ? kCompanionTree : "";
  const std::string_view in_tree = std::string_view(name).substr(tree.size());
  const std::string_view meant = Bears(name, old_name) ? name : in_tree;
  if (!Bears(meant, old_name)) return std::nullopt;
  const std::string front = name.substr(0, name.size() - meant.size());
  return front + new_name + std::string(meant.substr(old_name.size()));
}

// Folders in the tree of companions are no members to the engine. One that is there already will do.
void AddFoldersOfCompanions(NewNames& names, const ArchiveEdit& edit, const std::string& old_name,
                            const std::string& new_name) {
  ZipArchiveData& data = *edit.Archive()->d;
  std::unordered_set<std::string_view> taken;
  for (const RawRecord& record : edit.Before().records) taken.insert(record.Name());
  for (const RawRecord& record : edit.Before().records) {
    if (!IsFolderOfCompanions(record.Name())) continue;
    const String text = data.decodeFromZip(String::Bytes(record.Name()));
    const auto renamed = Renamed(Utf8(text), old_name, new_name);
    if (!renamed) continue;
    const std::string name = StoredName(edit.Archive(), *renamed);
    if (!taken.contains(name)) names.try_emplace(KeyOf(record), name);
  }
}

// Looks for the members once no other run can change the archive any more.
void Rename(const NamingOptions& options, Problems& /*problems*/) {
  EditArchive(options, [&](ArchiveEdit& edit) {
    const Ref<ZipArchive>& archive = edit.Archive();
    const std::string new_name = MemberNameOf(options.new_name);
    if (new_name.empty()) throw Failure(ExitCode::kUsage, "NEWNAME is no name for a member");
    const std::string old_name = OldName(archive, options.member);
    NewNames names;
    for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) {
      const Ref<ZipEntry> entry = archive->Entry(i);
      const auto name = Renamed(ListedName(*entry), old_name, new_name);
      if (name) AddNewName(names, entry, StoredName(archive, *name));
    }
    AddFoldersOfCompanions(names, edit, old_name, new_name);
    return RenameMembers(edit, names, StoredName(archive, new_name));
  });
}

}  // namespace

void AddRenameVerb(CLI::App& app) {
  const auto [command, options] =
      AddVerb(app, "rename", "Renames a member, or a folder with all that is in it", kHelp, Rename);
  command.add_option("MEMBER", options.member, "A member or folder, or a pattern that only one matches")
      ->required();
  command.add_option("NEWNAME", options.new_name, "Its new name")->required();
  AddInPlaceOption(command, options);
  AddEncodingOption(command, options);
}

}  // namespace vantorel::forkzip
