#include <zlib.h>

#include "GzipSamples.h"
#include "platform/base/Exceptions.h"
#include "platform/compress/Crc16.h"
#include "platform/compress/Crc32.h"

namespace vantorel {
namespace {

TEST(Crc32, EqualsZlibsAtEverySplit) {
  const std::string bytes = testing::Noise(1000);
  for (std::size_t length = 0; length <= bytes.size(); length += length < 40 ? 1 : 137) {
    const auto whole = String::Bytes(std::string_view(bytes).substr(0, length));
    const auto expected = static_cast<std::int32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(length)));
    EXPECT_EQ(Crc32(String(), Crc32(whole, 0)), expected) << length << ", and nothing behind it";
    EXPECT_EQ(Crc32(whole.Slice(length / 3), Crc32(whole.Slice(0, length / 3), 0)), expected) << length;
  }
}

TEST(Crc16, IsTheMacBinarySumOfBytesInTheBlock) {
  const auto block = New<MemoryBlock>(20);
  block->SetStringValue(3, 9, "123456789");
  EXPECT_EQ(Crc16_MemoryBlock(block, 3, 9, 0), 0x31C3) << "the published check value";
  EXPECT_EQ(Crc16_MemoryBlock(block, 7, 5, Crc16_MemoryBlock(block, 3, 4, 0)), 0x31C3) << "continued";
  block->SetByte(0, 8);
  EXPECT_EQ(Crc16_MemoryBlock(block, 0, 1, 0), 0x8108 - 0x10000) << "large sums come out negative";
  EXPECT_THROW(Crc16_MemoryBlock(block, -1, 2, 0), OutOfBoundsException);
  EXPECT_THROW(Crc16_MemoryBlock(block, 0x7FFFFFFF, 0x7FFFFFFF, 0), OutOfBoundsException);
}

}  // namespace
}  // namespace vantorel
