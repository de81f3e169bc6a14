// The file beside an archive in which its new content grows, `.NAME.forkzip-new`. The name is always the
// same, so that the next run finds what a killed one left behind. A run holds a lock on its draft.
#pragma once

#include <sys/types.h>

#include <string>

#include "platform/base/Descriptor.h"

namespace vantorel::forkzip {

class Draft {
 public:
  // Takes away what a killed run, or anyone else, left under the name of the draft for the archive at `path`,
  // in which no symbolic link is left. False, and it stays, if another run is at work on it.
  static bool RemoveStray(const std::string& path);

  // Makes an empty draft of that mode, less the umask, which nobody else has open, and locks it. Raises
  // Failure if another run has one, or none can be made. For standard output it has no name.
  Draft(const std::string& path, mode_t mode);
  // Removes the draft unless it was put in place.
  ~Draft();
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;

  int File() const { return file_.Number(); }

  // Syncs the draft and renames it to the archive's name, over what is there only if `replace` is set; or
  // writes it to standard output. Raises Failure, and then what is there stays.
  void PutInPlace(bool replace);

 private:
  std::string target_;
  std::string path_;
  Descriptor file_;
  bool placed_ = false;
};

// Opens the archive at `path`, in which no symbolic link is left, for changes, and locks it: two runs of the
// tool never change one archive at the same time. Raises Failure if it cannot be opened, or another run has
// locked it.
Descriptor OpenLocked(const std::string& path);

// Whether an open file is the one that `path` names, itself and not by a symbolic link.
bool IsNamed(int file, const std::string& path);

// Brings a file's content to the disk. Raises Failure.
void Sync(int file);

}  // namespace vantorel::forkzip
