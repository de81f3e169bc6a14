#include "platform/text/TextFunctions.h"
#include "platform/text/Utf8.h"

namespace vantorel {
namespace {

bool IsIn(char c, unsigned char low, unsigned char high) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= low && byte <= high;
}

// Each of these takes a well-formed character off the front of `rest`, or says no.

bool TakeEucJp(std::string_view& rest) {
  const char lead = rest[0];
  const std::size_t width = IsIn(lead, 0, 0x7F) ? 1 : lead == '\x8F' ? 3 : 2;
  if (width > 1 && lead != '\x8E' && lead != '\x8F' && !IsIn(lead, 0xA1, 0xFE)) return false;
  if (rest.size() < width) return false;
  const unsigned char last = lead == '\x8E' ? 0xDF : 0xFE;  // 8E goes before a half-width katakana
  for (std::size_t i = 1; i < width; ++i) {
    if (!IsIn(rest[i], 0xA1, last)) return false;
  }
  rest.remove_prefix(width);
  return true;
}

bool TakeShiftJis(std::string_view& rest) {
  const char lead = rest[0];
  if (IsIn(lead, 0, 0x7F) || IsIn(lead, 0xA1, 0xDF)) {
    rest.remove_prefix(1);
    return true;
  }
  if (!IsIn(lead, 0x81, 0x9F) && !IsIn(lead, 0xE0, 0xFC)) return false;
  if (rest.size() < 2 || rest[1] == 0x7F || !IsIn(rest[1], 0x40, 0xFC)) return false;
  rest.remove_prefix(2);
  return true;
}

bool IsWholly(std::string_view rest, bool (*take)(std::string_view&)) {
  while (!rest.empty()) {
    if (!take(rest)) return false;
  }
  return true;
}

}  // namespace

Ref<TextEncoding> GuessJapaneseEncoding(const String& text) {
  constexpr std::int32_t kEucJp = 2336;
  constexpr std::int32_t kShiftJis = 2561;
  if (IsAscii(text.view())) return nil;
  if (IsUtf8(text.view())) return Encodings::UTF8();
  if (IsWholly(text.view(), TakeEucJp)) return GetTextEncoding(kEucJp, 0, 0);
  if (IsWholly(text.view(), TakeShiftJis)) return GetTextEncoding(kShiftJis, 0, 0);
  return nil;
}

}  // namespace vantorel
