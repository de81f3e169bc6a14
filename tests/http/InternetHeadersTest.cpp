#include "http/InternetHeaders.h"

#include <gtest/gtest.h>

namespace vantorel::testing {
namespace {

Ref<InternetHeaders> Parsed(std::string_view block) {
  auto headers = New<InternetHeaders>();
  headers->_ParseHeaders(String::Bytes(block));
  return headers;
}

TEST(InternetHeaders, ParsesBlocks) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"name ends at a later colon", "HTTP/1.0 200 OK\r\nA: b:c", "A: b:c"},
      {"blanks stay before the value or go behind it", "A:  \t b  ", "A: b  "},
      {"folded line is lost", "A: 1\r\n 2\r\n\t3\r\nB: 4", "A: 1 2 3\r\nB: 4"},
      {"LF alone ends no line", "A: 1\n 2\nB: 3", "A: 1 2\r\nB: 3"},
      {"CR alone ends no line", "A: 1\rB: 3", "A: 1\r\nB: 3"},
      {"repeated names collide", "a: 1\r\nA: 2\r\nB: 3\r\na: 4\r\n", "a: 1\r\nA: 2\r\nB: 3\r\na: 4"},
  };
  for (const auto& [fault, block, formatted] : cases)
    EXPECT_EQ(Parsed(block)->_FormatHTTPHeaders().view(), formatted) << fault;
}

// A collection with a mind of its own.
struct LastValueCounts : InternetHeaders {
  void AppendHeader(const String& name, const String& value) override {
    if (SameText(name, "dropped")) return;
    if (SameText(name, "once")) Delete(name);
    InternetHeaders::AppendHeader(name, value);
  }
};

TEST(InternetHeaders, ParsingAppendsThroughTheSubclass) {
  const auto headers = New<LastValueCounts>();
  headers->_ParseHeaders("A: 1\nOnce: 1\nDropped: 1\nA: 2\nOnce: 2\nA: 3\nonce: 3");
  EXPECT_EQ(headers->_FormatHTTPHeaders().view(), "A: 1\r\nA: 2\r\nA: 3\r\nonce: 3");
}

TEST(InternetHeaders, AnswersAndIsEditedByNameAndPosition) {
  const auto headers = Parsed("set: 1\nSet: 2\nLength: 5\nSET: 3\nset: 4");
  EXPECT_EQ(headers->Count(), 5);
  EXPECT_EQ(headers->NameCount("sEt"), 4);
  EXPECT_EQ((headers->Value("set", -1) + headers->Value("set", 2) + headers->Value("set", 4)).view(), "13");
  EXPECT_EQ((headers->Value(4) + headers->Value(5) + headers->Name(3)).view(), "4SET");
  EXPECT_THROW(headers->Name(5), OutOfBoundsException);
  headers->Delete("set", 1);
  EXPECT_EQ(headers->CommaSeparatedValues("set").view(), "1, 3, 4") << "deletion leaves a gap";
  headers->SetHeader("Set", "5");
  EXPECT_EQ(headers->_FormatHTTPHeaders().view(), "Length: 5\r\nSet: 5") << "setting leaves other values";
  headers->SetHeader("Length", "", INT32_MAX);
  headers->Delete("Length", INT32_MAX);
  EXPECT_EQ(headers->NameCount("Length"), 1) << "the last index overflows";
}

TEST(InternetHeaders, FormatsMailInMailOrder) {
  const auto headers = Parsed(
      "X: 1\nto: a\nBCC: hidden\nReceived: r1\nFrom: f\nDate: d\nDate: later\nX: 2\nTo: b\nCc: e\n"
      "Received: r2\nSubject: s\nCC: c\nReturn-Path: p\nate: no part of a listed name");
  EXPECT_EQ(
      headers->_FormatEmailHeaders().view(),
      "Return-Path: p\r\nReceived: r1\r\nReceived: r2\r\nDate: d\r\nSubject: s\r\nFrom: f\r\nTo: a, b\r\n"
      "CC: e, c\r\nX: 1\r\nX: 2\r\nate: no part of a listed name");
}

}  // namespace
}  // namespace vantorel::testing
