#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

bool IsIn(unsigned char c, unsigned char low, unsigned char high) {
  return c >= low && c <= high;
}

// Each of these takes a well-formed character off the front of `rest`, or says no.

bool TakeUtf8(std::basic_string_view<unsigned char>& rest) {
  const unsigned char lead = rest[0];
  const std::size_t width = lead < 0x80 ? 1 : IsIn(lead, 0xC2, 0xDF) ? 2 : IsIn(lead, 0xE0, 0xEF) ? 3 : 4;
  if (lead > 0xF4 || IsIn(lead, 0x80, 0xC1) || rest.size() < width) return false;
  for (std::size_t i = 1; i < width; ++i) {
    if (!IsIn(rest[i], 0x80, 0xBF)) return false;
  }
  const bool overlong = (lead == 0xE0 && rest[1] < 0xA0) || (lead == 0xF0 && rest[1] < 0x90);
  const bool surrogate = lead == 0xED && rest[1] > 0x9F;
  const bool beyond = lead == 0xF4 && rest[1] > 0x8F;
  if (overlong || surrogate || beyond) return false;
  rest.remove_prefix(width);
  return true;
}

bool TakeEucJp(std::basic_string_view<unsigned char>& rest) {
  const unsigned char lead = rest[0];
  const std::size_t width = lead < 0x80 ? 1 : lead == 0x8F ? 3 : 2;
  if (width > 1 && lead != 0x8E && lead != 0x8F && !IsIn(lead, 0xA1, 0xFE)) return false;
  if (rest.size() < width) return false;
  const unsigned char last = lead == 0x8E ? 0xDF : 0xFE;  // 8E goes before a half-width katakana
  for (std::size_t i = 1; i < width; ++i) {
    if (!IsIn(rest[i], 0xA1, last)) return false;
  }
  rest.remove_prefix(width);
  return true;
}

bool TakeShiftJis(std::basic_string_view<unsigned char>& rest) {
  const unsigned char lead = rest[0];
  if (lead < 0x80 || IsIn(lead, 0xA1, 0xDF)) {
    rest.remove_prefix(1);
    return true;
  }
  if (!IsIn(lead, 0x81, 0x9F) && !IsIn(lead, 0xE0, 0xFC)) return false;
  if (rest.size() < 2 || rest[1] == 0x7F || !IsIn(rest[1], 0x40, 0xFC)) return false;
  rest.remove_prefix(2);
  return true;
}

bool IsWholly(const String& text, bool (*take)(std::basic_string_view<unsigned char>&)) {
  std::basic_string_view<unsigned char> rest(reinterpret_cast<const unsigned char*>(text.view().data()),
                                             text.size());
  while (!rest.empty()) {
    if (!take(rest)) return false;
  }
  return true;
}

bool HasOnlyAscii(const String& text) {
  for (const char c : text.view()) {
    if ((c & 0x80) != 0) return false;
  }
  return true;
}

}  // namespace

Ref<TextEncoding> GuessJapaneseEncoding(const String& text) {
  constexpr std::int32_t kEucJp = 2336;
  constexpr std::int32_t kShiftJis = 2561;
  if (HasOnlyAscii(text)) return nil;
  if (IsWholly(text, TakeUtf8)) return Encodings::UTF8();
  if (IsWholly(text, TakeEucJp)) return GetTextEncoding(kEucJp, 0, 0);
  if (IsWholly(text, TakeShiftJis)) return GetTextEncoding(kShiftJis, 0, 0);
  return nil;
}

}  // namespace vantorel
