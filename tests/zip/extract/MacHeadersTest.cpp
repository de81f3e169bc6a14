// The two Mac header formats, as blocks.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/MacBytes.h"
#include "zip/archive/ZipEntry.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel::testing {
namespace {

namespace Mac = MacBinaryHeader;
namespace Apple = AppleDoubleHeader;

Ref<ZipEntry> NewEntry() {
  return New<ZipEntry>(New<ZipArchiveData>(), nil, "._f", nil, String());
}

TEST(MacBinaryHeader, Level) {
  // Offset and bytes of the change, whether the sum is renewed after it, and the level, first without and
  // then with MacBinary I.
  const std::tuple<const char*, std::int32_t, std::string, bool, int, int> cases[] = {
      {"MacBinary III", 0, "", true, 3, 3},
      {"MacBinary II has no signature", Mac::kSignature, "xxxx", true, 2, 2},
      {"later versions are accepted", Mac::kMinimumVersion, "\x83", true, 4, 4},
      {"the version before them", Mac::kMinimumVersion, "\x82", true, 3, 3},
      {"wrong sum", Mac::kType, "JPEG", false, 0, 1},
      {"wrong sum and a name too long for MacBinary I", Mac::kName, "\x20", false, 0, 0},
      {"longest name of MacBinary I", Mac::kName, "\x1F", false, 0, 1},
      {"old version byte", Mac::kOldVersion, "\x01", true, 0, 0},
      {"byte 82", Mac::kZero82, "\x01", true, 0, 0},
      {"bytes 126 and 127", Mac::kZero126 + 1, "\x01", true, 0, 0},
      {"data fork of 2^31 bytes", Mac::kDataLength, "\x80", true, 0, 0},
      {"resource fork of 2^31 bytes", Mac::kResourceLength, "\x80", true, 0, 0},
      {"no name", Mac::kName, std::string(1, '\0'), true, 0, 0},
      {"longest name", Mac::kName, "\x3F", true, 3, 3},
      {"name too long", Mac::kName, "\x40", true, 0, 0},
      {"all zeros", 0, std::string(128, '\0'), false, 0, 0},
  };
  for (const auto& [name, offset, bytes, seal, level, level_with_macbinary1] : cases) {
    std::string header = MacBinaryBytes("name", 1, 2);
    Put(header, offset, bytes);
    if (seal) SealMacBinary(header);
    const auto block = New<MemoryBlock>(128);
    block->SetLittleEndian(false);
    block->SetStringValue(0, 128, String::Bytes(header));
    const Ref<ZipEntry> entry = NewEntry();
    EXPECT_EQ(entry->z_MBHdrLevel(block), level) << name;
    entry->EnableMacBinary1Detection(true);
    EXPECT_EQ(entry->z_MBHdrLevel(block), level_with_macbinary1) << name;
  }
}

TEST(MacBinaryHeader, ResourceForkBeginsAtAMultipleOf128) {
  const std::pair<std::uint32_t, std::int32_t> cases[] = {
      {0, 128}, {1, 256}, {128, 256}, {129, 384}, {INT32_MAX, INT32_MAX}};
  for (const auto& [length, expected] : cases) {
    Ref<MemoryBlock> block;
    std::int32_t offset = -7;
    EXPECT_TRUE(
        NewEntry()->z_unzipMBHdr(false, String::Bytes(MacBinaryBytes("f", length, 0)), block, offset));
    EXPECT_EQ(offset, expected) << length;
  }
  Ref<MemoryBlock> none;
  std::int32_t untouched = -7;
  EXPECT_TRUE(NewEntry()->z_unzipMBHdr(false, String::Bytes(std::string(128, 'x')), none, untouched));
  EXPECT_TRUE(none == nil && untouched == -7) << "plain data is no fault";
}

TEST(AppleDoubleHeader, OtherShapesAreRefused) {
  const std::tuple<const char*, std::int32_t, bool, std::string> cases[] = {
      {"magic of AppleSingle", Apple::kMagic, false, BigEndian(0x00051600, 4)},
      {"version 1", Apple::kVersion, false, BigEndian(0x00010000, 4)},
      {"three entries", Apple::kEntryCount, false, BigEndian(3, 2)},
      {"resource fork first", Apple::kFinderInfoId, false, BigEndian(2, 4)},
      {"no resource fork", Apple::kResourceId, false, BigEndian(9, 4)},
      {"Finder info of 31 bytes", Apple::kFinderInfoLength, false, BigEndian(31, 4)},
      {"Finder info of negative length", Apple::kFinderInfoLength, false, BigEndian(0x80000020, 4)},
      {"Finder info of more than 32 bytes", Apple::kFinderInfoLength, true, BigEndian(3000, 4)},
  };
  Ref<MemoryBlock> block;
  std::int32_t fork = 0;
  for (const auto& [name, offset, good, bytes] : cases) {
    std::string header = AppleDoubleBytes("").substr(0, 82);
    Put(header, offset, bytes);
    const Ref<ZipEntry> entry = NewEntry();
    block = nil;
    EXPECT_EQ(entry->z_unzipMBHdr(true, String::Bytes(header), block, fork), good) << name;
    EXPECT_TRUE(block) << name << ": the block is there in any case";
    EXPECT_EQ(entry->ErrorMessage().view(), good ? "" : "Invalid or unsupported AppleDouble header") << name;
  }
  for (const std::uint32_t outside : {67U, 82U, 0x7FFFFFF8U, 0xFFFFFFFFU}) {
    const auto header = String::Bytes(AppleDoubleBytes("", outside).substr(0, 82));
    EXPECT_THROW(NewEntry()->z_unzipMBHdr(true, header, block, fork), OutOfBoundsException) << outside;
  }
}

}  // namespace
}  // namespace vantorel::testing
