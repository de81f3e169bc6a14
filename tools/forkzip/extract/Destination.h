// The folder that an archive is extracted to, and the folders in it. A symbolic link below it is never
// followed, whoever made it.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "platform/base/Descriptor.h"

namespace vantorel::forkzip {

// The folders on the way to an item, whose path is not empty.
inline std::span<const std::string> FoldersOf(std::span<const std::string> path) {
  return path.first(path.size() - 1);
}

// Raises Failure (kBadArchive) about a member that might do harm.
[[noreturn]] void Refuse(const std::string& why);

class Destination {
 public:
  // Makes the folder, and those above it, if it is missing. Raises Failure (kFileError).
  explicit Destination(const std::string& root);

  // A descriptor of the folder below the root, which is made if it is missing; valid until the next call.
  // Raises Failure: kBadArchive if a symbolic link is in the way, kFileError for anything else.
  int Folder(std::span<const std::string> components);

  // Whether there is such a folder, with no symbolic link for its last component.
  bool HasFolder(std::span<const std::string> components) const;

  // The path of an item below the root.
  std::string PathOf(std::span<const std::string> components) const;

 private:
  Descriptor Step(int parent, std::span<const std::string> components) const;

  std::string root_path_;
  Descriptor root_;
  // The folder that was asked for last: members of one folder mostly follow one another.
  std::vector<std::string> current_components_;
  Descriptor current_;
};

}  // namespace vantorel::forkzip
