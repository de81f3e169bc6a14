#pragma once

#include <exception>

namespace vantorel {

// Closes all windows, since nothing of the program may run any more, and tells the user in a message what
// RuntimeUnhandledException tells on standard error. Returns when it has been dismissed; at once where no
// window system is up.
void ShowFault(const std::exception& fault);

}  // namespace vantorel
