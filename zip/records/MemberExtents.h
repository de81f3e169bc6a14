// Which bytes of an archive belong to which members.
#pragma once

#include <cstdint>
#include <vector>

#include "zip/records/RawDirectory.h"

namespace vantorel {

// Local header, data and, where there is one, data descriptor of one member. Records that share a local
// header share an extent, which holds what the longest of them needs.
struct MemberExtent {
  std::uint32_t begin = 0;
  std::uint32_t end = 0;
  bool has_descriptor = false;
};

// The extents in the order of the file, without repetition. Raises FormatError if there is no local header
// where a record says, or members overlap one another or the directory; std::system_error if the file cannot
// be read.
std::vector<MemberExtent> ExtentsOf(int file, const RawDirectory& directory);

// Bytes in front of the directory that belong to no member.
std::uint64_t UnusedBytes(const RawDirectory& directory, const std::vector<MemberExtent>& extents);

}  // namespace vantorel
