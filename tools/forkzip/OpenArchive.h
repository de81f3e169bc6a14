// Opening archives for the verbs, with the cause where it fails.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

// What `--encoding` may name; nil for any other word.
Ref<TextEncoding> EncodingByName(const std::string& name);

// Raises Failure: kBadArchive if there is no such file or it is no archive that can be read, kFileError if
// the system refuses it.
Ref<ZipArchive> OpenForReading(const std::string& path, const std::string& encoding);

}  // namespace vantorel::forkzip
