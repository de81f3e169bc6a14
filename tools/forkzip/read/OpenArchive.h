// Opening archives for the verbs, with the cause where it fails.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/FileBytes.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

// What `--encoding` may name; nil for any other word.
Ref<TextEncoding> EncodingByName(const std::string& name);

// `flags`: O_RDONLY or O_RDWR. Raises Failure: kBadArchive if there is no such file, kFileError if the system
// refuses it or it is no regular file.
Descriptor OpenRegularFile(const std::string& path, int flags);

// Makes room at once for the engine's view of the archive in `file`, where its members go by the thousand.
// Only for speed.
void PrepareForManyMembers(int file);

// Raises Failure as above, and kBadArchive if the file is no archive that can be read.
Ref<ZipArchive> OpenForReading(const std::string& path, const std::string& encoding);

// The same, for changes. If there is no such file the engine makes it. Nothing is written yet to one that
// exists; its directory is to be checked by Preflight before anything is.
Ref<ZipArchive> OpenForWriting(const std::string& path, const std::string& encoding);

// Writes the directory and closes an archive that was open for changes. Raises Failure (kFileError) if
// anything that was written since it was opened did not arrive.
void CloseWritten(const Ref<ZipArchive>& archive);

}  // namespace vantorel::forkzip
