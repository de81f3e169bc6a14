#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/base/Arithmetic.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

String Labelled(const char* bytes, std::int32_t base) {
  return DefineEncoding(String::Bytes(bytes), GetTextEncoding(base, 0, 0));
}

TEST(TextFunctions, PartsOfATextAndReplacement) {
  const String umlauts("\xC3\xA4xx\xE2\x82\xACyyyyyyyyyyyy\xC3\xBCz");
  const String sjis = Labelled("a\x83\\z", 1);
  const std::tuple<const char*, String, const char*> cases[] = {
      {"negative count", Left("abc", -1), ""},
      {"start past the end", Mid("abc", 4), ""},
      {"largest count does not overflow", Mid("abc", 2, std::numeric_limits<std::int32_t>::max()), "bc"},
      {"characters of several bytes", Mid(umlauts, 4, 2), "\xE2\x82\xACy"},
      {"a character far in", Mid(umlauts, 17), "\xC3\xBCz"},
      {"bytes of the same", MidB(umlauts, 2, 2), "\xA4x"},
      {"without a label a character is a byte", Mid(String::Bytes("\xC3\xBCz"), 2), "\xBCz"},
      {"double bytes", Mid(sjis, 2, 1), "\x83\\"},
      {"in the other range", Left(Labelled("\xE0\\z", 1), 1), "\xE0\\"},
      {"a lead byte at the end", Right(Labelled("ab\x83", 1), 1), "\x83"},
      {"nothing but white space", LTrim("  "), ""},
      {"two halves of a character", MidB("\xC3\xBC", 1, 1) + MidB("\xC3\xBC", 2, 1), "\xC3\xBC"},
      {"past the last", NthField("a_b", "_", 3), ""},
      {"no separator, first", NthField("abc", "_", 1), "abc"},
      {"no field is number 0", NthField("a_b", "_", 0), ""},
      {"empty between separators", NthField("a__b", "_", 2), ""},
      {"long separator in other case", NthField("/x/Y.APP/z", ".app", 1), "/x/Y"},
      {"what was put in is not searched", ReplaceAll("aaa", "a", "aA"), "aAaAaA"},
      {"nothing to look for", ReplaceAll("abc", "", "-"), "abc"},
      {"not within a double byte", ReplaceAll(Labelled("\x83\\\\", 1), "\\", "-"), "\x83\\-"},
  };
  for (const auto& [name, result, expected] : cases) EXPECT_EQ(result.view(), expected) << name;
  EXPECT_EQ(Len(umlauts), 18);
  EXPECT_EQ(LenB(umlauts), 22);
  EXPECT_EQ(Len(sjis), 3);
  EXPECT_EQ(Split("a\r\n\r\nb\r\n", "\r\n").size(), 4U);
}

TEST(TextFunctions, Positions) {
  const std::string far = std::string(1000, 'a') + "HEADER: x";
  const std::tuple<const char*, std::int32_t, std::int32_t> cases[] = {
      {"from a start", InStr(3, "aXbxc", "x"), 4},
      {"behind the last", InStr(3, "aXb", "x"), 0},
      {"empty pattern", InStr("abc", ""), 0},
      {"in characters", InStr(2, "\xC3\xA4\xC3\xA4x", "x"), 3},
      {"anchored on what has no case", InStr("a:b header: x", "HEADER:"), 5},
      {"letters only, far in", InStr(String::Bytes(far), "header"), 1001},
      {"'@' is no '`', '[' no '{'", InStr("@[", "`") + InStr("@[", "{"), 0},
      {"bytes above 127 have no case", InStr(String::Bytes("\xC4"), String::Bytes("\xE4")), 0},
      {"half of a double byte is no match", InStr(Labelled("\x83\\\\", 1), "\\"), 2},
  };
  for (const auto& [name, result, expected] : cases) EXPECT_EQ(result, expected) << name;
}

TEST(TextFunctions, Comparison) {
  enum Answer { kOther, kSame };
  const std::tuple<const char*, const char*, const char*, Answer> cases[] = {
      {"case plays no part", "README.TXT and more", "readme.txt AND MORE", kSame},
      {"nor does it in the last bytes", "12345678AbC", "12345678aBc", kSame},
      {"'@' and '`' differ by the same bit", "@@@@@@@@", "````````", kOther},
      {"'Z' folds, '[' does not", "[Z", "{z", kOther},
      {"beyond ASCII bytes count", "\xC3\x84", "\xC3\xA4", kOther},
  };
  for (const auto& [name, a, b, answer] : cases) {
    EXPECT_EQ(SameText(a, b), answer == kSame) << name;
    EXPECT_EQ(CaselessHash(a) == CaselessHash(b), answer == kSame) << name;
  }
  EXPECT_TRUE(SameText(String::Bytes("x"), DefineEncoding("X", Encodings::MacRoman())));
  EXPECT_GT(0, StrComp("__MACOSX", "__macosx", 0));
  EXPECT_EQ(0, StrComp("ab", String::Bytes("ab"), 0));
}

TEST(TextFunctions, Numbers) {
  EXPECT_EQ(Str(std::numeric_limits<std::int64_t>::min()).view(), "-9223372036854775808");
  EXPECT_EQ(Hex(0).view(), "0");
  EXPECT_EQ(Format(2147483648.0, "0").view(), "2147483648");
  EXPECT_EQ(Format(-0.2, "0").view(), "0");
  EXPECT_EQ(Asc(Chr(0x20AC)), 0x20AC);
  EXPECT_EQ((Chr(0x7F) + Chr(0x80) + Chr(0x20AC) + Chr(0x10FFFF)).view(),
            "\x7F\xC2\x80\xE2\x82\xAC\xF4\x8F\xBF\xBF");
  EXPECT_EQ(BitwiseAnd(static_cast<std::uint64_t>(std::int32_t{-1}), 0xFFFFFFFF00000000), 0xFFFFFFFF00000000);

  for (const char* text : {"", "x1", "inf", "nan", "--1", "0x1F", "1e-400"}) EXPECT_EQ(Val(text), 0) << text;
  const std::tuple<const char*, double> values[] = {{" 12abc", 12},
                                                    {"-5", -5},
                                                    {"+5", 5},
                                                    {"1.5e2x", 150},
                                                    {".5", 0.5},
                                                    {"1e400", HUGE_VAL},
                                                    {"4294967296", 4294967296.0}};
  for (const auto& [text, expected] : values) EXPECT_EQ(Val(text), expected) << text;
  const std::tuple<double, std::int32_t> integers[] = {
      {-2147483649.0, INT32_MIN}, {2147483648.0, INT32_MAX}, {1 / 0.0, 0}, {std::nan(""), 0}, {-1.9, -1}};
  for (const auto& [number, expected] : integers) EXPECT_EQ(RuntimeCvtReal64ToSInt32(number), expected);
}

}  // namespace
}  // namespace vantorel
