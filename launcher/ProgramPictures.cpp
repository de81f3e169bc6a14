#include "launcher/ProgramPictures.h"

#include <cstdint>
#include <string_view>

// The bytes of the picture files, see resources/Pictures.S.in.
extern "C" {
extern const char vantorel_splash_1x[];
extern const char vantorel_splash_1x_end[];
extern const char vantorel_splash_2x[];
extern const char vantorel_splash_2x_end[];
extern const char vantorel_icon_1x[];
extern const char vantorel_icon_1x_end[];
extern const char vantorel_icon_2x[];
extern const char vantorel_icon_2x_end[];
}

namespace vantorel {

namespace {

constexpr std::int32_t kSplash = 169;
constexpr std::int32_t kIcon = 128;

std::string_view Between(const char* begin, const char* end) {
  return {begin, static_cast<std::size_t>(end - begin)};
}

Ref<Picture> kept_splash;

}  // namespace

void AddProgramPictures() {
  AddPictureResource(kSplash, {{.scale = 1, .file = Between(vantorel_splash_1x, vantorel_splash_1x_end)},
                               {.scale = 2, .file = Between(vantorel_splash_2x, vantorel_splash_2x_end)}});
  AddPictureResource(kIcon, {{.scale = 1, .file = Between(vantorel_icon_1x, vantorel_icon_1x_end)},
                             {.scale = 2, .file = Between(vantorel_icon_2x, vantorel_icon_2x_end)}});
}

Ref<Picture> splash() {
  if (kept_splash == nil) kept_splash = GetPicture(kSplash);
  return kept_splash;
}

void ReleaseSplash() {
  kept_splash = nil;
}

Ref<Picture> ProgramIcon() {
  return GetPicture(kIcon);
}

}  // namespace vantorel
