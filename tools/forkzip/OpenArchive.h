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

// The same, for changes. The archive may be new: then the engine makes the file.
Ref<ZipArchive> OpenForWriting(const std::string& path, const std::string& encoding);

// Writes the directory and closes an archive that was open for changes. Raises Failure (kFileError) if
// anything that was written since it was opened did not arrive.
void CloseWritten(const Ref<ZipArchive>& archive);

}  // namespace vantorel::forkzip
