// Writes the data fork of a file, which is made or emptied by Open; its other attributes stay. An operation
// that requires an open stream raises RuntimeException on a closed one. Dropping the writer closes the file.
#pragma once

#include "platform/files/FolderItem.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel {

class FileWriter : public SeqDataOutputStream {
 public:
  explicit FileWriter(const Ref<FolderItem>& file) : f(file) {}

  // Always true: a write that failed shows at Flush or Close.
  bool Write(const String& data) override;
  bool Open() override;
  // False if a write failed, or the file is not as long as what was written: the disk was full.
  bool Close() override;
  // Code -1 for whatever went wrong.
  void GetErrorDescription(std::int32_t& code, String& text) override;
  // The file grows; the position of the next Write stays.
  bool Skip(std::int32_t count) override;
  void ClearError() override { error = false; }
  bool Flush() override;
  virtual void Destructor() { Close(); }

  Ref<FolderItem> f;
  bool error = false;
  Ref<BinaryStream> bs;      // nil while closed
  std::int32_t written = 0;  // bytes that should be in the file

 private:
  // Sets `error` if the file does not hold what was written.
  void Check();
};

}  // namespace vantorel
