// Byte comparison that ignores ASCII letter case, and hashes, for the text functions and for tables of names.
// All of it runs at memory speed: blocks of a megabyte are searched and tables of 65,535 names are built with
// it.
#pragma once

#include <cstddef>
#include <string_view>

namespace vantorel {

bool EqualIgnoringCase(std::string_view a, std::string_view b);
// Offset of the first match of `pattern`, which is not empty, at or after `from`; npos if there is none.
std::size_t FindIgnoringCase(std::string_view text, std::string_view pattern, std::size_t from);
// Equal for all that is EqualIgnoringCase. Seeded anew in each process, so that no file can hold names that
// were chosen to collide.
std::size_t HashIgnoringCase(std::string_view text);
// The same for bytes as they stand.
std::size_t HashMindingCase(std::string_view text);

}  // namespace vantorel
