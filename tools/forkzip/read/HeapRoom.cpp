#include "tools/forkzip/read/HeapRoom.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace vantorel::forkzip {

void ExpectHeapOf(std::size_t bytes) {
  constexpr std::size_t kMost = 64U << 20U;
  constexpr std::size_t kLargePage = 2U << 20U;
  const auto room = static_cast<int>(std::min(bytes, kMost));
  mallopt(M_TOP_PAD, room);
  mallopt(M_TRIM_THRESHOLD, 2 * room);
  // With nothing free at the heap's end, the allocation makes it grow by the room asked for.
  malloc_trim(0);
  constexpr std::size_t kFromHeap = 100000;
  char* const begin = static_cast<char*>(sbrk(0));
  ::operator delete(::operator new(kFromHeap));  // as calls: a compiler may drop a pair of expressions
  const auto grown = static_cast<std::size_t>(static_cast<char*>(sbrk(0)) - begin);
  const std::size_t to_large_page =
      (kLargePage - reinterpret_cast<std::uintptr_t>(begin) % kLargePage) % kLargePage;
  if (grown < to_large_page + kLargePage) return;
  madvise(begin + to_large_page, grown - to_large_page, MADV_HUGEPAGE);
}

}  // namespace vantorel::forkzip
