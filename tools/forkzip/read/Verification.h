// Whether members are sound. The engine checks the sum of deflated data that ends where it should; stored
// data, and what lies behind a stated size, are looked after here.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// These raise Failure: kBadArchive if something is wrong, kFileError if the archive cannot be read.

// Reads a member, and its companion if it has one. A folder is sound if its data, which it should not have,
// is. Members depend on nothing but the archive's file: any process may verify any of them.
void Verify(const Ref<ZipEntry>& entry);

// Of a member that the engine has streamed just now, with `good` for its answer: what is left to check. The
// data of a stored member is read again unless its sum is given.
void CheckStreamed(const Ref<ZipEntry>& entry, bool good, std::optional<std::uint32_t> sum = std::nullopt);
// The same of the companions that were streamed with it.
void CheckCompanions(const Ref<ZipEntry>& entry);

}  // namespace vantorel::forkzip
