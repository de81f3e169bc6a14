// The text functions on any bytes in any encoding, against the plainest way to say the same.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/text/TextFunctions.h"

namespace {

using namespace vantorel;  // NOLINT(google-build-using-namespace): a file of its own

void Require(bool condition) {
  if (!condition) std::abort();
}

std::string Folded(std::string_view bytes) {
  std::string folded(bytes);
  for (char& c : folded) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return folded;
}

// The characters of a text one by one; together they are the text.
void CheckParts(const String& text) {
  String joined;
  const std::int32_t length = std::min(Len(text), 200);
  for (std::int32_t i = 1; i <= length; ++i) {
    const String character = Mid(text, i, 1);
    Require(!character.empty());
    Require(StrComp(Left(text, i) + Mid(text, i + 1), text, 0) == 0);
    joined += character;
  }
  Require(StrComp(joined, Left(text, length), 0) == 0);
  Require(StrComp(Left(text, Len(text) - length) + Right(text, length), text, 0) == 0);
}

void CheckSearch(const String& text, const String& pattern) {
  const std::string bytes(text.view());
  const std::string folded = Folded(bytes);
  const std::int32_t found = InStr(text, pattern);
  if (found > 0) Require(SameText(MidB(Mid(text, found), 1, LenB(pattern)), pattern));
  if (Encoding(text) == nil && !pattern.empty()) {
    Require(static_cast<std::size_t>(found) == folded.find(Folded(pattern.view())) + 1);
  }
  const std::vector<String> fields = Split(text, pattern);
  std::size_t total = (fields.size() - 1) * pattern.size();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    total += fields[i].size();
    if (i < 20)
      Require(StrComp(fields[i], NthField(text, pattern, static_cast<std::int32_t>(i) + 1), 0) == 0);
  }
  Require(total == text.size());
  Require(InStr(ReplaceAll(text, pattern, ""), pattern) == 0 || fields.size() > 1 || pattern.empty());
  Require(ReplaceAll(text, pattern, pattern).size() == text.size());

  const String other = String::Bytes(folded);
  Require(SameText(text, other) && CaselessHash(text) == CaselessHash(other));
  Require(SameText(text, pattern) == (folded == Folded(pattern.view())));
}

void CheckConversion(const String& text, const Ref<TextEncoding>& target) {
  const String converted = ConvertEncoding(text, target);
  if (!target) return;
  Require(Encoding(converted) == target);
  Require(StrComp(ConvertEncoding(converted, target), converted, 0) == 0);
  // What came through the conversion once comes through Unicode and back.
  const String unicode = ConvertEncoding(converted, Encodings::UTF8());
  Require(GuessJapaneseEncoding(unicode) == nil || GuessJapaneseEncoding(unicode)->base() == 256 ||
          target == Encodings::UTF8());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  constexpr std::int32_t kBases[] = {-1, 0,   1,   2,    3,    7,    21,   25,   29,
                                     37, 256, 513, 1024, 1040, 1280, 1536, 2336, 2561};
  const Ref<TextEncoding> encoding = GetTextEncoding(kBases[data[0] % std::size(kBases)], 0, 0);
  const Ref<TextEncoding> target = GetTextEncoding(kBases[data[1] % std::size(kBases)], 0, 0);
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 3, size - 3);
  const std::string_view pattern = bytes.substr(0, data[2] % 8);
  const String text = DefineEncoding(String::Bytes(bytes.substr(pattern.size())), encoding);
  CheckParts(text);
  CheckSearch(text, DefineEncoding(String::Bytes(pattern), encoding));
  CheckConversion(text, target);
  Val(text);
  EncodeBase64(text, 76);
  return 0;
}
