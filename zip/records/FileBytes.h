// Bytes of an open file by their position.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantorel {

// Both raise std::system_error where the system refuses.
// Exactly `count` bytes. Raises FormatError if the file ends before.
std::string ReadAt(int file, std::uint64_t position, std::uint64_t count);
void WriteAt(int file, std::uint64_t position, std::string_view bytes);

}  // namespace vantorel
