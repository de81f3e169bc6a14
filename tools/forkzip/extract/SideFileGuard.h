// Side files `._name` that are to take their place in the destination: what is there already may be a user's,
// or a member of the archive itself.
#pragma once

#include <sys/types.h>

#include <set>
#include <string>
#include <utility>

namespace vantorel::forkzip {

class SideFileGuard {
 public:
  explicit SideFileGuard(bool overwrite) : overwrite_(overwrite) {}

  // Raises Failure if the side file of `item` in an open folder, whose path is `path`, must not be written:
  // kBadArchive where a symbolic link or a member of the archive is in the way, kFileError where a file is.
  void CheckSideFile(int folder, const std::string& path, const std::string& item) const;
  // Raises Failure (kBadArchive) if a member of that name would replace a side file of this run.
  void CheckMember(int folder, const std::string& name) const;

  // What this run has written.
  void NoteSideFile(int folder, const std::string& item);
  void NoteMember(int folder, const std::string& name);

 private:
  using FileId = std::pair<dev_t, ino_t>;

  static FileId IdOf(int folder, const std::string& name);

  bool overwrite_;
  std::set<FileId> side_files_;
  std::set<FileId> members_;  // those with names like side files
};

}  // namespace vantorel::forkzip
