// The members of a folder at one moment.
#pragma once

#include <string>
#include <vector>

namespace vantorel {

class FolderListing {
 public:
  // Reads the folder at `path`; one that cannot be read has no members.
  explicit FolderListing(const std::string& path);

  // In byte order, without the side files whose item is there.
  const std::vector<std::string>& Names() const { return names_; }
  // Whether a member has a side file.
  bool HasSideFile(const std::string& name) const;

 private:
  std::vector<std::string> names_;
  std::vector<std::string> side_files_;
};

}  // namespace vantorel
