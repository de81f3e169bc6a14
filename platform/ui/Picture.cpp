#include "platform/ui/Picture.h"

#include <map>

#include "platform/ui/BackEnd.h"

namespace vantorel {

namespace {

std::map<std::int32_t, std::vector<PictureDrawing>> resources;

}  // namespace

void AddPictureResource(std::int32_t id, const std::vector<PictureDrawing>& drawings) {
  resources[id] = drawings;
}

Ref<Picture> GetPicture(std::int32_t id) {
  const auto found = resources.find(id);
  if (found == resources.end() || found->second.empty()) return nil;
  return BackEnd::Current().MakePicture(found->second);
}

Ref<Picture> OpenAsPicture(const Ref<FolderItem>& file) {
  if (!file->Exists() || file->Directory()) return nil;
  return BackEnd::Current().ReadPicture(file);
}

}  // namespace vantorel
