// Starting a program that goes on by itself.
#pragma once

#include <string>

namespace vantorel {

// Starts the program at `path`, without arguments, in a session of its own and without input or output.
// Returns 0 once it runs, else the errno that kept it from being executed.
int StartDetached(const std::string& path);

}  // namespace vantorel
