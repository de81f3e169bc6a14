// A change made in the archive itself, by the engine, after all has been checked that can be checked
// beforehand.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/FileBytes.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

class InPlaceEdit {
 public:
  // Opens and locks the archive. Raises Failure, with nothing written.
  InPlaceEdit(const std::string& path, const std::string& encoding);

  const Ref<ZipArchive>& Archive() const { return archive_; }
  const RawDirectory& Before() const { return before_; }
  int File() const { return file_.Get(); }

  // Writes the directory and syncs the file. If that fails it undoes the change, and raises Failure.
  void Finish();
  // The same where old members have been moved: that cannot be undone.
  void FinishMoved();
  // Ends the engine's part, and writes the directory that was there before, where it was, unless it still is
  // there. REQUIRES: nothing in front of it was changed. Raises Failure.
  void Undo();

 private:
  void CheckSameArchive() const;
  void KeepNamesAndComments();
  bool DirectoryIsThere() const;

  Descriptor file_;
  RawDirectory before_;
  Ref<ZipArchive> archive_;
};

}  // namespace vantorel::forkzip
