// Reads the resource fork of a file; a file without one offers an empty fork. An error is sticky: until
// ClearError or the next Open, Read gives nothing and Skip gives false. Otherwise an operation that requires
// an open stream raises RuntimeException on a closed one. Dropping the reader closes the fork.
#pragma once

#include "platform/files/ResourceFork.h"
#include "zip/extract/SeqDataInputStream.h"

namespace vantorel {

class RsrcForkReader : public SeqDataInputStream {
 public:
  String Read(std::int32_t count) override;
  bool AtEOF() override { return bytesRead >= length || !refnum; }
  bool HadError() override { return errCode != 0; }
  // False with no error recorded if the file has no place on disk.
  bool Open() override;
  void Close() override;
  // The platform's code, or -1 for a short read.
  void GetErrorDescription(std::int32_t& code, String& text) override;
  // Past the end it moves to the end and gives false, with no error recorded.
  bool Skip(std::int32_t count) override;
  void ClearError() override { errCode = 0; }

  explicit RsrcForkReader(const Ref<FolderItem>& file) : f(file) {}

  virtual void Destructor() { Close(); }
  // The reference by which the platform opens the fork of `item`: the item itself, or nil where the folder
  // that should hold it does not exist.
  virtual Ref<FolderItem> FSSpecOfFolderItem(const Ref<FolderItem>& item);

  // An object where other systems have a number.
  Ref<ResourceFork> refnum;  // the open fork, nil while closed
  std::int32_t errCode = 0;  // platform error
  std::int32_t length = 0;   // size of the fork
  Ref<FolderItem> f;
  std::int32_t bytesRead = 0;  // position in the fork
};

}  // namespace vantorel
