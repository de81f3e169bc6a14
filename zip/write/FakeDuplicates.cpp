// A second name for a member's data: a central record of its own that points at the same local header. Bit 3
// of its flags, which the local header lacks, marks it.
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/ZipRecords.h"
#include "zip/write/AddResult.h"
#include "zip/write/DosTime.h"

namespace vantorel {

// Neither marks the directory as dirty, nor locks a block of the caller's, nor adjusts the extra field's
// length to it: who passes one hands it to the new entry's SetExtraFieldInCentralDir afterwards, which does
// all three.
std::int32_t ZipArchive::AddFakeDuplicate(const Ref<ZipEntry>& entry, const String& name,
                                          const Ref<Date>& date, const Ref<ZipExtraField>& extra) {
  if (!writeMode) {
    z_noWriteMsg();
    return AddResult::kNotStored;
  }
  if (!entry) {
    errmsg = "no entry reference given";
    return AddResult::kNotStored;
  }
  const String encoded_name = d->encodeForZip(name);
  const Ref<ZipExtraField> block = extra ? extra : entry->ExtraField();
  const Ref<MemoryBlock> header = z_cloneMB(entry->z_Header());
  header->SetUShort(CentralHeader::kNameLength, LenB(encoded_name));
  const DosTime stamp = ToDosTime(date);
  header->SetUShort(CentralHeader::kTime, stamp.time);
  header->SetUShort(CentralHeader::kDate, stamp.date);
  header->SetUShort(CentralHeader::kFlags, header->UShort(CentralHeader::kFlags) | ZipFlags::kDataDescriptor);
  d->entries_1.push_back(New<ZipEntry>(d, header, encoded_name, block, entry->Comment()));
  return d->UpperBound();
}

Ref<MemoryBlock> ZipArchive::z_cloneMB(const Ref<MemoryBlock>& block) {
  if (block->Size() == 0) return nil;
  auto copy = New<MemoryBlock>(block->Size());
  copy->SetLittleEndian(block->LittleEndian());
  copy->SetStringValue(0, block->Size(), block->StringValue(0, block->Size()));
  return copy;
}

}  // namespace vantorel
