#include "platform/files/Dictionary.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {
int allocations_left = -1;  // negative: as many as there are
}

// Each takes memory from malloc, but for the one that is to fail.
void* operator new(std::size_t size) {
  void* memory = allocations_left-- == 0 ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace vantorel {
namespace {

TEST(Dictionary, KeepsItsEntriesWhenMemoryRunsOut) {
  for (int fails = 0; fails < 4; ++fails) {
    Dictionary table;
    const String key("key");
    const String other("other");
    const Variant value = StringToVariant(key);
    const Variant other_value = StringToVariant(other);
    try {
      allocations_left = fails;
      table.SetValue(key, value);
    } catch (const std::bad_alloc&) {
    }
    allocations_left = -1;
    const bool stored = table.HasKey(key);
    table.SetValue(other, other_value);
    EXPECT_EQ(table.Count(), stored ? 2 : 1) << fails;
    EXPECT_TRUE(!stored || StrComp(VariantToString(table.Value(key)), "key", 0) == 0) << fails;
    EXPECT_EQ(VariantToString(table.Value(other)).view(), "other") << fails;
  }
}

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
