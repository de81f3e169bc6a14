#include "tools/forkzip/jobs/JobCount.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "platform/base/Descriptor.h"

namespace vantorel::forkzip {

namespace {

// Whether a process with limits has the address space for so many threads: stacks, what the allocator
// reserves for each, and data.
bool HasMemoryFor(std::size_t threads) {
  const std::size_t space = threads * (96U << 20U);
  void* memory = mmap(nullptr, space, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return memory != MAP_FAILED && munmap(memory, space) == 0;
}

// The same for the files that they have open, one each, and a few of the calling thread.
bool HasFilesFor(std::size_t threads) {
  std::vector<Descriptor> files(threads + 4);
  return std::all_of(files.begin(), files.end(), [](Descriptor& file) {
    file = Descriptor(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
    return file.IsOpen();
  });
}

}  // namespace

std::size_t JobCount(std::size_t asked, std::size_t members, std::uint64_t bytes, std::uint64_t least) {
  constexpr std::uint64_t kPerMember = 4096;
  std::uint64_t jobs = asked;
  if (jobs == 0) {
    cpu_set_t usable;
    const bool known = sched_getaffinity(0, sizeof usable, &usable) == 0;
    jobs = std::min<std::uint64_t>(known ? static_cast<std::uint64_t>(CPU_COUNT(&usable)) : 1,
                                   (bytes + members * kPerMember) / least);
  }
  return std::clamp<std::uint64_t>(jobs, 1, std::max<std::size_t>(members, 1));
}

std::size_t ThreadCount(std::size_t wanted) {
  std::size_t threads = wanted;
  while (threads > 1 && !(HasMemoryFor(threads) && HasFilesFor(threads))) threads /= 2;
  return threads;
}

}  // namespace vantorel::forkzip
