// Writes the resource fork of an existing file; Open empties it. An error is sticky: until ClearError or the
// next Open, Write and Skip give false. Otherwise an operation that requires an open stream raises
// RuntimeException on a closed one. Dropping the writer closes the fork.
#pragma once

#include "platform/files/ResourceFork.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel {

class RsrcForkWriter : public SeqDataOutputStream {
 public:
  bool Write(const String& data) override;
  // False with no error recorded if the file has no place on disk.
  bool Open() override;
  // True on a writer that was never opened: a member without a resource fork closes it so.
  bool Close() override;
  // The platform's code.
  void GetErrorDescription(std::int32_t& code, String& text) override;
  bool Skip(std::int32_t count) override;

  explicit RsrcForkWriter(const Ref<FolderItem>& file) : f(file) {}

  void ClearError() override { errCode = 0; }
  bool Flush() override;
  virtual void Destructor() { Close(); }
  // The reference by which the platform opens the fork of `item`: the item itself, or nil where the folder
  // that should hold it does not exist.
  virtual Ref<FolderItem> FSSpecOfFolderItem(const Ref<FolderItem>& item);

  std::int32_t errCode = 0;  // platform error
  // An object where other systems have a number.
  Ref<ResourceFork> refnum;  // the open fork, nil while closed
  Ref<FolderItem> f;
};

}  // namespace vantorel
