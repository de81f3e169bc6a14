#include "platform/text/TextFunctions.h"
#include "platform/text/Utf8.h"

namespace vantorel {
namespace {

bool IsIn(char c, unsigned char low, unsigned char high) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= low && byte <= high;
}

// Each of these tells how long the well-formed character at the front of `rest` is; 0 if there is none.

std::size_t EucJpLength(std::string_view rest) {
  const char lead = rest[0];
  if (IsIn(lead, 0, 0x7F)) return 1;
  if (lead != '\x8E' && lead != '\x8F' && !IsIn(lead, 0xA1, 0xFE)) return 0;
  const std::size_t length = lead == '\x8F' ? 3 : 2;
  const unsigned char last = lead == '\x8E' ? 0xDF : 0xFE;  // 8E goes before a half-width katakana
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= rest.size() || !IsIn(rest[i], 0xA1, last)) return 0;
  }
  return length;
}

std::size_t ShiftJisLength(std::string_view rest) {
  const char lead = rest[0];
  if (IsIn(lead, 0, 0x7F) || IsIn(lead, 0xA1, 0xDF)) return 1;
  const bool leads_two = IsIn(lead, 0x81, 0x9F) || IsIn(lead, 0xE0, 0xFC);
  return leads_two && rest.size() > 1 && rest[1] != 0x7F && IsIn(rest[1], 0x40, 0xFC) ? 2 : 0;
}

bool IsWholly(std::string_view rest, std::size_t (*length_of)(std::string_view)) {
  while (!rest.empty()) {
    const std::size_t length = length_of(rest);
    if (length == 0) return false;
    rest.remove_prefix(length);
  }
  return true;
}

}  // namespace

Ref<TextEncoding> GuessJapaneseEncoding(const String& text) {
  constexpr std::int32_t kEucJp = 2336;
  constexpr std::int32_t kShiftJis = 2561;
  if (IsAscii(text.view())) return nil;
  if (IsUtf8(text.view())) return Encodings::UTF8();
  if (IsWholly(text.view(), EucJpLength)) return GetTextEncoding(kEucJp, 0, 0);
  if (IsWholly(text.view(), ShiftJisLength)) return GetTextEncoding(kShiftJis, 0, 0);
  return nil;
}

}  // namespace vantorel
