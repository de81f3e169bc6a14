// Child processes that nobody waits for.
#pragma once

#include <sys/types.h>

namespace vantorel {

// Collects the exit status of `child` once it has ended, from the event loop, so that it leaves no zombie.
void ReapWhenEnded(pid_t child);

}  // namespace vantorel
