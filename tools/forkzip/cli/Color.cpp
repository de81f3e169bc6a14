#include "tools/forkzip/cli/Color.h"

#include <unistd.h>

#include <cstdlib>

namespace vantorel::forkzip {

bool ShowsColors(int stream) {
  const char* unwanted = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return isatty(stream) == 1 && (unwanted == nullptr || *unwanted == '\0') && terminal != nullptr &&
         *terminal != '\0' && std::string_view(terminal) != "dumb";
}

std::string Colored(std::string_view text, const char* color) {
  return "\x1B[" + std::string(color) + "m" + std::string(text) + "\x1B[0m";
}

}  // namespace vantorel::forkzip
