#include "platform/text/TextEncoding.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vantorel {
namespace {

using Units = TextEncoding::Units;

constexpr std::int32_t kMacRoman = 0;
constexpr std::int32_t kUnicode = 256;
constexpr std::int32_t kWindowsLatin1 = 1280;
constexpr std::int32_t kUtf8Format = 2;
// A code packs the base into its low 16 bits, the variant into bits 16 to 25, the format into bits 26 to 29.
constexpr std::int32_t kFormatShift = 26;
constexpr std::int32_t kUtf8Code = kUnicode | (kUtf8Format << kFormatShift);

struct Row {
  std::int32_t base;
  Units units;
  const char* iconv_name;
};

// The Mac scripts that iconv has no table for (among them Arabic, Hebrew, Greek and Turkish) are left out.
constexpr Row kRows[] = {
    {kMacRoman, Units::kOneByte, "MACINTOSH"},
    {1, Units::kShiftJis, "CP932"},              // MacJapanese
    {2, Units::kDoubleByte, "BIG5"},             // MacChineseTrad
    {3, Units::kDoubleByte, "EUC-KR"},           // MacKorean
    {7, Units::kOneByte, "MAC-CYRILLIC"},        // MacCyrillic
    {21, Units::kOneByte, "TIS-620"},            // MacThai
    {25, Units::kDoubleByte, "EUC-CN"},          // MacChineseSimp
    {29, Units::kOneByte, "MAC-CENTRALEUROPE"},  // MacCentralEurRoman
    {37, Units::kOneByte, "MAC-IS"},             // MacIcelandic
    {kUnicode, Units::kUtf8, "UTF-8"},
    {513, Units::kOneByte, "ISO-8859-1"},  // ISO Latin 1
    {1024, Units::kOneByte, "CP437"},      // DOS Latin US
    {1040, Units::kOneByte, "CP850"},      // DOS Latin 1
    {1056, Units::kShiftJis, "CP932"},     // DOS Japanese
    {kWindowsLatin1, Units::kOneByte, "CP1252"},
    {1536, Units::kOneByte, "US-ASCII"},
    {2336, Units::kEucJp, "EUC-JP"},
    {2561, Units::kShiftJis, "CP932"},  // Shift-JIS
};

}  // namespace

TextEncoding::TextEncoding(std::int32_t base, std::int32_t code, Units units, std::string iconv_name)
    : base_(base), code_(code), units_(units), iconv_name_(std::move(iconv_name)) {}

Ref<TextEncoding> TextEncoding::Find(std::int32_t code) {
  static const auto encodings = [] {
    std::vector<Ref<TextEncoding>> made;
    for (const Row& row : kRows) {
      const std::int32_t full_code = row.base == kUnicode ? kUtf8Code : row.base;
      made.push_back(New<TextEncoding>(row.base, full_code, row.units, std::string(row.iconv_name)));
    }
    return made;
  }();
  const auto found = std::find_if(encodings.begin(), encodings.end(),
                                  [&](const auto& each) { return each->code() == code; });
  return found == encodings.end() ? nil : *found;
}

Ref<TextEncoding> GetTextEncoding(std::int32_t base, std::int32_t variant, std::int32_t format) {
  if (variant != 0) return nil;
  if (base == kUnicode) return format == 0 || format == kUtf8Format ? Encodings::UTF8() : nil;
  return format == 0 ? TextEncoding::Find(base) : nil;
}

Ref<TextEncoding> GetFontTextEncoding(const std::string& font) {
  return font == "System" ? Encodings::MacRoman() : nil;
}

namespace Encodings {

Ref<TextEncoding> UTF8() {
  static const Ref<TextEncoding> encoding = TextEncoding::Find(kUtf8Code);
  return encoding;
}

Ref<TextEncoding> WindowsANSI() {
  return TextEncoding::Find(kWindowsLatin1);
}

Ref<TextEncoding> MacRoman() {
  return TextEncoding::Find(kMacRoman);
}

Ref<TextEncoding> SystemDefault() {
  return UTF8();
}

}  // namespace Encodings

}  // namespace vantorel
