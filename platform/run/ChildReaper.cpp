#include "platform/run/ChildReaper.h"

#include <sys/epoll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <list>
#include <memory>

#include "platform/run/DescriptorWatch.h"

namespace vantorel {

namespace {

struct Child {
  pid_t pid = -1;
  int descriptor = -1;
  std::unique_ptr<DescriptorWatch> watch;
};

std::list<Child>& Children() {
  static std::list<Child> children;
  return children;
}

void Reap(std::list<Child>::iterator child) {
  while (waitpid(child->pid, nullptr, 0) < 0 && errno == EINTR) {
  }
  child->watch.reset();
  close(child->descriptor);
  Children().erase(child);
}

}  // namespace

void ReapWhenEnded(pid_t child) {
  // By number: the C library's declaration cannot be linked from C++. Closed on exec by itself.
  const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
  if (descriptor < 0) return;  // an old kernel: the zombie goes with this process
  const auto place = Children().insert(Children().end(), Child{child, descriptor, nullptr});
  place->watch = std::make_unique<DescriptorWatch>(descriptor, EPOLLIN, [place] { Reap(place); });
}

}  // namespace vantorel
