// Texts on their way to people.
#pragma once

#include <string>
#include <string_view>

#include "platform/text/String.h"

namespace vantorel::forkzip {

// `text` as it may safely be shown on a terminal: control characters, marks that turn the direction of
// writing, and bytes that are not UTF-8 come out as \xNN.
std::string Printable(std::string_view text);

// Colors on a terminal, for those who want them.
namespace Color {
inline constexpr const char* kError = "1;31";
inline constexpr const char* kFolder = "1;34";
inline constexpr const char* kLink = "1;36";
}  // namespace Color

// Whether a standard stream is a terminal that shows colors, and NO_COLOR (https://no-color.org) is not set.
bool ShowsColors(int stream);
// `text` between the signs that turn a color on and off.
std::string Colored(std::string_view text, const char* color);

// Whether a text is labelled UTF-8, or has no label.
bool IsInUtf8(const String& text);
// The bytes of a text in UTF-8. What is labelled UTF-8 already passes unchanged, sound or not.
std::string Utf8(const String& text);

// As printf, for texts that are short.
[[gnu::format(printf, 1, 2)]] std::string Formatted(const char* format, ...);
// "1 member", "2 members".
std::string Count(unsigned long long number, std::string_view singular);
// "532 bytes", "1.4 MiB".
std::string HumanSize(unsigned long long bytes);

}  // namespace vantorel::forkzip
