// The data fork of a file, or the target of a symbolic link, on its way into an archive: as many bytes as the
// file has when it is opened. Remembers whether they came, and whether the file has more of them by then,
// which the engine does not look at.
#pragma once

#include <cstdint>
#include <string>

#include "platform/base/Descriptor.h"
#include "zip/extract/SeqDataInputStream.h"

namespace vantorel::forkzip {

class FileSource : public SeqDataInputStream {
 public:
  explicit FileSource(std::string path) : path_(std::move(path)) {}

  String Read(std::int32_t count) override;
  bool AtEOF() override { return left_ == 0; }
  bool HadError() override { return error_ != 0; }
  // Refuses a file that is too large for a member (EFBIG).
  bool Open() override;
  void Close() override;
  void GetErrorDescription(std::int32_t& code, String& text) override {
    code = -error_;
    text = error_ == 0 ? String() : String("file error");
  }
  bool Skip(std::int32_t count) override { return Read(count).size() == static_cast<std::size_t>(count); }
  void ClearError() override { error_ = 0; }

  // The file, once it is open.
  int File() const { return file_.Number(); }
  // The system's error, 0 if there was none.
  int Error() const { return error_; }
  // How many bytes it had when it was opened, and how many of them have not come.
  std::uint64_t Size() const { return size_; }
  std::uint64_t Left() const { return left_; }
  // Whether all of them came, and the file had more when it was closed.
  bool Grew() const { return grew_; }

 protected:
  // For data that come another way.
  explicit FileSource(std::uint64_t size) : size_(size), left_(size) {}
  void SetOutcome(int error, std::uint64_t left, bool grew) {
    error_ = error;
    left_ = left;
    grew_ = grew;
  }

 private:
  std::string path_;
  std::uint64_t size_ = 0;
  std::uint64_t left_ = 0;
  Descriptor file_;
  int error_ = 0;
  bool grew_ = false;
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
