#include "tools/forkzip/read/NameEncoding.h"

#include "platform/text/Utf8.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

// Letters of European languages; in the other encoding the same byte is a sign or part of a box, as a rule.
bool IsLetterInCp437(unsigned char byte) {
  constexpr unsigned char kSharpS = 0xE1;
  return (byte >= 0x80 && byte <= 0xA5) || byte == kSharpS;
}
bool IsLetterInWindows1252(unsigned char byte) {
  return byte >= 0xC0;
}

}  // namespace

std::string GuessEncoding(const Ref<ZipArchive>& archive) {
  bool all_utf8 = true;
  bool from_mac = false;
  std::size_t cp437 = 0;
  std::size_t windows1252 = 0;
  for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    const std::string_view name = entry->zipEncName.view();
    if ((entry->HeaderUShort(CentralHeader::kFlags) & ZipFlags::kUtf8Name) != 0 || IsUtf8(name)) continue;
    all_utf8 = false;
    from_mac = from_mac || entry->OSMadeBy() == ZipHost::kMacintosh;
    for (const char each : name) {
      const auto byte = static_cast<unsigned char>(each);
      if (IsLetterInCp437(byte)) ++cp437;
      if (IsLetterInWindows1252(byte)) ++windows1252;
    }
  }
  if (all_utf8) return "utf-8";
  if (from_mac) return "mac-roman";
  return windows1252 > cp437 ? "windows-1252" : "cp437";
}

}  // namespace vantorel::forkzip
