// Whether a member is sound. The engine checks the sum of deflated members; stored ones are summed here.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Empty if the member, and its companion if it has one, can be read whole and its checksum is right; else
// what is wrong. A folder is sound if its data, which it should not have, is.
std::string FaultOf(const Ref<ZipEntry>& entry);

// Empty if the checksum of a stored member is right. Nothing is said of members of other methods.
std::string FaultOfStoredSum(const Ref<ZipEntry>& entry);

// What to say of a sum that is not the one in the directory.
std::string WrongSum(const Ref<ZipEntry>& entry, std::uint32_t found);

}  // namespace vantorel::forkzip
