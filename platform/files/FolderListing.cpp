#include "platform/files/FolderListing.h"

#include <dirent.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "platform/files/SideFile.h"

namespace vantorel {
namespace {

std::vector<std::string> ReadNames(const std::string& path) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
  if (!folder) return names;
  while (const dirent* member = readdir(folder.get())) {
    const std::string_view name = static_cast<const char*>(member->d_name);
    if (name != "." && name != "..") names.emplace_back(name);
  }
  return names;
}

}  // namespace

FolderListing::FolderListing(const std::string& path) {
  std::vector<std::string> all = ReadNames(path);
  std::sort(all.begin(), all.end());
  for (const std::string& name : all) {
    const bool has_item = SideFile::IsNamedLikeOne(name) &&
                          std::binary_search(all.begin(), all.end(), SideFile::ItemNameOf(name));
    const bool is_side_file = has_item && SideFile::IsOne(std::string(path).append(1, '/').append(name));
    if (!is_side_file) names_.push_back(name);
  }
}

}  // namespace vantorel
