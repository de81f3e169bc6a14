// Names on their way into the encoding of an archive.
#pragma once

#include <string>
#include <string_view>

#include "platform/base/Ref.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

// Whether the archive's names are in UTF-8.
bool StoresUtf8(const ZipArchiveData& archive);

// Whether a name in UTF-8 can be stored with every letter.
bool CanStore(const Ref<ZipArchive>& archive, const std::string& name);

// The flags of a member with this stored name, of which one says that the name is in UTF-8.
std::uint32_t FlagsForName(std::uint32_t flags, std::string_view name, const ZipArchiveData& archive);

}  // namespace vantorel::forkzip
