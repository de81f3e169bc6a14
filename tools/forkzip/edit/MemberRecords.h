// Members as the engine sees them, and their records in the directory.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "platform/base/Ref.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

// What tells records apart: where the local header lies, and the name as it stands in the record. It is valid
// as long as what it was taken from.
using RecordKey = std::pair<std::uint32_t, std::string_view>;
RecordKey KeyOf(const RawRecord& record);
RecordKey KeyOf(const Ref<ZipEntry>& entry);

// The name of a member as it stands in its record: where there is none, the engine lets the member take over
// the name of the one before it.
std::string_view NameInRecord(const Ref<ZipEntry>& entry);
// Whether a stored name is that of a folder in the tree of companions, which the engine leaves out as a rule.
bool IsFolderOfCompanions(std::string_view name);
// The name of a folder without the slash at its end; any other as it is.
std::string_view WithoutSlash(std::string_view name);
// The record of a member. Raises Failure if there is none.
const RawRecord& RecordOf(const RawDirectory& directory, const Ref<ZipEntry>& entry);

class RecordSet {
 public:
  // Takes up the record of a member and those of its companions.
  void Add(const Ref<ZipEntry>& entry);
  bool Contains(const RawRecord& record) const { return keys_.contains(KeyOf(record)); }

 private:
  std::set<RecordKey> keys_;
};

// Whether a name in UTF-8 can be stored in the archive's encoding with every letter.
bool CanStore(const Ref<ZipArchive>& archive, const std::string& name);
// The same name in the archive's encoding. Raises Failure (kUsage) if that lacks letters of it.
std::string StoredName(const Ref<ZipArchive>& archive, const std::string& name);
// The flags of a member with this stored name, of which one says that the name is in UTF-8.
std::uint32_t FlagsForName(std::uint32_t flags, std::string_view name, const ZipArchiveData& archive);

}  // namespace vantorel::forkzip
