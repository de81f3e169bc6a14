// One extra-field block of a member, local or central: kept byte for byte, with an index of the few records
// that mean anything here. Immutable but for the lock.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"
#include "platform/files/MemoryBlock.h"
#include "platform/text/String.h"

namespace vantorel {

class ZipArchiveData;

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

  virtual bool IsLocked() { return locked; }
  // An entry hands out its block only when that is locked. There is no way back.
  virtual void Lock() { locked = true; }
  // 4 bytes of type and creator, and the Mac file name or "". False, with the arguments untouched, if there
  // is no sound ZPIT record.
  virtual bool GetTypeCreatorName(String& type, String& creator, String& name);
  virtual bool IsUnixType1Only() { return hasUXonly; }
  // False, with the arguments untouched, if the access time is 0.
  virtual bool GetUnixTimes(std::int32_t& access_time, std::int32_t& modification_time);
};

}  // namespace vantorel
