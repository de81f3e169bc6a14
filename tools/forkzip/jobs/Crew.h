#pragma once

#include <cstddef>

#include "tools/forkzip/jobs/SharedWork.h"

namespace vantorel::forkzip {

// Does all units in `jobs` processes, or in this one if that is 1. Once a signal has come no more is begun.
// Raises Failure if a process ends before its time, and whatever `run` raises; no process is left by then.
std::size_t DoShared(std::size_t jobs, const SharedWork& work, Progress& progress);

}  // namespace vantorel::forkzip
