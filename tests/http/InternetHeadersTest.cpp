#include "http/InternetHeaders.h"

#include <gtest/gtest.h>

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
  const struct {
    const char* fault;
    const char* block;
    const char* formatted;
  } cases[] = {
      {"status line with a colon is told apart", "HTTP/1.0 200 a:b\r\nA: 1", "HTTP/1.0 200 a: b\r\nA: 1"},
      {"name ends at a later colon", "HTTP/1.0 200 OK\r\nA: b:c", "A: b:c"},
      {"blanks stay before the value or go behind it", "A:  \t b  ", "A: b  "},
      {"name is trimmed", " A : b", " A : b"},
      {"folded line is lost", "A: 1\r\n 2\r\n\t3\r\nB: 4", "A: 1 2 3\r\nB: 4"},
      {"LF alone ends no line", "A: 1\n 2\nB: 3", "A: 1 2\r\nB: 3"},
      {"CR alone ends no line", "A: 1\rB: 3", "A: 1\r\nB: 3"},
      {"CR LF does not win over LF", "A: 1\nB: 2\r\nC: 3", "A: 1\nB: 2\r\nC: 3"},
      {"LF does not win over CR", "A: 1\rB: 2\nC: 3", "A: 1\rB: 2\r\nC: 3"},
      {"repeated names collide", "a: 1\r\nA: 2\r\nB: 3\r\na: 4\r\n", "a: 1\r\nA: 2\r\nB: 3\r\na: 4"},
      {"nothing makes something", "", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(Text(Parsed(c.block)->_FormatHTTPHeaders()), c.formatted) << c.fault;
}

TEST(InternetHeaders, AnswersByNameAndPosition) {
  const auto headers = Parsed("set: 1\nSet: 2\nLength: 5\nSET: 3");
  EXPECT_EQ(headers->Count(), 4);
  EXPECT_EQ(headers->NameCount("sEt"), 3);
  EXPECT_EQ(Text(headers->Value("set", -1) + headers->Value("set", 2) + headers->Value("set", 3)), "13");
  EXPECT_EQ(Text(headers->Value(3) + headers->Value(4) + headers->Name(3)), "3SET");
  EXPECT_THROW(headers->Name(4), OutOfBoundsException);
  headers->DeleteAllHeaders();
  EXPECT_EQ(headers->Count(), 0);
  EXPECT_EQ(Text(headers->Source()), "set: 1\nSet: 2\nLength: 5\nSET: 3");
}

TEST(InternetHeaders, IsEditedByName) {
  const struct {
    const char* fault;
    void (*edit)(InternetHeaders& headers);
    const char* values;  // of a, then of b
  } cases[] = {
      {"deletion leaves a gap", [](auto& h) { h.Delete("a", 1); }, "1, 3|9"},
      {"deletion of the first leaves a gap", [](auto& h) { h.Delete("A", 0); }, "2, 3|9"},
      {"deletion leaves other values", [](auto& h) { h.Delete("A"); }, "|9"},
      {"setting leaves other values", [](auto& h) { h.SetHeader("A", "5"); }, "5|9"},
      {"setting one value appends", [](auto& h) { h.SetHeader("b", "5"); }, "1, 2, 3|5"},
      {"setting by index sets another", [](auto& h) { h.SetHeader("a", "5", 2); }, "1, 2, 5|9"},
      {"count runs over a gap", [](auto& h) { h.SetHeader("b", "5", 2); }, "1, 2, 3|9"},
      {"gap is not filled", [](auto& h) { h.SetHeader("b", "7", 2), h.AppendHeader("b", "5"); },
       "1, 2, 3|9, 5, 7"},
      {"last index overflows", [](auto& h) { h.SetHeader("b", "", INT32_MAX), h.Delete("b", INT32_MAX); },
       "1, 2, 3|9"},
  };
  for (const auto& c : cases) {
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
}

}  // namespace
}  // namespace vantorel
