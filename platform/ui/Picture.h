// A picture that a window can show. Made by the back end; what it looks like inside is the back end's.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"

namespace vantorel {

class Picture : public Object {
 public:
  // In logical pixels, above 0.
  virtual std::int32_t Width() const = 0;
  virtual std::int32_t Height() const = 0;
};

// A picture drawn for one density of screen: a picture file (PNG) with `scale` pixels for each logical one.
struct PictureDrawing {
  std::int32_t scale = 1;
  std::string_view file;
};

// Gives the program's picture with the number `id` its drawings, whose bytes live as long as the process; the
// first tells its size. The resources of the program are added before the first window opens.
void AddPictureResource(std::int32_t id, const std::vector<PictureDrawing>& drawings);
// Loads the program's picture with that number; nil if there is none or it cannot be read.
Ref<Picture> GetPicture(std::int32_t id);

// Loads a picture file of any format that the back end reads; nil if impossible.
Ref<Picture> OpenAsPicture(const Ref<FolderItem>& file);

}  // namespace vantorel
