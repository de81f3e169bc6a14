// Where a symbolic link may point.
#pragma once

#include <cstddef>
#include <string_view>

namespace vantorel::forkzip {

// Whether a link that lies `depth` folders below a root keeps to what is below that root, provided that all
// other links do so too: its target is relative, and ".." stands only at its front, no more than `depth`
// times.
bool StaysBelow(std::string_view target, std::size_t depth);

}  // namespace vantorel::forkzip
