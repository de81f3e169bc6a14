#include "platform/text/CharacterUnits.h"

#include <algorithm>

#include "platform/text/CaseFolding.h"

namespace vantorel {
namespace {

using Units = TextEncoding::Units;

bool ContinuesUtf8(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

std::size_t CountUtf8(std::string_view bytes) {
  if (bytes.empty()) return 0;
  const auto continuing = std::count_if(bytes.begin() + 1, bytes.end(), ContinuesUtf8);
  return bytes.size() - static_cast<std::size_t>(continuing);  // the first begins one whatever it is
}

std::size_t SkipUtf8(std::string_view bytes, std::size_t count) {
  if (count == 0 || bytes.empty()) return 0;
  std::size_t at = 1;
  while (at < bytes.size() && (ContinuesUtf8(bytes[at]) || --count > 0)) ++at;
  return at;
}

std::size_t WidthAfterLeadByte(unsigned char lead, Units units) {
  switch (units) {
    case Units::kShiftJis:
      return (lead >= 0x81 && lead <= 0x9F) || (lead >= 0xE0 && lead <= 0xFC) ? 2 : 1;
    case Units::kEucJp:
      if (lead == 0x8F) return 3;
      return lead == 0x8E || (lead >= 0xA1 && lead <= 0xFE) ? 2 : 1;
    case Units::kDoubleByte:
      return lead >= 0x81 && lead <= 0xFE ? 2 : 1;
    default:
      return 1;
  }
}

// Byte offset of the character after the one at `at`, in units that only a walk from the front can tell.
std::size_t NextByWalking(std::string_view bytes, Units units, std::size_t at) {
  return std::min(bytes.size(), at + WidthAfterLeadByte(static_cast<unsigned char>(bytes[at]), units));
}

}  // namespace

Units UnitsOf(const String& text) {
  const Ref<TextEncoding> encoding = Encoding(text);
  return encoding ? encoding->units() : Units::kOneByte;
}

std::size_t CharacterCount(std::string_view bytes, Units units) {
  if (units == Units::kOneByte) return bytes.size();
  if (units == Units::kUtf8) return CountUtf8(bytes);
  std::size_t count = 0;
  for (std::size_t at = 0; at < bytes.size(); at = NextByWalking(bytes, units, at)) ++count;
  return count;
}

std::size_t BytesOfCharacters(std::string_view bytes, Units units, std::size_t count) {
  if (units == Units::kOneByte) return std::min(count, bytes.size());
  if (units == Units::kUtf8) return SkipUtf8(bytes, count);
  std::size_t at = 0;
  for (; at < bytes.size() && count > 0; --count) at = NextByWalking(bytes, units, at);
  return at;
}

std::size_t FindCharacters(std::string_view bytes, Units units, std::string_view pattern, std::size_t from) {
  std::size_t found = FindIgnoringCase(bytes, pattern, from);
  if (units == Units::kUtf8 && ContinuesUtf8(pattern[0])) return found == 0 ? 0 : std::string_view::npos;
  if (units == Units::kOneByte || units == Units::kUtf8) return found;
  // The second byte of a character may look like the pattern's first.
  for (std::size_t start = from; found != std::string_view::npos;) {
    while (start < found) start = NextByWalking(bytes, units, start);
    if (start == found) break;
    found = FindIgnoringCase(bytes, pattern, start);
  }
  return found;
}

}  // namespace vantorel
