#include "platform/ui/Picture.h"

#include <map>

#include "platform/ui/BackEnd.h"

namespace vantorel {

namespace {

std::map<std::int32_t, std::vector<PictureDrawing>>& Resources() {
  static std::map<std::int32_t, std::vector<PictureDrawing>> resources;
  return resources;
}

}  // namespace

void AddPictureResource(std::int32_t id, const std::vector<PictureDrawing>& drawings) {
  Resources()[id] = drawings;
}

Ref<Picture> GetPicture(std::int32_t id) {
  const auto found = Resources().find(id);
  if (found == Resources().end() || found->second.empty()) return nil;
  return BackEnd::Current().MakePicture(found->second);
}

Ref<Picture> OpenAsPicture(const Ref<FolderItem>& file) {
  if (!file->Exists() || file->Directory()) return nil;
  return BackEnd::Current().ReadPicture(file);
}

}  // namespace vantorel
