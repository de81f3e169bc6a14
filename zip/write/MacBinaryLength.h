// How long a MacBinary member is: the header and both forks, each filled up to a multiple of 128 bytes.
#pragma once

#include <cstdint>

#include "platform/base/Arithmetic.h"
#include "zip/extract/MacBinaryHeader.h"

namespace vantorel {

// A fork's length with its filling. Wraps around beyond 2^31 - 1.
constexpr std::int32_t MacBinaryForkLength(std::int32_t length) {
  return AddSInt32(length, MacBinaryHeader::kForkAlignment - 1) & ~(MacBinaryHeader::kForkAlignment - 1);
}

constexpr std::int32_t MacBinaryTotalLength(std::int32_t data_length, std::int32_t rsrc_length) {
  return AddSInt32(MacBinaryHeader::kSize,
                   AddSInt32(MacBinaryForkLength(data_length), MacBinaryForkLength(rsrc_length)));
}

}  // namespace vantorel
