#include "platform/text/String.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace vantorel
