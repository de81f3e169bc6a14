// Opening archives for the verbs, with the cause where it fails.
#pragma once

#include <string>

#include "platform/base/Descriptor.h"
#include "platform/base/Ref.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

// An archive object that is not open yet, for names in this encoding.
Ref<ZipArchive> NewArchive(const std::string& encoding);

// `flags`: O_RDONLY or O_RDWR. Raises Failure: kBadArchive if there is no such file, kFileError if the system
// refuses it or it is no regular file.
Descriptor OpenRegularFile(const std::string& path, int flags);

// Raises Failure as above, and kBadArchive if the file is no archive that can be read.
Ref<ZipArchive> OpenForReading(const std::string& path, const std::string& encoding);

}  // namespace vantorel::forkzip
