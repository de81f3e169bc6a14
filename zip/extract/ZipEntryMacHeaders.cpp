// ZipEntry: MacBinary and AppleDouble headers.
#include <algorithm>
#include <limits>

#include "platform/base/Arithmetic.h"
#include "platform/compress/Crc16.h"
#include "zip/archive/ZipEntry.h"
#include "zip/extract/AppleDoubleHeader.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel {

namespace {

namespace Mac = MacBinaryHeader;
namespace Apple = AppleDoubleHeader;

// Seconds from the start of 1904 to the start of 1970.
constexpr std::int64_t kUnixEpochIn1904 = 2082844800;

bool HasPlausibleFields(const MemoryBlock& block) {
  return block.Byte(Mac::kOldVersion) == 0 && block.Byte(Mac::kZero82) == 0 &&
         block.Short(Mac::kZero126) == 0 && block.Long(Mac::kDataLength) >= 0 &&
         block.Long(Mac::kResourceLength) >= 0 && block.Byte(Mac::kName) > 0 &&
         block.Byte(Mac::kName) <= Mac::kLongestName;
}

// Behind the header and the data fork, filled up to a multiple of 128. A length that takes it beyond 2^31 is
// beyond any member too, and stays so.
std::int32_t ResourceOffset(std::int32_t data_length) {
  const std::int64_t filled_up =
      (static_cast<std::int64_t>(data_length) + Mac::kSize + Mac::kForkAlignment - 1) / Mac::kForkAlignment *
      Mac::kForkAlignment;
  constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(filled_up, kLargest));
}

bool IsReadableAppleDouble(const MemoryBlock& apple) {
  return apple.Long(Apple::kMagic) == Apple::kMagicValue &&
         apple.Long(Apple::kVersion) == Apple::kVersionValue &&
         apple.Short(Apple::kEntryCount) == Apple::kEntryCountValue &&
         apple.Long(Apple::kFinderInfoId) == Apple::kFinderInfoIdValue &&
         apple.Long(Apple::kFinderInfoLength) >= Apple::kShortestFinderInfo &&
         apple.Long(Apple::kResourceId) == Apple::kResourceIdValue;
}

void CopyFinderInfo(const MemoryBlock& apple, MemoryBlock& block) {
  const std::int32_t info = apple.Long(Apple::kFinderInfoOffset);
  block.SetStringValue(Mac::kType, Apple::kBasicInfoSize, apple.StringValue(info, Apple::kBasicInfoSize));
  block.SetByte(Mac::kScript, apple.Byte(AddSInt32(info, Apple::kScriptInInfo)));
  block.SetByte(Mac::kExtendedFlags, apple.Byte(AddSInt32(info, Apple::kExtendedFlagsInInfo)));
  // The low byte of the Finder flags has come to lie behind the high one; MacBinary has its place elsewhere.
  block.SetByte(Mac::kFinderFlagsLow, block.Byte(Mac::kZero74));
  block.SetByte(Mac::kZero74, 0);
}

}  // namespace

std::int32_t ZipEntry::z_CRC(const Ref<MemoryBlock>& block, std::int32_t length) {
  const std::int32_t crc = Crc16_MemoryBlock(block, 0, length, 0);
  return crc < 0 ? crc + 0x10000 : crc;
}

std::int32_t ZipEntry::z_MBHdrLevel(const Ref<MemoryBlock>& block) {
  if (!HasPlausibleFields(*block)) return 0;
  if (block->UShort(Mac::kCrc) != z_CRC(block, Mac::kCrc))
    return supportMB1 && block->Byte(Mac::kName) <= Mac::kLongestNameOfLevel1 ? 1 : 0;
  if (block->Long(Mac::kSignature) != Mac::kSignatureValue) return 2;
  return block->Byte(Mac::kMinimumVersion) > Mac::kVersion3 ? 4 : 3;
}

bool ZipEntry::z_unzipMBHdr(bool is_apple_double, const String& data, Ref<MemoryBlock>& header_block,
                            std::int32_t& resource_offset) {
  if (!is_apple_double) {
    const auto block = New<MemoryBlock>(Mac::kSize, ByteOrder::kBig);
    block->SetStringValue(0, Mac::kSize, data);
    if (z_MBHdrLevel(block) > 0) {
      header_block = block;
      resource_offset = ResourceOffset(block->Long(Mac::kDataLength));
    }
    return true;
  }

  // The caller sees the block also where the header turns out to be bad.
  header_block = New<MemoryBlock>(Mac::kSize, ByteOrder::kBig);
  const auto apple = New<MemoryBlock>(static_cast<std::int32_t>(data.size()), ByteOrder::kBig);
  apple->SetStringValue(0, apple->Size(), data);
  if (!IsReadableAppleDouble(*apple)) {
    errmsg = "Invalid or unsupported AppleDouble header";
    return false;
  }
  CopyFinderInfo(*apple, *header_block);
  std::int32_t accessed = 0;
  std::int32_t modified = 0;
  if (extra->GetUnixTimes(accessed, modified)) {
    const std::int32_t local = ToSInt32(static_cast<std::uint64_t>(
        modified + kUnixEpochIn1904 + static_cast<std::int64_t>(UTCOffsetInMinutes()) * 60));
    header_block->SetLong(Mac::kCreated, local);
    header_block->SetLong(Mac::kModified, local);
  }
  resource_offset = apple->Long(Apple::kResourceOffset);
  header_block->SetLong(Mac::kResourceLength, apple->Long(Apple::kResourceLength));
  return true;
}

// Succeeds only where the whole member is the header, as a folder's is: of a longer one only the first bytes
// are read, and z_unzip takes it for damaged. Callers know this.
bool ZipEntry::GetMacBinaryHeader(Ref<MemoryBlock>& header_block) {
  header_block = nil;
  Ref<MemoryBlock> block;
  if (!z_unzip(nil, nil, true, true, block)) return false;
  errmsg = String();
  header_block = block;
  return header_block != nil;
}

}  // namespace vantorel
