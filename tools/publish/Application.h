// The application to publish, as it lies on disk: every file and every empty folder of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"

namespace vantorel::publish {

struct AppFile {
  std::string path;  // in the archive; a folder's ends in "/"
  Ref<FolderItem> item;
  std::uint64_t size = 0;
};

// Walks the folder `application`; the paths begin with `top`, the name that the launcher will look for.
// Raises PublishError for what an update cannot carry: symbolic links, special files, 2 GiB and more, more
// than 65,535 members, nothing at all.
std::vector<AppFile> ListApplication(const std::string& application, const std::string& top);

}  // namespace vantorel::publish
