// The program's own pictures.
#pragma once

#include "platform/ui/Picture.h"

namespace vantorel {

// Makes the compiled-in pictures known to GetPicture.
void AddProgramPictures();

// The default splash picture; loaded on first use and kept until ReleaseSplash.
Ref<Picture> splash();
void ReleaseSplash();

// The program's icon; nil if it cannot be loaded.
Ref<Picture> ProgramIcon();

}  // namespace vantorel
