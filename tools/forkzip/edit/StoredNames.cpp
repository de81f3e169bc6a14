#include "tools/forkzip/edit/StoredNames.h"

#include "platform/text/TextFunctions.h"
#include "tools/forkzip/cli/Printable.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

bool StoresUtf8(const ZipArchiveData& archive) {
  return archive.archiveEncoding->Equals(Encodings::UTF8());
}

bool CanStore(const Ref<ZipArchive>& archive, const std::string& name) {
  if (StoresUtf8(*archive->d) || IsAscii(name)) return true;
  const String stored = archive->z_pathToEncName(DefineEncoding(String::Bytes(name), Encodings::UTF8()));
  return ConvertEncoding(archive->d->decodeFromZip(stored), Encodings::UTF8()).view() == name;
}

std::uint32_t FlagsForName(std::uint32_t flags, std::string_view name, const ZipArchiveData& archive) {
  if (IsAscii(name)) return flags;
  constexpr auto kUtf8 = static_cast<std::uint32_t>(ZipFlags::kUtf8Name);
  return StoresUtf8(archive) && IsUtf8(name) ? flags | kUtf8 : flags & ~kUtf8;
}

}  // namespace vantorel::forkzip
