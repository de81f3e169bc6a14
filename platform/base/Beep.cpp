#include "platform/base/Beep.h"

#include <unistd.h>

namespace vantorel {

void Beep() {
  if (isatty(STDERR_FILENO) == 0) return;
  [[maybe_unused]] const ssize_t put = write(STDERR_FILENO, "\a", 1);  // a bell that fails is no matter
}

}  // namespace vantorel
