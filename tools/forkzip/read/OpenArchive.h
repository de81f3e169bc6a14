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

// Opens an archive; `-` is standard input. Raises Failure as above, and kBadArchive if the file is no archive
// that can be read. Names may not be as they are stored: CorrectedArchive.h tells when. With the encoding
// "auto" `guess` gets the one that is taken.
Ref<ZipArchive> OpenForReading(const std::string& path, const std::string& encoding,
                               std::string* guess = nullptr);
// Opens the file called `path`, with records as they are stored. Refuses also what has to be corrected to be
// read at all.
Ref<ZipArchive> OpenForEditing(int file, const std::string& path, const std::string& encoding);

// The engine takes what cannot be read for the end of the file. Raises Failure (kFileError) with the cause if
// that has happened since the archive was opened.
void CheckReadFault(const ZipArchiveData& archive);

// A stream as the engine uses, over a file that stays the caller's. Raises Failure.
Ref<BinaryStream> StreamOver(int file, bool writable);

}  // namespace vantorel::forkzip
