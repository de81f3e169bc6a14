#include "tools/forkzip/Output.h"

#include <unistd.h>

#include <cerrno>

#include "tools/forkzip/FileBytes.h"
#include "tools/forkzip/Printable.h"
#include "tools/forkzip/Problems.h"

namespace vantorel::forkzip {

Output::Output() : terminal_(isatty(STDOUT_FILENO) == 1) {
  buffer_.reserve(kBuffer);
}

void Output::Flush() {
  const int error = WriteAll(STDOUT_FILENO, buffer_);
  buffer_.clear();
  if (error != 0) throw Failure(ExitCode::kFileError, WithCause("writing to standard output", error));
}

void Output::WriteText(const String& text) {
  const std::string bytes = Utf8(text);
  Write(terminal_ ? Printable(bytes) : bytes);
}

}  // namespace vantorel::forkzip
