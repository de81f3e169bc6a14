#include "platform/text/CharacterUnits.h"
#include "platform/text/TextFunctions.h"
#include "platform/text/Utf8.h"

namespace vantorel {
namespace {

bool IsIn(char c, unsigned char low, unsigned char high) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= low && byte <= high;
}

// Whether a character, of the length that its first byte tells unless the text ends before, is well-formed.

bool IsEucJp(std::string_view character) {
  const char lead = character[0];
  if (character.size() == 1) return IsIn(lead, 0, 0x7F);
  const unsigned char last = lead == '\x8E' ? 0xDF : 0xFE;  // 8E goes before a half-width katakana
  const bool is_whole = character.size() == (lead == '\x8F' ? 3 : 2);
  return is_whole && IsIn(character[1], 0xA1, last) && IsIn(character.back(), 0xA1, last);
}

bool IsShiftJis(std::string_view character) {
  if (character.size() == 1) return IsIn(character[0], 0, 0x7F) || IsIn(character[0], 0xA1, 0xDF);
  return character[1] != 0x7F && IsIn(character[1], 0x40, 0xFC);
}

bool IsWholly(std::string_view rest, const Ref<TextEncoding>& encoding, bool (*is_sound)(std::string_view)) {
  while (!rest.empty()) {
    const std::size_t length = BytesOfCharacters(rest, encoding->units(), 1);
    if (!is_sound(rest.substr(0, length))) return false;
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
  Ref<TextEncoding> euc_jp = GetTextEncoding(kEucJp, 0, 0);
  if (IsWholly(text.view(), euc_jp, IsEucJp)) return euc_jp;
  Ref<TextEncoding> shift_jis = GetTextEncoding(kShiftJis, 0, 0);
  return IsWholly(text.view(), shift_jis, IsShiftJis) ? shift_jis : nil;
}

}  // namespace vantorel
