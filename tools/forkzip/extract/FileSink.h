// A file that comes into being with a member's data. Until Keep is called it can be taken back, and then what
// was there before is there again.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "tools/forkzip/cli/FileBytes.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel::forkzip {

class FileSink : public SeqDataOutputStream {
 public:
  // The file `name` in an open folder. Nothing is made before Open. With `replace` what is there already
  // stays in place until Keep; without it, Open fails (EEXIST). `mode`: the permissions, whatever the umask;
  // none: as for any new file.
  FileSink(int folder, std::string name, std::optional<mode_t> mode, bool replace);
  // Takes the file back unless Keep was called.
  ~FileSink() override;

  bool Open() override;
  bool Write(const String& data) override;
  // Leaves the file open, for Keep.
  bool Close() override { return error_ == 0; }
  void GetErrorDescription(std::int32_t& code, String& text) override;
  bool Skip(std::int32_t count) override;
  void ClearError() override { error_ = 0; }
  bool Flush() override { return error_ == 0; }

  // Moves the data to another folder inside the folder, for the time until Keep. These are false on a fault.
  bool Stage(const std::string& inner_folder);
  // Gives the file its time and closes it.
  bool Complete(std::optional<std::time_t> modified);
  // Puts the complete file in its place, under `name`, which what was staged has there already.
  bool Keep(const std::string& name);
  bool Keep() { return Keep(name_); }

  // The system's error, 0 if there was none.
  int Error() const { return error_; }
  // The sum of what was written.
  std::uint32_t Crc() const { return static_cast<std::uint32_t>(crc_); }
  // Whether Write sums up.
  void SetSumming(bool summing) { summing_ = summing; }

 private:
  bool Fail(int error);

  int folder_;
  std::string name_;
  std::string present_name_;
  std::optional<mode_t> mode_;
  bool replace_;
  std::string staged_in_;
  Descriptor file_;
  bool made_ = false;
  bool summing_ = false;
  int error_ = 0;
  std::int32_t crc_ = 0;
};

}  // namespace vantorel::forkzip
