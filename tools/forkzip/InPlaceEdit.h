// A change made in the archive itself, by the engine, after all has been checked that can be checked
// beforehand.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "tools/forkzip/FileBytes.h"
#include "tools/forkzip/RawDirectory.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

class InPlaceEdit {
 public:
  // Opens and locks the archive. Raises Failure, with nothing written.
  InPlaceEdit(const std::string& path, const std::string& encoding);

  const Ref<ZipArchive>& Archive() const { return archive_; }
  const RawDirectory& Before() const { return before_; }
  int File() const { return file_.Get(); }

  // Writes the directory and syncs the file. Raises Failure.
  void Finish();
  // Drops the members that were added, and writes the directory that was there before.
  void Undo();

 private:
  void KeepNamesAndComments();

  Descriptor file_;
  RawDirectory before_;
  Ref<ZipArchive> archive_;
};

}  // namespace vantorel::forkzip
