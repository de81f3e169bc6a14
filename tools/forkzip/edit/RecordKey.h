// Tells the records of a directory apart: where the local header lies, and the name as it stands in the
// record, which is empty where the engine lets the record take over the name of the one before it.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

using RecordKey = std::pair<std::uint32_t, std::string>;

RecordKey KeyOf(const RawRecord& record);
RecordKey KeyOf(const Ref<ZipEntry>& entry);

// Takes up the record of a member and the one of its companion, if there is one.
void AddKeysOf(const Ref<ZipEntry>& entry, std::set<RecordKey>& keys);

}  // namespace vantorel::forkzip
