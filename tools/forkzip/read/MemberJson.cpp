#include "tools/forkzip/read/MemberJson.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/MemberFacts.h"

namespace vantorel::forkzip {

namespace {

nlohmann::ordered_json OrNull(const std::string& text) {
  return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

std::string Octal(std::uint32_t mode) {
  std::array<char, 12> text{};
  std::snprintf(text.data(), text.size(), "%o", mode);
  return text.data();
}

}  // namespace

nlohmann::ordered_json MemberAsJson(const Ref<ZipEntry>& entry, std::int32_t index) {
  const auto mode = ModeOf(entry);
  const std::string why_not = entry->IsDirectory() ? "" : WhyNotUnpacked(entry);
  return {{"index", index},
          {"name", Utf8(entry->RawPath())},
          {"folder", entry->IsDirectory()},
          {"method", entry->CompressionMethod()},
          {"size", SizeOf(entry)},
          {"compressedSize", CompressedSizeOf(entry)},
          {"crc32", CrcText(entry)},
          {"time", OrNull(TimeText(entry))},
          {"encrypted", entry->IsEncrypted()},
          {"mode", OrNull(mode ? Octal(*mode) : "")},
          {"comment", Utf8(entry->Comment())},
          {"hasCompanion", static_cast<bool>(entry->appleDoubleEntry)},
          {"notUnpacked", OrNull(why_not)}};
}

std::string JsonText(const nlohmann::ordered_json& value, int indent) {
  return value.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace vantorel::forkzip
