// The two Mac header formats, as blocks.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/MacBytes.h"
#include "zip/archive/ZipEntry.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel::testing {
namespace {

Ref<ZipEntry> NewEntry() {
  return New<ZipEntry>(New<ZipArchiveData>(), nil, "._f", nil, String());
}

TEST(MacBinaryHeader, Level) {
  const struct {
    const char* name;
    std::int32_t offset;
    std::string bytes;
    int level;  // 1 counts where MacBinary I is looked for
    bool sealed = true;
  } cases[] = {
      {"MacBinary II has no signature", 102, "xxxx", 2},
      {"later versions are accepted", 123, "\x83", 4},
      {"the version before them", 123, "\x82", 3},
      {"wrong sum", 65, "JPEG", 1, false},
      {"wrong sum and a name too long for MacBinary I", 1, "\x20", 0, false},
      {"longest name of MacBinary I", 1, "\x1F", 1, false},
      {"old version byte", 0, "\x01", 0},
      {"byte 82", 82, "\x01", 0},
      {"bytes 126 and 127", 127, "\x01", 0},
      {"data fork of 2^31 bytes", 83, "\x80", 0},
      {"resource fork of 2^31 bytes", 87, "\x80", 0},
      {"no name", 1, std::string(1, '\0'), 0},
      {"longest name", 1, "\x3F", 3},
      {"name too long", 1, "\x40", 0},
  };
  for (const auto& [name, offset, bytes, level, sealed] : cases) {
    std::string header = MacBinaryBytes("name", 1, 2);
    Put(header, offset, bytes);
    if (sealed) Seal(header);
    const auto block = New<MemoryBlock>(128, ByteOrder::kBig);
    block->SetStringValue(0, 128, String::Bytes(header));
    const Ref<ZipEntry> entry = NewEntry();
    EXPECT_EQ(entry->z_MBHdrLevel(block), level == 1 ? 0 : level) << name;
    entry->EnableMacBinary1Detection(true);
    EXPECT_EQ(entry->z_MBHdrLevel(block), level) << name;
  }
}

TEST(AppleDoubleHeader, OtherShapesAreRefused) {
  const struct {
    const char* name;
    std::int32_t offset;
    std::string bytes;
    bool good = false;
  } cases[] = {
      {"magic of AppleSingle", 0, BigEndian(0x00051600, 4)},
      {"version 1", 4, BigEndian(0x00010000, 4)},
      {"three entries", 24, BigEndian(3, 2)},
      {"resource fork first", 26, BigEndian(2, 4)},
      {"no resource fork", 38, BigEndian(9, 4)},
      {"Finder info of 31 bytes", 34, BigEndian(31, 4)},
      {"Finder info of negative length", 34, BigEndian(0x80000020, 4)},
      {"Finder info of more than 32 bytes", 34, BigEndian(3000, 4), true},
  };
  Ref<MemoryBlock> block;
  std::int32_t fork = 0;
  for (const auto& [name, offset, bytes, good] : cases) {
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
