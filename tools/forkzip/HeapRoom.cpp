#include "tools/forkzip/HeapRoom.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>

namespace vantorel::forkzip {

void ExpectHeapOf(std::size_t bytes) {
  constexpr std::size_t kMost = 64U << 20U;
  constexpr std::uintptr_t kLargePage = 2U << 20U;
  const auto room = static_cast<int>(std::min(bytes, kMost));
  mallopt(M_TOP_PAD, room);
  mallopt(M_TRIM_THRESHOLD, 2 * room);
  // The allocation makes the heap grow by the room asked for.
  constexpr std::size_t kFromHeap = 100000;
  const auto begin = reinterpret_cast<std::uintptr_t>(sbrk(0));
  std::make_unique<char[]>(kFromHeap);
  const auto end = reinterpret_cast<std::uintptr_t>(sbrk(0));
  const std::uintptr_t first_page = (begin + kLargePage - 1) / kLargePage * kLargePage;
  if (end < first_page + kLargePage) return;
  madvise(reinterpret_cast<void*>(first_page), end - first_page, MADV_HUGEPAGE);
}

}  // namespace vantorel::forkzip
