// Small files, read and written whole.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantorel::sealed {

// The content of a file, nothing if there is none. Raises Refusal if it cannot be read.
std::optional<std::string> ReadFile(const std::string& path);

// Raises Refusal if it cannot be written.
void WriteFile(const std::string& path, std::string_view content);

}  // namespace vantorel::sealed
