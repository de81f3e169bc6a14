#include "tools/forkzip/MacAttributes.h"

#include "platform/files/FolderItem.h"

namespace vantorel::forkzip {

void ApplyMacAttributes(const Ref<ZipEntry>& entry, const std::string& path,
                        const Ref<MemoryBlock>& header_block) {
  String type;
  String creator;
  String name;
  if (header_block) {
    entry->ApplyMacBinaryInformation(GetFolderItem(String::Bytes(path)), header_block);
  } else if (entry->extra->GetTypeCreatorName(type, creator, name)) {
    const Ref<FolderItem> item = GetFolderItem(String::Bytes(path));
    item->SetMacType(type);
    item->SetMacCreator(creator);
    if (!name.empty()) entry->z_adjustMacFilename(name, 0, item);
  }
}

}  // namespace vantorel::forkzip
