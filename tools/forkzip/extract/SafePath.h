// Where members may lie, and where links may point.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/extract/Destination.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// Whether nothing is left of a member's name without its first `strip` components, each of which a slash
// ends.
bool IsPassedOver(const Ref<ZipEntry>& entry, std::size_t strip);

// These raise Failure (kBadArchive) for what is refused.

// The names of the folders on the way to a member and, last, of the member itself, going by its name without
// the first `strip` components; none of them leads anywhere but down. Empty for the folder "/", which is the
// destination itself. Refused are absolute paths, those that lead upward, and names that cannot be those of
// files. Unlike the engine's own split, this one keeps ":", which a file's name may well hold on this system.
std::vector<std::string> SafePath(const Ref<ZipEntry>& entry, std::size_t strip);

// Refuses a target by which a symbolic link in these folders of the destination might lead out of it. What a
// ".." takes back must be a folder that is there: a link in that place would turn the path elsewhere.
void CheckLinkTarget(std::string_view target, std::span<const std::string> folders,
                     const Destination& destination);

}  // namespace vantorel::forkzip
