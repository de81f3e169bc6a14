// The two Mac header formats, as blocks.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/support/MacBytes.h"
#include "zip/archive/ZipEntry.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace): builders of bytes
namespace Mac = MacBinaryHeader;
namespace Apple = AppleDoubleHeader;

Ref<ZipEntry> NewEntry() {
  return New<ZipEntry>(New<ZipArchiveData>(), nil, "._f", nil, String());
}

TEST(MacBinaryHeader, Level) {
  struct Case {
    const char* name;
    std::int32_t offset;
    bool seal;  // renew the sum after the change
    std::string bytes;
    int level;
    int level_with_macbinary1;
  };
  const Case cases[] = {
      {"MacBinary III", 0, true, "", 3, 3},
      {"MacBinary II has no signature", Mac::kSignature, true, "xxxx", 2, 2},
      {"later versions are accepted", Mac::kMinimumVersion, true, "\x83", 4, 4},
      {"the version before them", Mac::kMinimumVersion, true, "\x82", 3, 3},
      {"wrong sum", Mac::kType, false, "JPEG", 0, 1},
      {"wrong sum and a name too long for MacBinary I", Mac::kName, false, "\x20", 0, 0},
      {"longest name of MacBinary I", Mac::kName, false, "\x1F", 0, 1},
      {"old version byte", Mac::kOldVersion, true, "\x01", 0, 0},
      {"byte 82", Mac::kZero82, true, "\x01", 0, 0},
      {"bytes 126 and 127", Mac::kZero126 + 1, true, "\x01", 0, 0},
      {"data fork of 2^31 bytes", Mac::kDataLength, true, "\x80", 0, 0},
      {"resource fork of 2^31 bytes", Mac::kResourceLength, true, "\x80", 0, 0},
      {"no name", Mac::kName, true, std::string(1, '\0'), 0, 0},
      {"longest name", Mac::kName, true, "\x3F", 3, 3},
      {"name too long", Mac::kName, true, "\x40", 0, 0},
      {"all zeros", 0, false, std::string(128, '\0'), 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string bytes = MacBinaryBytes("name", 1, 2);
    PutBytes(bytes, c.offset, c.bytes);
    if (c.seal) SealMacBinary(bytes);
    const auto block = New<MemoryBlock>(128);
    block->SetLittleEndian(false);
    block->SetStringValue(0, 128, String::Bytes(bytes));
    const Ref<ZipEntry> entry = NewEntry();
    EXPECT_EQ(entry->z_MBHdrLevel(block), c.level);
    entry->EnableMacBinary1Detection(true);
    EXPECT_EQ(entry->z_MBHdrLevel(block), c.level_with_macbinary1);
  }
}

TEST(MacBinaryHeader, ResourceForkBeginsAtAMultipleOf128) {
  const std::pair<std::uint32_t, std::int32_t> cases[] = {
      {0, 128}, {1, 256}, {128, 256}, {129, 384}, {0x7FFFFFFF, std::numeric_limits<std::int32_t>::max()}};
  for (const auto& [data_length, expected] : cases) {
    Ref<MemoryBlock> block;
    std::int32_t offset = -7;
    EXPECT_TRUE(
        NewEntry()->z_unzipMBHdr(false, String::Bytes(MacBinaryBytes("f", data_length, 0)), block, offset));
    ASSERT_TRUE(block);
    EXPECT_EQ(offset, expected) << data_length;
  }
  Ref<MemoryBlock> none;
  std::int32_t untouched = -7;
  EXPECT_TRUE(NewEntry()->z_unzipMBHdr(false, String::Bytes(std::string(128, 'x')), none, untouched));
  EXPECT_TRUE(none == nil && untouched == -7) << "plain data is no fault";
}

TEST(AppleDoubleHeader, OtherShapesAreRefused) {
  struct Case {
    const char* name;
    std::int32_t offset;
    bool good;
    std::string bytes;
  };
  const Case cases[] = {
      {"magic of AppleSingle", Apple::kMagic, false, BigEndian(0x00051600, 4)},
      {"version 1", Apple::kVersion, false, BigEndian(0x00010000, 4)},
      {"three entries", Apple::kEntryCount, false, BigEndian(3, 2)},
      {"resource fork first", Apple::kFinderInfoId, false, BigEndian(2, 4)},
      {"no resource fork", Apple::kResourceId, false, BigEndian(9, 4)},
      {"Finder info of 31 bytes", Apple::kFinderInfoLength, false, BigEndian(31, 4)},
      {"Finder info of negative length", Apple::kFinderInfoLength, false, BigEndian(0x80000020, 4)},
      {"Finder info of more than 32 bytes", Apple::kFinderInfoLength, true, BigEndian(3000, 4)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string bytes = AppleDoubleBytes("").substr(0, 82);
    PutBytes(bytes, c.offset, c.bytes);
    const Ref<ZipEntry> entry = NewEntry();
    Ref<MemoryBlock> block;
    std::int32_t offset = 0;
    EXPECT_EQ(entry->z_unzipMBHdr(true, String::Bytes(bytes), block, offset), c.good);
    EXPECT_TRUE(block) << "the block is there in any case";
    EXPECT_EQ(entry->ErrorMessage().view(), c.good ? "" : "Invalid or unsupported AppleDouble header");
  }
  Ref<MemoryBlock> block;
  std::int32_t offset = 0;
  for (const std::uint32_t outside : {67U, 82U, 0x7FFFFFF8U, 0xFFFFFFFFU})
    EXPECT_THROW(NewEntry()->z_unzipMBHdr(true, String::Bytes(AppleDoubleBytes("", outside).substr(0, 82)),
                                          block, offset),
                 OutOfBoundsException)
        << outside;
}

}  // namespace
}  // namespace vantorel
