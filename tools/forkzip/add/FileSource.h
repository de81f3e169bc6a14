// The data fork of a file, or the target of a symbolic link, on its way into an archive. Remembers whether as
// much came as was promised, which the engine does not look at.
#pragma once

#include <cstdint>
#include <string>

#include "platform/base/Descriptor.h"
#include "zip/extract/SeqDataInputStream.h"

namespace vantorel::forkzip {

class FileSource : public SeqDataInputStream {
 public:
  FileSource(std::string path, std::uint64_t promised) : path_(std::move(path)), left_(promised) {}

  String Read(std::int32_t count) override;
  bool AtEOF() override { return left_ == 0; }
  bool HadError() override { return error_ != 0; }
  bool Open() override;
  void Close() override { file_.Close(); }
  void GetErrorDescription(std::int32_t& code, String& text) override;
  bool Skip(std::int32_t count) override;
  void ClearError() override { error_ = 0; }

  // The file, once it is open.
  int File() const { return file_.Number(); }
  // The system's error, 0 if there was none.
  int Error() const { return error_; }
  // How many of the promised bytes have not come.
  std::uint64_t Left() const { return left_; }

 protected:
  void SetOutcome(int error, std::uint64_t left) {
    error_ = error;
    left_ = left;
  }

 private:
  std::string path_;
  std::uint64_t left_;
  Descriptor file_;
  int error_ = 0;
};

// The target of a symbolic link, or why it cannot be read.
class LinkSource : public FileSource {
 public:
  explicit LinkSource(const std::string& path);

  String Read(std::int32_t count) override;
  bool Open() override { return true; }
  void Close() override {}

 private:
  String target_;
};

}  // namespace vantorel::forkzip
