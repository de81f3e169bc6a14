// A file that comes into being with a member's data. It takes its place under its own name once it is whole;
// until then what was there before is there.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "platform/base/Descriptor.h"
#include "platform/files/FileCalls.h"
#include "tools/forkzip/read/ByteSinks.h"

namespace vantorel::forkzip {

// Whether something of that mode is a file that a killed run left unfinished, if no run is at work on it.
bool IsUnfinished(mode_t kind);

class FileSink : public SummingSink {
 public:
  // The file `name` in an open folder, for about `size` bytes. What is there gives way to it if it is a file
  // or link that is to be replaced, or what a killed run left unfinished; else that is an error (EEXIST or,
  // of a folder, EISDIR). `mode`: the permissions, whatever the umask; none: as for any new file.
  FileSink(int folder, std::string name, std::optional<mode_t> mode, IfTaken if_taken, std::uint64_t size);
  // Takes the file away unless Keep was called.
  ~FileSink() override;

  bool Write(const String& data) override;

  // Completes the file, gives it its time, and puts it in its place: under its name or, with `staged`, under
  // that path below the folder, where nothing is. False on a fault.
  bool Keep(std::optional<std::time_t> modified, const std::string& staged = "");

  // The system's error, 0 if there was none.
  int Error() const { return error_; }
  // Why the file was kept without its time or mode, 0 if it has both.
  int AttributeError() const { return attribute_error_; }
  // Whether Write sums up.
  void SetSumming(bool summing) { summing_ = summing; }

 private:
  void Create(const std::string& name);
  void WriteOut(std::string_view bytes);
  void Complete(std::optional<std::time_t> modified);
  void ExpectAttribute(int result);
  // Notes the first error.
  void Expect(int error);

  int folder_;
  std::string name_;
  std::optional<mode_t> mode_;
  IfTaken if_taken_;
  std::string pending_;  // all data so far, while no file is made
  Descriptor file_;
  std::string present_name_;  // of a file that is made and not kept
  bool summing_ = false;
  int error_ = 0;
  int attribute_error_ = 0;
};

}  // namespace vantorel::forkzip
