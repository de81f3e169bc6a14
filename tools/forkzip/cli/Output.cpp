#include "tools/forkzip/cli/Output.h"

#include <unistd.h>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

Output::Output() : terminal_(isatty(STDOUT_FILENO) == 1), colored_(ShowsColors(STDOUT_FILENO)) {
  buffer_.reserve(kBuffer);
}

void Output::Flush() {
  const int error = WriteAll(STDOUT_FILENO, buffer_);
  buffer_.clear();
  if (error != 0) throw SystemFailure("writing to standard output", error);
}

void Output::WriteText(const String& text, const char* color) {
  if (terminal_) {
    const std::string shown = Printable(Utf8(text));
    Write(colored_ && color != nullptr ? Colored(shown, color) : shown);
  } else if (IsInUtf8(text)) {
    Write(text.view());
  } else {
    Write(Utf8(text));
  }
}

void Print(std::string_view text) {
  Output output;
  output.Write(text);
  output.Flush();
}

}  // namespace vantorel::forkzip
