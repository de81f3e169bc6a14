#include "tools/forkzip/read/PatchedStream.h"

#include <algorithm>

namespace vantorel::forkzip {

std::int64_t PatchedStream::ReadAt(char* buffer, std::size_t count, std::uint64_t position) {
  const std::int64_t got = BinaryStream::ReadAt(buffer, count, position);
  if (got <= 0 || patches_.empty()) return got;
  const std::uint64_t end = position + static_cast<std::uint64_t>(got);
  constexpr std::uint64_t kLongest = 8;
  for (auto at = patches_.lower_bound(position - std::min(position, kLongest));
       at != patches_.end() && at->first < end; ++at) {
    const std::uint64_t first = std::max(at->first, position);
    const std::uint64_t last = std::min(at->first + at->second.size(), end);
    if (first < last) {
      std::copy_n(at->second.data() + (first - at->first), last - first, buffer + (first - position));
    }
  }
  return got;
}

}  // namespace vantorel::forkzip
