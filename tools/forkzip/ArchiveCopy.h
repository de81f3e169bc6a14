// The careful way to change an archive: a new file beside it, synced and renamed over it. Whatever happens on
// the way, the old archive or the new one is there whole. The new file's name is always the same, so that one
// which a killed run left behind is taken over by the next run.
#pragma once

#include <sys/stat.h>

#include <string>

#include "tools/forkzip/FileBytes.h"
#include "tools/forkzip/RawDirectory.h"

namespace vantorel::forkzip {

// Keeps other runs of the tool from changing the same file, as long as it lives. Raises Failure if one does
// so now.
void LockAgainstOtherRuns(int file);

class ArchiveCopy {
 public:
  // For a change of an archive that exists; a symbolic link is followed. The new file is empty. Raises
  // Failure.
  explicit ArchiveCopy(const std::string& archive);
  // Removes the new file unless Commit was called.
  ~ArchiveCopy();
  ArchiveCopy(const ArchiveCopy&) = delete;
  ArchiveCopy& operator=(const ArchiveCopy&) = delete;

  // For an archive that does not exist yet. The new file does not exist either, for the engine to make it.
  static ArchiveCopy ForNewArchive(const std::string& archive);

  // Where the new file for an archive lies, or may lie from a run that was killed.
  static std::string PathOfNewFile(const std::string& archive);

  int Original() const { return original_.Get(); }
  int File() const { return file_.Get(); }
  // The path of the new file.
  const std::string& Path() const { return path_; }
  // The path of the archive itself.
  const std::string& Target() const { return target_; }

  // Makes the new file an archive of no members, as the engine makes them.
  void MakeEmptyArchive(const std::string& comment);

  // Reads the new file's directory back and compares it with what it should be, syncs the file, gives it the
  // mode and owner of the old one, and puts it in its place. Raises Failure, and then the old archive stays.
  void Commit(const RawDirectory& expected);
  // The same for a file that the engine made under the path, with whatever directory it has.
  void CommitAsWritten();

 private:
  struct ForNew {};
  ArchiveCopy(const std::string& archive, ForNew);

  void OpenLocked();
  void Check(const RawDirectory& expected) const;
  void CheckOriginalIsUnchanged() const;
  void Rename() const;

  std::string target_;
  std::string path_;
  Descriptor original_;
  struct stat original_status_ {};
  Descriptor file_;
  bool committed_ = false;
};

}  // namespace vantorel::forkzip
