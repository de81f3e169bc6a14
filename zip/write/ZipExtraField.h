// One extra-field block of a member, local or central: kept byte for byte, with an index of the few records
// that mean anything here. Records (PKWARE's APPNOTE) are a header id and a data size of 2 bytes each and the
// data, all little-endian. Immutable but for the lock.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"
#include "platform/files/MemoryBlock.h"
#include "platform/text/String.h"

namespace vantorel {

class ZipArchiveData;

// A record of any kind.
namespace ExtraRecord {
inline constexpr std::int32_t kId = 0;
inline constexpr std::int32_t kDataSize = 2;
inline constexpr std::int32_t kData = 4;
}  // namespace ExtraRecord

// The ZPIT record: type and creator of a classic Mac file, in its longer form with the Mac file name. Type
// and creator follow the name's Pascal string, where there is one, else the magic.
namespace ZpitRecord {
inline constexpr std::int32_t kIdWithName = 0x2605;
inline constexpr std::int32_t kIdWithoutName = 0x2705;
inline constexpr std::int32_t kMagicValue = 0x5A504954;  // "ZPIT", big-endian
inline constexpr std::int32_t kMagic = 4;
inline constexpr std::int32_t kName = 8;      // Pascal string, with a name only
inline constexpr std::int32_t kType = 8;      // plus the length of the Pascal string
inline constexpr std::int32_t kCreator = 12;  // plus the length of the Pascal string
inline constexpr std::int32_t kSizeWithoutName = 16;
inline constexpr std::int32_t kMinDataWithName = 13;
inline constexpr std::int32_t kMinDataWithoutName = 12;
inline constexpr std::int32_t kMaxName = 255;
}  // namespace ZpitRecord

// The Unix type-1 record ("UX") in its central form. Times are seconds since 1 January 1970 UTC.
namespace UnixRecord {
inline constexpr std::int32_t kIdAndDataSize = 0x00085855;
inline constexpr std::int32_t kAccessTime = 4;
inline constexpr std::int32_t kModificationTime = 8;
inline constexpr std::int32_t kSize = 12;
}  // namespace UnixRecord

class ZipExtraField : public Object {
 public:
  Ref<MemoryBlock> data;       // the block, little-endian; nil for an empty one
  bool locked = false;         // attached to an entry
  std::int32_t zpit_rec = -1;  // offset of the ZPIT record in `data`, or -1
  Ref<ZipArchiveData> d;       // for the decoding of names
  bool hasUXonly = false;      // the block is exactly one central Unix type-1 record
  std::int32_t accTime = 0;    // of that record, or 0
  std::int32_t modTime = 0;    // of that record, or 0

  // The bytes of the block, as they stand in the archive.
  virtual String AsData();

  // Takes any bytes: a damaged record ends the index, and nothing else. Raises OutOfMemoryException.
  ZipExtraField(const Ref<ZipArchiveData>& archive_data, const String& block);
  ~ZipExtraField() override;

  virtual bool IsLocked();
  // An entry hands out its block only when that is locked. There is no way back.
  virtual void Lock();
  // 4 bytes of type and creator, and the Mac file name or "". False, with the arguments untouched, if there
  // is no sound ZPIT record.
  virtual bool GetTypeCreatorName(String& type, String& creator, String& name);
  virtual bool IsUnixType1Only();
  // False, with the arguments untouched, if the access time is 0.
  virtual bool GetUnixTimes(std::int32_t& access_time, std::int32_t& modification_time);
};

}  // namespace vantorel
