// The careful way to make or change an archive: a draft beside it, synced and renamed over it. Whatever
// happens on the way, the old archive or the new one is there whole.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/FileBytes.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

class ArchiveCopy {
 public:
  // For a change of an archive that exists; a symbolic link is followed. Locks it. Raises Failure, also if
  // the archive itself may not be written: that says to leave it alone, though a rename could get past it.
  explicit ArchiveCopy(const std::string& archive);
  // Removes the draft unless it was committed.
  ~ArchiveCopy();
  ArchiveCopy(const ArchiveCopy&) = delete;
  ArchiveCopy& operator=(const ArchiveCopy&) = delete;

  // For an archive that does not exist yet.
  static ArchiveCopy ForNewArchive(const std::string& archive);

  // Makes the draft, empty. Raises Failure.
  void Begin();
  // Has the engine make the draft instead, as an archive that is to be filled. Raises Failure.
  Ref<ZipArchive> BeginByEngine();

  int Original() const { return original_.Get(); }
  // The draft, once it was made, and its path.
  int File() const { return file_.Get(); }
  const std::string& Path() const { return path_; }

  // Reads the draft's directory back and compares it with what it should be, syncs the file, gives it the
  // mode and owner of the old one, and puts it in its place. Raises Failure, and then the old archive stays.
  void Commit(const RawDirectory& expected);
  // The same for what the engine made and closed: it is to hold `count` members, called as some of `names`
  // in their order.
  void CommitByEngine(const std::vector<std::string_view>& names, std::size_t count);
  // Makes an archive of no members, as the engine makes them, and puts it in place of the old one.
  void CommitEmpty(const std::string& comment);

 private:
  struct ForNew {};
  ArchiveCopy(const std::string& archive, ForNew);

  void PutInPlace();
  void CheckOriginalIsUnchanged() const;
  // Says what could not be kept.
  void TakeOverModeAndOwner() const;

  std::string name_;    // as the user gave it
  std::string target_;  // with symbolic links followed
  std::string path_;
  Descriptor original_;
  struct stat original_status_ {};
  Descriptor file_;
  bool committed_ = false;
};

}  // namespace vantorel::forkzip
