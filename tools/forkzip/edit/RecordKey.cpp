#include "tools/forkzip/edit/RecordKey.h"

#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

RecordKey KeyOf(const RawRecord& record) {
  return {record.Offset(), std::string(record.Name())};
}

RecordKey KeyOf(const Ref<ZipEntry>& entry) {
  const bool named = entry->header->UShort(CentralHeader::kNameLength) != 0;
  return {static_cast<std::uint32_t>(entry->header->Long(CentralHeader::kLocalHeaderOffset)),
          named ? std::string(entry->z_origEncodedName().view()) : ""};
}

void AddKeysOf(const Ref<ZipEntry>& entry, std::set<RecordKey>& keys) {
  keys.insert(KeyOf(entry));
  if (entry->appleDoubleEntry) keys.insert(KeyOf(entry->appleDoubleEntry));
}

}  // namespace vantorel::forkzip
