#include "tools/forkzip/cli/FileBytes.h"

#include <algorithm>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Interruption.h"

namespace vantorel::forkzip {

void CopyBytes(int from, std::uint64_t from_position, int to, std::uint64_t to_position,
               std::uint64_t count) {
  constexpr std::uint64_t kPiece = 16U << 20U;
  for (std::uint64_t done = 0; done < count; done += kPiece) {
    vantorel::CopyBytes(from, from_position + done, to, to_position + done, std::min(count - done, kPiece));
    Interruption::Check();
  }
}

}  // namespace vantorel::forkzip
