// ZipEntry: dates, type and creator, Finder flags, exact name and Unix mode of an extracted item. All of it
// is best effort: nothing here fails an extraction.
#include <unistd.h>

#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipEntry.h"
#include "zip/extract/MacBinaryHeader.h"

namespace vantorel {

namespace {

namespace Mac = MacBinaryHeader;

// Drops the name-locked and the has-been-inited flag: they are the Finder's own business.
constexpr std::uint8_t kFinderFlagsHighMask = 0xEE;
constexpr std::int32_t kScriptIsValid = 0x80;
constexpr std::int32_t kScriptMask = 0x7F;

// The system sound: rings the bell of the terminal that shows this process's messages, where there is one.
void Beep() {
  if (isatty(STDERR_FILENO) == 0) return;
  [[maybe_unused]] const ssize_t put = write(STDERR_FILENO, "\a", 1);  // a bell that fails is no matter
}

Ref<Date> MacDate(double seconds) {
  Ref<Date> date = New<Date>();
  date->SetTotalSeconds(seconds);
  return date;
}

void CopyCode(const MemoryBlock& block, std::int32_t offset, std::array<char, 4>& code) {
  block.View().copy(code.data(), code.size(), static_cast<std::size_t>(offset));
}

// A folder has neither type nor creator. What the item holds already and cannot be read cannot be changed
// either: that is worth a sound.
std::int32_t ApplyFinderInfo(FolderItem& item, const MemoryBlock& block) {
  MacData present;
  if (const std::int32_t error = item.GetMacData(present)) {
    Beep();
    return error;
  }
  FinderInfo& info = present.finder;
  if (!item.Directory()) {
    CopyCode(block, Mac::kType, info.type);
    CopyCode(block, Mac::kCreator, info.creator);
  }
  const int high = block.Byte(Mac::kFinderFlagsHigh) & kFinderFlagsHighMask;
  info.flags = static_cast<std::uint16_t>((high << 8) | block.Byte(Mac::kFinderFlagsLow));
  info.script = block.Byte(Mac::kScript);
  info.extended_flags = block.Byte(Mac::kExtendedFlags);
  return item.SetFinderInfo(info);
}

std::int32_t SetTypeAndCreator(FolderItem& item, const String& type, const String& creator) {
  const std::int32_t error = item.SetMacType(type);
  const std::int32_t second_error = item.SetMacCreator(creator);
  return error != 0 ? error : second_error;
}

}  // namespace

bool ZipEntry::HasMacAttributes(const Ref<MemoryBlock>& header_block) const {
  String type;
  String creator;
  String name;
  return header_block || extra->GetTypeCreatorName(type, creator, name);
}

std::int32_t ZipEntry::ApplyMacAttributes(const Ref<FolderItem>& item, const Ref<MemoryBlock>& header_block) {
  String type;
  String creator;
  String name;
  if (header_block) return ApplyMacBinaryInformation(item, header_block);
  const bool by_extra = extra && extra->GetTypeCreatorName(type, creator, name);
  if (!by_extra && !z_icMapFilename(item->Name(), type, creator)) return 0;
  const std::int32_t error = SetTypeAndCreator(*item, type, creator);
  if (by_extra && !name.empty()) z_adjustMacFilename(name, 0, item);
  return error;
}

std::int32_t ZipEntry::ApplyMacBinaryInformation(const Ref<FolderItem>& item,
                                                 const Ref<MemoryBlock>& header_block) {
  if (!item->Exists() || !header_block) return 0;
  header_block->SetLittleEndian(false);
  // A companion without times has 0 in both fields: the file then gets the first moment of 1904, and not the
  // time that its entry states.
  item->SetCreationDate(MacDate(z_ulongToDouble(header_block->Long(Mac::kCreated))));
  item->SetModificationDate(MacDate(z_ulongToDouble(header_block->Long(Mac::kModified))));
  z_adjustMacFilename(header_block->PString(Mac::kName), header_block->Byte(Mac::kScript), item);
  const std::int32_t error = ApplyFinderInfo(*item, *header_block);
  if (lockFiles && header_block->Byte(Mac::kProtected) != 0 && !item->Directory()) item->SetLocked(true);
  return error;
}

void ZipEntry::z_adjustMacFilename(const String& name, std::int32_t script, const Ref<FolderItem>& item) {
  const Ref<TextEncoding> encoding = (script & kScriptIsValid) == 0
                                         ? GetFontTextEncoding("System")
                                         : GetTextEncoding(script & kScriptMask, 0, 0);
  if (!encoding) return;
  const String exact = DefineEncoding(name, encoding);
  const String present = item->Name();
  if (exact.empty() || SameText(exact, present)) return;
  if (SameText(present, d->cleanName(exact)) && SameText(present, path.back())) item->SetName(exact);
}

bool ZipEntry::ApplyUnixPermissions(const Ref<FolderItem>& item) {
  const std::int32_t attributes = ExternalFileAttributes();
  return attributes < 0 && ApplyUnixPermissions(item, attributes);
}

bool ZipEntry::ApplyUnixPermissions(const Ref<FolderItem>& item, std::int32_t attributes) {
  const Ref<MemoryBlock> reference = d->makeFSRef(item);
  if (!reference) return false;
  return d->updateUnixPermissions(reference, 0, d->shiftRight16(attributes)) == 0;
}

// This system has no table that tells a file's type and creator from its name.
bool ZipEntry::z_icMapFilename(const String& /*name*/, String& /*type*/, String& /*creator*/) {
  return false;
}

}  // namespace vantorel
