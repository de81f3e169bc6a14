// Texts from archives on their way to people.
#pragma once

#include <string>
#include <string_view>

#include "platform/text/String.h"

namespace vantorel::forkzip {

// `text` as it may safely be shown on a terminal: control characters, marks that turn the direction of
// writing, and bytes that are not UTF-8 come out as \xNN.
std::string Printable(std::string_view text);

// Whether a text is labelled UTF-8, or has no label.
bool IsInUtf8(const String& text);
// The bytes of a text in UTF-8. What is labelled UTF-8 already passes unchanged, sound or not.
std::string Utf8(const String& text);

// "1 member", "2 members".
std::string Count(unsigned long long number, std::string_view singular);
// "532 bytes", "1.4 MiB".
std::string HumanSize(unsigned long long bytes);

}  // namespace vantorel::forkzip
