// What the program can learn of itself and of the system.
#pragma once

#include <string>

#include "platform/text/String.h"

namespace vantorel::System {

// Called once by RuntimeInit. Before that the command line has no arguments.
void KeepCommandLine(int argc, const char* const* argv);

// The full command line as one string, the path of the program's file first, then the arguments, with blanks
// between. No label.
String CommandLine();

// The path of the program's file, as it was at the start.
const std::string& ExecutablePath();

}  // namespace vantorel::System
