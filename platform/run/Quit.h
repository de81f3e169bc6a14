// The end of the application.
#pragma once

#include <cstdint>

namespace vantorel {

// Ends the application with that exit value. Never returns: unwinds by EndException to RuntimeRun, through
// every handler and nested loop, or, before the event loop runs, to the program's entry.
[[noreturn]] void Quit(std::int32_t code = 0);

}  // namespace vantorel
