#include <gtest/gtest.h>

#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

TEST(Encodings, Conversion) {
  const std::tuple<const char*, const char*, Ref<TextEncoding>, Ref<TextEncoding>, const char*> cases[] = {
      {"u umlaut to Windows", "\xC3\xBC", Encodings::UTF8(), Encodings::WindowsANSI(), "\xFC"},
      {"and to the Mac", "\x81", GetTextEncoding(1024, 0, 0), Encodings::MacRoman(), "\x9F"},
      {"no label counts as UTF-8", "a\xC3\xBC", nil, Encodings::MacRoman(), "a\x9F"},
      {"one mark for one character", "a\xE2\x82\xAC", nil, GetTextEncoding(1024, 0, 0), "a?"},
      {"ill-formed bytes", "\xFFx\xC3", nil, Encodings::WindowsANSI(), "?x?"},
      {"same encoding, whatever the bytes", "\xFF\xFE", Encodings::UTF8(), Encodings::UTF8(), "\xFF\xFE"},
      {"increment on the Mac", "\xC6", GetTextEncoding(0, 0, 0), Encodings::UTF8(), "\u2206"},
      {"and back", "a\u2206", nil, GetTextEncoding(0, 0, 0), "a\xC6"},
      {"which Delta is not", "\u0394", nil, GetTextEncoding(0, 0, 0), "?"},
      {"Icelandic Mac", "\xA0\xC6\xD0\xD1\xD7\xDB\xDC\xDD\xE0\xF6\xF7z", GetTextEncoding(37, 0, 0),
       Encodings::UTF8(), "\u00DD\u2206\u2013\u2014\u25CA\u20AC\u00D0\u00F0\u00FD\u02C6\u02DCz"},
      {"and back", "\u00DD\u2013\u20AC\u00D0\u02DC\u2020", nil, GetTextEncoding(37, 0, 0),
       "\xA0\xD0\xDB\xDC\xF7?"},
      {"Icelandic to Windows", "\xDB\xDC", GetTextEncoding(37, 0, 0), Encodings::WindowsANSI(), "\x80\xD0"},
      {"euro on the Cyrillic Mac", "\xFF", GetTextEncoding(7, 0, 0), GetTextEncoding(37, 0, 0), "\xDB"},
      {"Japanese", "\x83\x5C", GetTextEncoding(1, 0, 0), Encodings::UTF8(), "\xE3\x82\xBD"},
  };
  for (const auto& [name, from, from_encoding, to, expected] : cases) {
    const String result = ConvertEncoding(DefineEncoding(String::Bytes(from), from_encoding), to);
    EXPECT_EQ(result.view(), expected) << name;
    EXPECT_EQ(Encoding(result), to) << name;
  }
  const String longer_than_a_run = ReplaceAll(String::Bytes(std::string(5000, 'x')), "x", "\xC3\xBC");
  EXPECT_EQ(ConvertEncoding(longer_than_a_run, Encodings::WindowsANSI()).view(), std::string(5000, '\xFC'));
}

TEST(Encodings, EachKnownOneConverts) {
  for (std::int32_t base = 0; base < 4096; ++base) {
    const Ref<TextEncoding> encoding = GetTextEncoding(base, 0, 0);
    if (!encoding || base == 1536) continue;  // plain ASCII has nothing to convert
    const String letters =
        ConvertEncoding(DefineEncoding(String::Bytes("\xE0\xE1"), encoding), Encodings::UTF8());
    EXPECT_EQ(InStr(letters, "?"), 0) << base;
  }
}

TEST(Encodings, JapaneseGuess) {
  // -1: none
  const std::tuple<const char*, const char*, std::int32_t> cases[] = {
      {"ASCII says nothing", "plain", -1},        {"UTF-8", "\xC3\xBC.txt", 256},
      {"Shift-JIS", "\x83\x5C\x81\x5B", 2561},    {"EUC", "\xA5\xBD\xA1\xBC", 2336},
      {"overlong UTF-8 is none", "\xC0\x80", -1}, {"cut short", "a\xE3", -1},
  };
  for (const auto& [name, bytes, base] : cases) {
    const Ref<TextEncoding> guess = GuessJapaneseEncoding(String::Bytes(bytes));
    EXPECT_EQ(guess ? guess->base() : -1, base) << name;
  }
}

TEST(Encodings, Base64) {
  EXPECT_EQ(EncodeBase64("fo", 76).view(), "Zm8=");
  EXPECT_EQ(EncodeBase64(String::Bytes("\xFF\xEF\xBE"), 76).view(), "/+++");
  EXPECT_EQ(EncodeBase64("foobar", 8).view(), "Zm9vYmFy");  // no break where nothing follows
  EXPECT_EQ(EncodeBase64("foobarx", 8).view(), "Zm9vYmFy\r\n eA==");
  EXPECT_EQ(EncodeBase64("foobarx", 0).view(), "Zm9vYmFyeA==");
}

}  // namespace
}  // namespace vantorel
