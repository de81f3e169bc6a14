// Standard output in large pieces. Flush must be called at the end; nothing else writes what is left.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/text/String.h"

namespace vantorel::forkzip {

class Output {
 public:
  Output();

  // Both raise Failure (kFileError) if standard output cannot take the bytes. A reader that has gone away
  // ends the process quietly by SIGPIPE.
  void Write(std::string_view bytes) {
    if (buffer_.size() + bytes.size() > kBuffer) Flush();
    buffer_ += bytes;
  }
  void Flush();

  // A name or comment: as it stands, or Printable on a terminal, and in that color if it shows colors.
  void WriteText(const String& text, const char* color = nullptr);

  // A line that says what is, or would be, done to a member.
  void WriteAction(std::string_view action, const String& member) {
    Write(action);
    WriteText(member);
    Write("\n");
  }

  bool IsTerminal() const { return terminal_; }

 private:
  static constexpr std::size_t kBuffer = 65536;

  std::string buffer_;
  bool terminal_;
  bool colored_;
};

// Writes a short text to standard output. Raises Failure as above.
void Print(std::string_view text);

}  // namespace vantorel::forkzip
