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

 private:
  std::vector<std::string> names_;
};

}  // namespace vantorel
