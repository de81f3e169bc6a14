#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vantorel {

// The contents of the gzip member at the beginning of `member`, if it is right and they are `size` bytes.
std::optional<std::string> InflateWholeMember(std::string_view member, std::size_t size);

}  // namespace vantorel
