// Colors on a terminal, for those who want them.
#pragma once

#include <string>
#include <string_view>

namespace vantorel::forkzip {

namespace Color {
inline constexpr const char* kError = "1;31";
inline constexpr const char* kFolder = "1;34";
inline constexpr const char* kLink = "1;36";
}  // namespace Color

// Whether a standard stream is a terminal that shows colors, and NO_COLOR (https://no-color.org) is not set.
bool ShowsColors(int stream);

// `text` between the signs that turn a color on and off.
std::string Colored(std::string_view text, const char* color);

}  // namespace vantorel::forkzip
