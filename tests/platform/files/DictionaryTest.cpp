#include "platform/files/Dictionary.h"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

TEST(Dictionary, KeysIgnoreCaseAndKeepTheirOrder) {
  const Ref<Dictionary> table = New<Dictionary>();
  table->SetValue("Host", StringToVariant("a"));
  table->SetValue("HOST", StringToVariant(String::Bytes("\xFF")));
  EXPECT_EQ(table->Count(), 1);
  EXPECT_EQ(table->Key(0).view(), "Host");
  EXPECT_EQ(VariantToString(table->Value("host")).view(), "\xFF");
  EXPECT_EQ(Encoding(VariantToString(table->Value("host"))), nil);
  EXPECT_THROW(table->Value("absent"), RuntimeException);
  EXPECT_THROW(table->Key(-1), OutOfBoundsException);
}

TEST(Dictionary, RemovalLeavesTheOrderOfTheRest) {
  const Ref<Dictionary> table = New<Dictionary>();
  for (int i = 0; i < 65'535; ++i) table->SetValue("key" + Str(i), StringToVariant(Str(i)));
  for (int i = 0; i < 65'535; ++i) {
    if (i % 3 != 0) table->Remove("KEY" + Str(i));
  }
  table->SetValue("key1", StringToVariant("again"));
  ASSERT_EQ(table->Count(), 21'846);
  for (int i = 0; i < 21'845; ++i) ASSERT_EQ(table->Key(i).view(), ("key" + Str(3 * i)).view());
  EXPECT_EQ(table->Key(21'845).view(), "key1");
  EXPECT_EQ(VariantToString(table->Value("key30")).view(), "30");
}

}  // namespace
}  // namespace vantorel
