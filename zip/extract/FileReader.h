// Reads the data fork of a file. An operation that requires an open stream raises RuntimeException on a
// closed one. Dropping the reader closes the file.
#pragma once

#include "platform/files/FolderItem.h"
#include "zip/extract/SeqDataInputStream.h"

namespace vantorel {

class FileReader : public SeqDataInputStream {
 public:
  explicit FileReader(const Ref<FolderItem>& file) : f(file) {}

  // A disk that fails ends the reading like the end of the file does, and records an error.
  String Read(std::int32_t count) override;
  bool AtEOF() override { return !bs || bs->AtEOF(); }
  bool HadError() override { return error; }
  bool Open() override;
  void Close() override;
  // Code -1 for whatever went wrong.
  void GetErrorDescription(std::int32_t& code, String& text) override;
  // Tries to extend a file that is too short. Anywhere but at the start of the file it records an error,
  // although it does move.
  bool Skip(std::int32_t count) override;
  void ClearError() override { error = false; }
  virtual void Destructor() { Close(); }

  Ref<FolderItem> f;
  bool error = false;
  Ref<BinaryStream> bs;  // nil while closed
};

}  // namespace vantorel
