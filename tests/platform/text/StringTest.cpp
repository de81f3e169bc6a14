#include "platform/text/String.h"

#include <gtest/gtest.h>

#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

TEST(String, AppendingNeverReachesAnotherString) {
  String text = String::Bytes("abc");
  const String copy = text;
  const String middle = text.Slice(1, 1);
  text += String::Bytes("d");
  EXPECT_EQ(text.view(), "abcd");
  text += text;
  EXPECT_EQ(text.view(), "abcdabcd");
  EXPECT_EQ(copy.view(), "abc");
  EXPECT_EQ(middle.view(), "b");

  String tail = text.Slice(6);
  text = String();
  tail += String::Bytes("e");  // the buffer is tail's own now, with six bytes before it that no one sees
  EXPECT_EQ(tail.view(), "cde");
  String head = tail.Slice(0, 1);
  tail = String();
  head += String::Bytes("x");
  EXPECT_EQ(head.view(), "cx");
}

TEST(String, AppendingInPlaceDoesNotMoveTheBytesEachTime) {
  String text = String::Bytes("x");
  int moves = 0;
  for (int i = 0; i < 100'000; ++i) {
    const char* before = text.view().data();
    text += String::Bytes("y");
    if (text.view().data() != before) ++moves;
  }
  EXPECT_EQ(text.size(), 100'001U);
  EXPECT_LT(moves, 40);
}

TEST(String, AQueueEatenFromTheFrontKeepsItsText) {
  String queue;
  std::string expected;
  for (int i = 0; i < 1000; ++i) {
    queue += Str(i);
    expected += std::to_string(i);
    queue = queue.Slice(queue.size() / 2);
    expected.erase(0, expected.size() / 2);
    ASSERT_EQ(queue.view(), expected);
  }
}

TEST(String, LabelOfASum) {
  const String bytes = String::Bytes("b");
  const String utf8("u");
  const String mac = DefineEncoding("m", Encodings::MacRoman());
  EXPECT_EQ(Encoding(mac + utf8), Encodings::MacRoman());
  EXPECT_EQ(Encoding(bytes + utf8), Encodings::UTF8());
  EXPECT_EQ(Encoding(String() + mac), Encodings::MacRoman());
  EXPECT_EQ(Encoding(mac + bytes), Encodings::MacRoman());
  EXPECT_EQ(Encoding(bytes + bytes), nil);
}

}  // namespace
}  // namespace vantorel
