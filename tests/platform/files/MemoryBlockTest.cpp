#include "platform/files/MemoryBlock.h"

#include <gtest/gtest.h>

#include "platform/compress/Crc16.h"

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

TEST(MemoryBlock, SizesThatNoBlockHas) {
  EXPECT_EQ(NewMemoryBlock(-1), nil);
  EXPECT_EQ(NewMemoryBlock(std::int64_t{1} << 31), nil);
  EXPECT_THROW(New<MemoryBlock>(-1), OutOfMemoryException);
}

TEST(MemoryBlock, TheMacBinarySumIsOfBytesInTheBlock) {
  const auto block = New<MemoryBlock>(20);
  block->SetStringValue(3, 9, "123456789");
  EXPECT_EQ(Crc16_MemoryBlock(block, 7, 5, Crc16_MemoryBlock(block, 3, 4, 0)), 0x31C3) << "the check value";
  block->SetByte(0, 8);
  EXPECT_EQ(Crc16_MemoryBlock(block, 0, 1, 0), 0x8108 - 0x10000) << "large sums come out negative";
  EXPECT_THROW(Crc16_MemoryBlock(block, -1, 2, 0), OutOfBoundsException);
  EXPECT_THROW(Crc16_MemoryBlock(block, 0x7FFFFFFF, 0x7FFFFFFF, 0), OutOfBoundsException);
}

}  // namespace
}  // namespace vantorel
