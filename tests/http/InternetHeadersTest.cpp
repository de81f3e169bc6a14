#include "http/InternetHeaders.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

std::string Text(const String& text) {
  return std::string(text.view());
}

Ref<InternetHeaders> Parsed(std::string_view block) {
  auto headers = New<InternetHeaders>();
  headers->_ParseHeaders(String::Bytes(block));
  return headers;
}

TEST(InternetHeaders, ParsesBlocks) {
  struct Case {
    const char* fault;
    const char* block;
    const char* formatted;
  };
  const Case cases[] = {
      {"status line is kept", "HTTP/1.0 200 OK\r\nA: 1", "A: 1"},
      {"status line with a colon is dropped", "HTTP/1.0 200 a:b\r\nA: 1", "HTTP/1.0 200 a: b\r\nA: 1"},
      {"name ends at a later colon", "A: b:c", "A: b:c"},
      {"value keeps blanks in front, or loses those behind", "A:  \t b  ", "A: b  "},
      {"name is trimmed", " A : b", " A : b"},
      {"folded line is lost", "A: 1\r\n 2\r\n\t3\r\nB: 4", "A: 1 2 3\r\nB: 4"},
      {"LF alone ends no line", "A: 1\n 2\nB: 3", "A: 1 2\r\nB: 3"},
      {"CR alone ends no line", "A: 1\rB: 3", "A: 1\r\nB: 3"},
      {"CR LF does not win over LF", "A: 1\nB: 2\r\nC: 3", "A: 1\nB: 2\r\nC: 3"},
      {"LF does not win over CR", "A: 1\rB: 2\nC: 3", "A: 1\rB: 2\r\nC: 3"},
      {"repeated names collide", "a: 1\r\nA: 2\r\nB: 3\r\na: 4", "a: 1\r\nA: 2\r\nB: 3\r\na: 4"},
      {"line end at the end makes a header", "A: 1\r\n\r\n", "A: 1"},
      {"nothing makes something", "", ""},
  };
  for (const Case& c : cases) EXPECT_EQ(Text(Parsed(c.block)->_FormatHTTPHeaders()), c.formatted) << c.fault;
}

TEST(InternetHeaders, AnswersByNameAndPosition) {
  const auto headers = Parsed("status\r\nset: 1\r\nSet: 2\r\nLength: 5\r\nSET: 3");
  EXPECT_EQ(headers->Count(), 4);
  EXPECT_EQ(headers->NameCount("SET"), 3);
  EXPECT_EQ(headers->NameCount("absent"), 0);
  EXPECT_EQ(Text(headers->Value("set", -1)), "1");
  EXPECT_EQ(Text(headers->Value("set", 2)), "3");
  EXPECT_EQ(Text(headers->Value("set", 3)), "");
  EXPECT_EQ(Text(headers->CommaSeparatedValues("set")), "1, 2, 3");
  EXPECT_EQ(Text(headers->Value(3)), "3");
  EXPECT_EQ(Text(headers->Value(4)), "");
  EXPECT_EQ(Text(headers->Name(3)), "SET");
  EXPECT_THROW(headers->Name(4), OutOfBoundsException);
  EXPECT_EQ(Text(headers->Source()), "status\r\nset: 1\r\nSet: 2\r\nLength: 5\r\nSET: 3");
  headers->DeleteAllHeaders();
  EXPECT_EQ(headers->Count(), 0);
  EXPECT_FALSE(headers->Source().empty());
}

TEST(InternetHeaders, IsEditedByName) {
  struct Case {
    const char* fault;
    std::function<void(InternetHeaders&)> edit;
    const char* values;  // of a, then of b
  };
  const Case cases[] = {
      {"deletion leaves a gap", [](auto& h) { h.Delete("a", 1); }, "1, 3|9"},
      {"deletion of the first leaves a gap", [](auto& h) { h.Delete("A", 0); }, "2, 3|9"},
      {"deletion leaves other values", [](auto& h) { h.Delete("A"); }, "|9"},
      {"deletion of an absent value moves others", [](auto& h) { h.Delete("a", 3); }, "1, 2, 3|9"},
      {"setting leaves other values", [](auto& h) { h.SetHeader("A", "5"); }, "5|9"},
      {"setting one value appends", [](auto& h) { h.SetHeader("b", "5"); }, "1, 2, 3|5"},
      {"setting by index sets another", [](auto& h) { h.SetHeader("a", "5", 2); }, "1, 2, 5|9"},
      {"index 0 is not the first", [](auto& h) { h.SetHeader("a", "5", 0); }, "5, 2, 3|9"},
      {"count runs over a gap", [](auto& h) { h.SetHeader("b", "5", 2); }, "1, 2, 3|9"},
      {"the gap is not filled first",
       [](auto& h) {
         h.SetHeader("b", "7", 2);
         h.AppendHeader("b", "5");
       },
       "1, 2, 3|9, 5, 7"},
      {"appending overwrites", [](auto& h) { h.AppendHeader("A", "4"); }, "1, 2, 3, 4|9"},
      {"the last index overflows",
       [](auto& h) {
         h.SetHeader("b", "7", INT32_MAX);
         h.Delete("b", INT32_MAX);
       },
       "1, 2, 3|9"},
  };
  for (const Case& c : cases) {
    const auto headers = Parsed("a: 1\nb: 9\na: 2\na: 3");
    c.edit(*headers);
    EXPECT_EQ(Text(headers->CommaSeparatedValues("a") + "|" + headers->CommaSeparatedValues("b")), c.values)
        << c.fault;
  }
}

TEST(InternetHeaders, FormatsMailInMailOrder) {
  const auto headers = Parsed(
      "X: 1\nto: a\nBCC: hidden\nReceived: r1\nFrom: f\nDate: d\nDate: later\nX: 2\nTo: b\nReceived: "
      "r2\nSubject: s\n"
      "CC: c\nReturn-Path: p\nate: no part of a listed name");
  EXPECT_EQ(
      Text(headers->_FormatEmailHeaders()),
      "Return-Path: p\r\nReceived: r1\r\nReceived: r2\r\nDate: d\r\nSubject: s\r\nFrom: f\r\nTo: a, b\r\n"
      "CC: c\r\nX: 1\r\nX: 2\r\nate: no part of a listed name");
  EXPECT_EQ(Text(New<InternetHeaders>()->_FormatEmailHeaders()), "");
}

}  // namespace
}  // namespace vantorel
