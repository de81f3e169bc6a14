#include "tools/forkzip/cli/Output.h"

#include <unistd.h>

#include <cerrno>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"

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
  if (terminal_) {
    Write(Printable(Utf8(text)));
  } else if (IsInUtf8(text)) {
    Write(text.view());
  } else {
    Write(Utf8(text));
  }
}

}  // namespace vantorel::forkzip
