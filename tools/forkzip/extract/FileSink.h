// A file that comes into being with a member's data. It takes its place under its own name once it is whole;
// until then what was there before is there.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "platform/base/Descriptor.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel::forkzip {

// Whether something of that mode is a file that a killed run left unfinished, if no run is at work on it.
bool IsUnfinished(mode_t kind);

class FileSink : public SeqDataOutputStream {
 public:
  // The file `name` in an open folder, for about `size` bytes. With `replace` a file or link that is there
  // gives way; without it that is an error (EEXIST), but for what a killed run left unfinished. `mode`: the
  // permissions, whatever the umask; none: as for any new file.
  FileSink(int folder, std::string name, std::optional<mode_t> mode, bool replace, std::uint64_t size);
  // Takes the file away unless Keep was called.
  ~FileSink() override;

  bool Open() override { return error_ == 0; }
  bool Write(const String& data) override;
  bool Close() override { return error_ == 0; }
  void GetErrorDescription(std::int32_t& code, String& text) override;
  bool Skip(std::int32_t /*count*/) override { return false; }
  void ClearError() override { error_ = 0; }
  bool Flush() override { return error_ == 0; }

  // Completes the file, gives it its time, and puts it in its place: under its name or, with `staged`, under
  // that path below the folder, where nothing is. False on a fault.
  bool Keep(std::optional<std::time_t> modified, const std::string& staged = "");

  // The system's error, 0 if there was none.
  int Error() const { return error_; }
  // The sum of what was written.
  std::uint32_t Crc() const { return static_cast<std::uint32_t>(crc_); }
  // Whether Write sums up.
  void SetSumming(bool summing) { summing_ = summing; }

 private:
  bool Create(const std::string& name);
  bool CreateInPlace(const std::string& name);
  bool WriteOut(std::string_view bytes);
  bool Complete(std::optional<std::time_t> modified);
  bool Fail(int error);

  int folder_;
  std::string name_;
  std::optional<mode_t> mode_;
  bool replace_;
  bool in_the_way_ = false;  // what is to be replaced is there
  std::string pending_;      // all data so far, while no file is made
  Descriptor file_;
  std::string present_name_;  // of a file that is made and not kept
  bool summing_ = false;
  int error_ = 0;
  std::int32_t crc_ = 0;
};

}  // namespace vantorel::forkzip
