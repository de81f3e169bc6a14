// Regular files as streams, for this folder.
#pragma once

#include <sys/types.h>

#include <string>

#include "platform/files/BinaryStream.h"

namespace vantorel {

// Opens a file with the flags of open(2), never waiting; links are followed unless the flags say otherwise.
// nil, with errno set, if it cannot be opened or is no regular file.
Ref<BinaryStream> OpenRegularFile(const std::string& path, int flags, mode_t mode = 0666);
// Makes a file that was not there, open for reading and writing. nil, with errno set, if it cannot be made.
Ref<BinaryStream> MakeFile(const std::string& path, mode_t mode = 0666);

}  // namespace vantorel
