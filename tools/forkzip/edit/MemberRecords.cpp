#include "tools/forkzip/edit/MemberRecords.h"

#include <algorithm>

#include "platform/text/TextFunctions.h"
#include "platform/text/Utf8.h"
#include "tools/forkzip/cli/Problems.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

constexpr auto kUtf8Flag = static_cast<std::uint32_t>(ZipFlags::kUtf8Name);

bool StoresUtf8(const ZipArchiveData& archive) {
  return archive.archiveEncoding->Equals(Encodings::UTF8());
}

}  // namespace

RecordKey KeyOf(const RawRecord& record) {
  return {record.Offset(), record.Name()};
}

RecordKey KeyOf(const Ref<ZipEntry>& entry) {
  const auto offset = static_cast<std::uint32_t>(entry->HeaderLong(CentralHeader::kLocalHeaderOffset));
  return {offset, NameInRecord(entry)};
}

std::string_view NameInRecord(const Ref<ZipEntry>& entry) {
  if (entry->HeaderUShort(CentralHeader::kNameLength) == 0) return {};
  return entry->zipEncName.view();
}

bool IsFolderOfCompanions(std::string_view name) {
  return name.starts_with("__MACOSX/") && name.ends_with('/');
}

std::string_view WithoutSlash(std::string_view name) {
  return name.substr(0, name.size() - (name.ends_with('/') ? 1 : 0));
}

const RawRecord& RecordOf(const RawDirectory& directory, const Ref<ZipEntry>& entry) {
  const auto found = std::find_if(directory.records.begin(), directory.records.end(),
                                  [&](const RawRecord& record) { return KeyOf(record) == KeyOf(entry); });
  if (found == directory.records.end()) throw Failure(ExitCode::kBadArchive, "the directory is damaged");
  return *found;
}

void RecordSet::Add(const Ref<ZipEntry>& entry) {
  for (Ref<ZipEntry> each = entry; each; each = each->appleDoubleEntry) keys_.insert(KeyOf(each));
}

bool CanStore(const Ref<ZipArchive>& archive, const std::string& name) {
  if (StoresUtf8(*archive->d) || IsAscii(name)) return true;
  const String stored = archive->z_pathToEncName(DefineEncoding(String::Bytes(name), Encodings::UTF8()));
  return ConvertEncoding(archive->d->decodeFromZip(stored), Encodings::UTF8()).view() == name;
}

std::string StoredName(const Ref<ZipArchive>& archive, const std::string& name) {
  if (!CanStore(archive, name)) {
    throw Failure(ExitCode::kUsage, "NEWNAME has letters that the archive's encoding lacks");
  }
  const String text = DefineEncoding(String::Bytes(name), Encodings::UTF8());
  return std::string(archive->z_pathToEncName(text).view());
}

std::uint32_t FlagsForName(std::uint32_t flags, std::string_view name, const ZipArchiveData& archive) {
  if (IsAscii(name)) return flags;
  return StoresUtf8(archive) && IsUtf8(name) ? flags | kUtf8Flag : flags & ~kUtf8Flag;
}

}  // namespace vantorel::forkzip
