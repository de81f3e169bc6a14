// How bytes fall into characters, for this folder's text functions. Any bytes do: in ill-formed UTF-8 a
// character begins at each byte that does not continue one, elsewhere a lead byte takes what follows it.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/text/String.h"

namespace vantorel {

// The units of the string's label; bytes for a string without one.
TextEncoding::Units UnitsOf(const String& text);
std::size_t CharacterCount(std::string_view bytes, TextEncoding::Units units);
// Offset of the byte behind the first `count` characters; the size if there are fewer.
std::size_t BytesOfCharacters(std::string_view bytes, TextEncoding::Units units, std::size_t count);
// As FindIgnoringCase, but a match begins where a character does.
std::size_t FindCharacters(std::string_view bytes, TextEncoding::Units units, std::string_view pattern,
                           std::size_t from);

}  // namespace vantorel
