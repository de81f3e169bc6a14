// The archive `-`: standard input or output, by way of a file where that is none itself.
#pragma once

#include "platform/base/Descriptor.h"

namespace vantorel::forkzip {

inline constexpr const char* kStandardStream = "-";

// These raise Failure.

// A file without a name, which is gone once it is closed.
Descriptor UnnamedFile();
// Standard input, or a file that holds all that comes from it. Refuses a terminal.
Descriptor StandardInput();
// Writes the whole of a file to standard output. Raises Interrupted too.
void WriteToStandardOutput(int file);

}  // namespace vantorel::forkzip
