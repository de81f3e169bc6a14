// The class ZipExtraField.
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchiveData.h"
#include "zip/records/ExtraRecords.h"
#include "zip/write/ZipExtraField.h"

namespace vantorel {

namespace {

bool IsZpit(const MemoryBlock& block, std::int32_t record, std::int32_t data_size) {
  if (data_size < ZpitRecord::kMinDataWithoutName) return false;
  if (block.View().substr(static_cast<std::size_t>(record) + ZpitRecord::kMagic, 4) != "ZPIT") return false;
  const std::int32_t id = block.UShort(record + ExtraRecord::kId);
  return id == ZpitRecord::kIdWithName || id == ZpitRecord::kIdWithoutName;
}

// Offset of the last ZPIT record, or -1. A record that is empty or leaves the block ends the walk: what is
// behind it is never seen.
std::int32_t FindZpit(const MemoryBlock& block) {
  std::int32_t found = -1;
  const std::int32_t size = block.Size();
  std::int32_t record = 0;
  while (record + ExtraRecord::kData < size) {
    const std::int32_t data_size = block.UShort(record + ExtraRecord::kDataSize);
    if (data_size < 1 || record + ExtraRecord::kData + data_size > size) break;
    if (IsZpit(block, record, data_size)) found = record;
    record += ExtraRecord::kData + data_size;
    RuntimeBackgroundTask();
  }
  return found;
}

}  // namespace

ZipExtraField::ZipExtraField(const Ref<ZipArchiveData>& archive_data, const String& block) : d(archive_data) {
  if (block.empty()) return;
  data = New<MemoryBlock>(LenB(block), ByteOrder::kLittle);
  data->SetStringValue(0, data->Size(), block);

  zpit_rec = FindZpit(*data);
  hasUXonly =
      zpit_rec < 0 && data->Size() == UnixRecord::kSize && data->Long(0) == UnixRecord::kIdAndDataSize;
  if (hasUXonly) {
    accTime = data->Long(UnixRecord::kAccessTime);
    modTime = data->Long(UnixRecord::kModificationTime);
  }
}

ZipExtraField::~ZipExtraField() = default;

String ZipExtraField::AsData() {
  return data ? data->StringValue(0, data->Size()) : String();
}

bool ZipExtraField::GetUnixTimes(std::int32_t& access_time, std::int32_t& modification_time) {
  if (accTime == 0) return false;
  access_time = accTime;
  modification_time = modTime;
  return true;
}

bool ZipExtraField::GetTypeCreatorName(String& type, String& creator, String& name) {
  if (!data || zpit_rec < 0) return false;
  const std::int32_t data_size = data->UShort(zpit_rec + ExtraRecord::kDataSize);
  String stored_name;
  std::int32_t name_size = 0;  // with its length byte
  if (data->UShort(zpit_rec + ExtraRecord::kId) == ZpitRecord::kIdWithName) {
    if (data_size < ZpitRecord::kMinDataWithName) return false;
    const std::int32_t length = data->Byte(zpit_rec + ZpitRecord::kName);
    if (length > data_size - ZpitRecord::kMinDataWithName) return false;
    stored_name = data->PString(zpit_rec + ZpitRecord::kName);
    name_size = length + 1;
  }
  type = data->StringValue(zpit_rec + name_size + ZpitRecord::kType, 4);
  creator = data->StringValue(zpit_rec + name_size + ZpitRecord::kCreator, 4);
  name = d->decodeFromZip(stored_name);
  return true;
}

}  // namespace vantorel
