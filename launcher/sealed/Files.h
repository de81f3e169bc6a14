// Small files, read and written whole, and a look at any. All raise Refusal for what the system refuses.
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>

namespace vantorel::sealed {

// What there is at a path, a link itself; all 0 if nothing is.
struct stat StatusOf(const std::string& path);

// The content of a file, nothing if there is none.
std::optional<std::string> ReadFile(const std::string& path);

void WriteFile(const std::string& path, std::string_view content);

}  // namespace vantorel::sealed
