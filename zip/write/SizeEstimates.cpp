// How many bytes adding would feed to the compressor. Nothing is written, and a read-only archive will do.
#include "zip/archive/ZipArchive.h"

namespace vantorel {

std::int32_t ZipArchive::CalcItemSize(const Ref<FolderItem>& item, std::int32_t mode) {
  return z_addItem(item, "", mode, false, true);
}

std::int32_t ZipArchive::CalcFolderSize(const Ref<FolderItem>& folder, bool followAliases,
                                        std::int32_t mode) {
  return z_addFolder(folder, "", followAliases, mode, false, true);
}

}  // namespace vantorel
