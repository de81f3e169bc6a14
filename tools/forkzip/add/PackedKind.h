// Files that are compressed already.
#pragma once

#include <cstdint>

namespace vantorel::forkzip {

// Whether an open file is of a known compressed kind, going by its first bytes, or is too large for the
// deflater to tell and has nothing to gain from deflating in the pieces that are tried. Its position does not
// move.
bool GainsNothing(int file, std::uint64_t size);

}  // namespace vantorel::forkzip
