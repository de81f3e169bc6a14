// Runs a system command.
#pragma once

#include <cstdint>
#include <string>

#include "platform/base/Ref.h"
#include "platform/text/String.h"

namespace vantorel {

class Shell : public Object {
 public:
  // 1: asynchronous, Execute returns at once. 0: Execute waits until the command has ended.
  std::int32_t Mode() const { return mode_; }
  void SetMode(std::int32_t mode) { mode_ = mode; }

  // Hands the text to /bin/sh in a session of its own, with the launcher's helper folder first on PATH, no
  // input, and its output dropped; what it says on standard error goes to ours. The command goes on when this
  // object or the program is gone. A command that fails goes unnoticed.
  void Execute(const String& command);

 private:
  std::int32_t mode_ = 0;
};

// The folder of the program's own helpers (`open`): the one that they are installed to, else the program's
// own folder.
std::string HelperFolder();

}  // namespace vantorel
