// Members and archives as JSON values, for programs. Names and comments are in UTF-8; what is no UTF-8 comes
// out as U+FFFD.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

// `index` is the member's number in the archive, from 1.
nlohmann::ordered_json MemberAsJson(const Ref<ZipEntry>& entry, std::int32_t index);

// On one line; or indented where `indent` is 0 or more.
std::string JsonText(const nlohmann::ordered_json& value, int indent = -1);

}  // namespace vantorel::forkzip
