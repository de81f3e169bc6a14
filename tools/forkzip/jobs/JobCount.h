#pragma once

#include <cstddef>
#include <cstdint>

namespace vantorel::forkzip {

// With how many jobs `members` of `bytes` together are worked on: with `asked`, or if that is 0 with one for
// each processor that this process may use, and fewer where there is little work. `least` bytes are worth a
// job; a member counts as some of them, whatever its size.
std::size_t JobCount(std::size_t asked, std::size_t members, std::uint64_t bytes, std::uint64_t least);

// How many threads, each with a file open, the limits of the process allow: `wanted` or fewer. 1 at least.
std::size_t ThreadCount(std::size_t wanted);

}  // namespace vantorel::forkzip
