#include "platform/files/MemoryBlock.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace vantorel {
namespace {

TEST(MemoryBlock, Strings) {
  const Ref<MemoryBlock> block = New<MemoryBlock>(300);
  block->SetStringValue(0, 4, "abcdef");
  block->SetStringValue(0, 3, "x");
  EXPECT_EQ(block->StringValue(0, 5).view(), std::string_view("x\0\0d\0", 5));
  block->SetPString(10, String::Adopt(std::string(300, 'n'), nil));
  EXPECT_EQ(block->PString(10).view(), std::string(255, 'n'));
}

TEST(MemoryBlock, NothingOutsideIsTouched) {
  const Ref<MemoryBlock> block = New<MemoryBlock>(4);
  block->SetByte(3, 1);
  EXPECT_THROW(block->SetLong(1, 0), OutOfBoundsException);
  EXPECT_THROW(block->Long(0x7FFFFFFF), OutOfBoundsException);
  EXPECT_THROW(block->StringValue(2, -1), OutOfBoundsException);
  EXPECT_THROW(block->SetPString(0, "abcd"), OutOfBoundsException);
  EXPECT_THROW(block->PString(3), OutOfBoundsException);
}

TEST(MemoryBlock, AProbeForMemoryCostsNone) {
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  const Ref<MemoryBlock> block = NewMemoryBlock(1 << 28);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->Byte((1 << 28) - 1), 0);
  rusage after{};
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 65'536);  // KiB; a sanitizer's own share is half of that
  EXPECT_EQ(NewMemoryBlock(-1), nil);
  EXPECT_EQ(NewMemoryBlock(std::int64_t{1} << 31), nil);
  EXPECT_THROW(New<MemoryBlock>(-1), OutOfMemoryException);
}

}  // namespace
}  // namespace vantorel
