// The two Mac header formats, as blocks.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/support/MacBytes.h"
#include "tests/support/ZipBytes.h"
#include "zip/archive/ZipEntry.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace): builders of bytes
namespace Mac = MacBinaryHeader;
namespace Apple = AppleDoubleHeader;

Ref<ZipEntry> NewEntry(const std::string& extra = "") {
  const auto archive = New<ZipArchiveData>();
  return New<ZipEntry>(archive, nil, "._f", New<ZipExtraField>(archive, String::Bytes(extra)), String());
}

TEST(MacBinaryHeader, Level) {
  struct Case {
    const char* name;
    std::int32_t offset;
    std::string bytes;
    bool seal;  // renew the sum after the change
    int level;
    int level_with_macbinary1;
  };
  const Case cases[] = {
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

TEST(AppleDoubleHeader, IsMappedOntoTheHeaderBlock) {
  const Ref<ZipEntry> entry = NewEntry(UnixExtra(1000000000, 1000000001));
  Ref<MemoryBlock> block;
  std::int32_t offset = 0;
  ASSERT_TRUE(entry->z_unzipMBHdr(true, String::Bytes(AppleDoubleBytes("abc").substr(0, 82)), block, offset));
  EXPECT_EQ(offset, 82);
  const std::int64_t local = 2082844800LL + 1000000001 + entry->UTCOffsetInMinutes() * 60;
  std::string expected(128, '\0');
  PutBytes(expected, Mac::kType, "PICTogle\x04");
  PutBytes(expected, Mac::kResourceLength, BigEndian(3, 4));
  PutBytes(expected, Mac::kCreated, BigEndian(static_cast<std::uint32_t>(local), 4));
  PutBytes(expected, Mac::kModified, BigEndian(static_cast<std::uint32_t>(local), 4));
  PutBytes(expected, Mac::kFinderFlagsLow, "\x80");
  PutBytes(expected, Mac::kScript, "\x81\x02");
  EXPECT_EQ(block->View(), expected);

  ASSERT_TRUE(
      NewEntry()->z_unzipMBHdr(true, String::Bytes(AppleDoubleBytes("").substr(0, 82)), block, offset));
  EXPECT_EQ(block->Long(Mac::kModified), 0) << "no times in the extra field";
}

TEST(AppleDoubleHeader, OtherShapesAreRefused) {
  struct Case {
    const char* name;
    std::int32_t offset;
    std::string bytes;
    bool good;
  };
  const Case cases[] = {
      {"magic of AppleSingle", Apple::kMagic, BigEndian(0x00051600, 4), false},
      {"version 1", Apple::kVersion, BigEndian(0x00010000, 4), false},
      {"three entries", Apple::kEntryCount, BigEndian(3, 2), false},
      {"resource fork first", Apple::kFinderInfoId, BigEndian(2, 4), false},
      {"no resource fork", Apple::kResourceId, BigEndian(9, 4), false},
      {"Finder info of 31 bytes", Apple::kFinderInfoLength, BigEndian(31, 4), false},
      {"Finder info of negative length", Apple::kFinderInfoLength, BigEndian(0x80000020, 4), false},
      {"Finder info of more than 32 bytes", Apple::kFinderInfoLength, BigEndian(3000, 4), true},
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
