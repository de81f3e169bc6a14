// Which library does the work behind a ZStream. Results are the same; speed is not.
#pragma once

namespace vantorel {

enum class CompressEngine {
  Zlib,
  // ISA-L and libdeflate, where this build has them; otherwise the same as Zlib.
  Fast,
};

inline constexpr CompressEngine kDefaultCompressEngine = CompressEngine::Fast;

}  // namespace vantorel
