// Which library does the work behind a ZStream. Speed differs; results are the same, but that code tables
// which RFC 1951 forbids, and zlib refuses, may pass in the faster engines if length and checksum are right
// all the same.
#pragma once

namespace vantorel {

enum class CompressEngine {
  kZlib,
  // ISA-L and libdeflate, where this build has them; otherwise the same as kZlib.
  kFast,
};

inline constexpr CompressEngine kDefaultCompressEngine = CompressEngine::kFast;

}  // namespace vantorel
