#include "zip/records/MemberExtents.h"

#include <algorithm>

#include "platform/base/ByteOrder.h"
#include "platform/files/FileCalls.h"
#include "zip/records/FormatError.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

[[noreturn]] void Fail(const RawRecord& record, const char* what) {
  throw FormatError(std::string(record.Name()) + ": " + what);
}

std::uint64_t DescriptorSize(int file, std::uint64_t at, std::uint64_t limit) {
  const bool is_signed = limit - at >= 4 && Get32(ReadAt(file, at, 4), 0) == DataDescriptor::kMagic;
  return std::min<std::uint64_t>(is_signed ? DataDescriptor::kSignedSize : DataDescriptor::kSize, limit - at);
}

// Local headers, asked for in the order of the file. Those of small members lie close together, and one read
// brings many.
class LocalHeaders {
 public:
  LocalHeaders(int file, std::uint64_t limit) : file_(file), limit_(limit) {}

  // REQUIRES: the header ends in front of the limit.
  std::string_view At(std::uint64_t begin) {
    constexpr std::uint64_t kPiece = 4096;
    if (begin < begin_ || begin + LocalHeader::kSize > begin_ + bytes_.size()) {
      bytes_ = ReadAt(file_, begin, std::min(kPiece, limit_ - begin));
      begin_ = begin;
    }
    return std::string_view(bytes_).substr(begin - begin_, LocalHeader::kSize);
  }

 private:
  int file_;
  std::uint64_t limit_;
  std::uint64_t begin_ = 0;
  std::string bytes_;
};

MemberExtent ExtentOf(int file, LocalHeaders& headers, const RawRecord& record,
                      std::uint32_t directory_start) {
  const std::uint64_t begin = record.Offset();
  if (begin + LocalHeader::kSize > directory_start)
    Fail(record, "its data does not lie in front of the directory");
  const std::string_view header = headers.At(begin);
  if (Get32(header, LocalHeader::kSignature) != LocalHeader::kMagic)
    Fail(record, "its local header is damaged");
  std::uint64_t end = begin + LocalHeader::kSize + Get16(header, LocalHeader::kNameLength) +
                      Get16(header, LocalHeader::kExtraLength) + record.CompressedSize();
  if (end > directory_start) Fail(record, "its data reaches into the directory");
  const bool has_descriptor = (Get16(header, LocalHeader::kFlags) & ZipFlags::kDataDescriptor) != 0;
  if (has_descriptor) end += DescriptorSize(file, end, directory_start);
  return {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end), has_descriptor};
}

}  // namespace

std::vector<MemberExtent> ExtentsOf(int file, const RawDirectory& directory) {
  std::vector<const RawRecord*> in_file_order;
  for (const RawRecord& record : directory.records) in_file_order.push_back(&record);
  std::stable_sort(in_file_order.begin(), in_file_order.end(),
                   [](const RawRecord* a, const RawRecord* b) { return a->Offset() < b->Offset(); });
  std::vector<MemberExtent> extents;
  LocalHeaders headers(file, directory.start);
  for (const RawRecord* record : in_file_order) {
    const MemberExtent extent = ExtentOf(file, headers, *record, directory.start);
    if (!extents.empty() && extents.back().begin == extent.begin) {
      extents.back().end = std::max(extents.back().end, extent.end);
      continue;
    }
    if (!extents.empty() && extents.back().end > extent.begin)
      Fail(*record, "its data overlaps another member's");
    extents.push_back(extent);
  }
  return extents;
}

std::uint64_t UnusedBytes(const RawDirectory& directory, const std::vector<MemberExtent>& extents) {
  std::uint64_t unused = directory.start;
  for (const MemberExtent& extent : extents) unused -= extent.end - extent.begin;
  return unused;
}

}  // namespace vantorel
