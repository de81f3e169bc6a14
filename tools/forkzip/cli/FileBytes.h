// Bytes of files, for runs that may be interrupted.
#pragma once

#include <cstdint>

namespace vantorel::forkzip {

// As vantorel::CopyBytes. Raises Interrupted if a signal came.
void CopyBytes(int from, std::uint64_t from_position, int to, std::uint64_t to_position, std::uint64_t count);

}  // namespace vantorel::forkzip
