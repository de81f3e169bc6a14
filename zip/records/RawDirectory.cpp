#include "zip/records/RawDirectory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <system_error>

#include "platform/base/ByteOrder.h"
#include "platform/files/FileCalls.h"
#include "zip/records/FormatError.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

constexpr std::size_t kLongestComment = 65535;

[[noreturn]] void FailAsCorrupt() {
  throw FormatError("the directory is damaged");
}

// An end record with what follows it in the file.
struct FoundEnd {
  std::uint64_t at = 0;
  std::string bytes;

  std::string_view Comment() const {
    return std::string_view(bytes).substr(EndRecord::kSize, Get16(bytes, EndRecord::kCommentLength));
  }
};

// The last one in the file, which may begin in its last bytes only.
FoundEnd FindEnd(int file) {
  struct stat status {};
  fstat(file, &status);
  const auto length = static_cast<std::uint64_t>(status.st_size);
  const std::uint64_t count = std::min<std::uint64_t>(length, EndRecord::kSize + kLongestComment + 4);
  const std::string tail = ReadAt(file, length - count, count);
  const std::size_t at = tail.size() < EndRecord::kSize
                             ? std::string::npos
                             : tail.rfind(LittleEndian32(EndRecord::kMagic), tail.size() - EndRecord::kSize);
  if (at == std::string::npos) {
    // The first part begins with this mark; the directory is in the last one.
    if (length >= 4 && Get32(ReadAt(file, 0, 4), 0) == DataDescriptor::kMagic) throw SplitArchiveError();
    FailAsCorrupt();
  }
  return {length - tail.size() + at, tail.substr(at)};
}

// Whether `count` bytes at `at` are nothing but a Zip64 end record and its locator, and tell of the same
// directory.
bool IsZip64End(int file, std::uint64_t at, std::uint64_t count, std::uint32_t start, std::uint32_t size) {
  if (count < Zip64EndRecord::kSize + Zip64Locator::kSize) return false;
  const std::string record = ReadAt(file, at, Zip64EndRecord::kSize);
  const std::string locator = ReadAt(file, at + count - Zip64Locator::kSize, Zip64Locator::kSize);
  return Get32(record, 0) == Zip64EndRecord::kMagic && Get32(locator, 0) == Zip64Locator::kMagic &&
         Get64(record, Zip64EndRecord::kSizeOfRest) == count - Zip64Locator::kSize - Zip64EndRecord::kRest &&
         Get64(record, Zip64EndRecord::kDirectorySize) == size &&
         Get64(record, Zip64EndRecord::kDirectoryOffset) == start;
}

// Cuts the first record off `bytes`.
std::string_view TakeRecord(std::string_view& bytes) {
  if (bytes.size() < CentralHeader::kSize ||
      Get32(bytes, CentralHeader::kSignature) != CentralHeader::kMagic) {
    FailAsCorrupt();
  }
  const std::size_t size = CentralRecordSize(bytes);
  if (bytes.size() < size) FailAsCorrupt();
  const std::string_view record = bytes.substr(0, size);
  bytes.remove_prefix(size);
  return record;
}

std::vector<RawRecord> ReadRecords(int file, std::uint64_t start, std::uint64_t size) {
  std::vector<RawRecord> records;
  const std::string bytes = ReadAt(file, start, size);
  for (std::string_view rest = bytes; !rest.empty();) records.emplace_back(TakeRecord(rest));
  return records;
}

// What an end record tells of its directory, and where that ends at the latest.
struct Place {
  std::uint64_t end = 0;
  std::uint64_t size = 0;
  std::uint64_t stated_start = 0;
  std::uint64_t count = 0;
};

// The Zip64 end record that belongs to the end record at `end`. Its locator does not count what stands in
// front of the archive either; without an extensible part it stands right in front of the locator.
std::optional<Place> FindZip64(int file, std::uint64_t end) {
  constexpr std::uint64_t kBoth = std::uint64_t{Zip64EndRecord::kSize} + Zip64Locator::kSize;
  if (end < kBoth) return std::nullopt;
  const std::string locator = ReadAt(file, end - Zip64Locator::kSize, Zip64Locator::kSize);
  if (Get32(locator, 0) != Zip64Locator::kMagic) return std::nullopt;
  for (const std::uint64_t at : {Get64(locator, Zip64Locator::kRecordOffset), end - kBoth}) {
    if (at > end - kBoth) continue;
    const std::string record = ReadAt(file, at, Zip64EndRecord::kSize);
    if (Get32(record, 0) != Zip64EndRecord::kMagic) continue;
    return Place{at, Get64(record, Zip64EndRecord::kDirectorySize),
                 Get64(record, Zip64EndRecord::kDirectoryOffset),
                 Get64(record, Zip64EndRecord::kEntriesTotal)};
  }
  FailAsCorrupt();
}

Place PlaceIn(const FoundEnd& end) {
  const std::string& record = end.bytes;
  if (Get16(record, EndRecord::kDiskNumber) != 0 || Get16(record, EndRecord::kDirectoryDisk) != 0 ||
      Get16(record, EndRecord::kEntriesOnDisk) != Get16(record, EndRecord::kEntriesTotal)) {
    throw SplitArchiveError();
  }
  return {end.at, Get32(record, EndRecord::kDirectorySize), Get32(record, EndRecord::kDirectoryOffset),
          Get16(record, EndRecord::kEntriesTotal)};
}

}  // namespace

std::string_view RawRecord::Name() const {
  return std::string_view(bytes_).substr(CentralHeader::kSize, Field16(CentralHeader::kNameLength));
}
std::string_view RawRecord::Extra() const {
  return std::string_view(bytes_).substr(CentralHeader::kSize + Name().size(),
                                         Field16(CentralHeader::kExtraLength));
}
std::string_view RawRecord::Comment() const {
  return std::string_view(bytes_).substr(bytes_.size() - Field16(CentralHeader::kCommentLength));
}
void RawRecord::SetName(std::string_view name) {
  bytes_.replace(CentralHeader::kSize, Name().size(), name);
  SetField16(CentralHeader::kNameLength, static_cast<std::uint32_t>(name.size()));
}
void RawRecord::SetExtra(std::string_view extra) {
  bytes_.replace(CentralHeader::kSize + Name().size(), Extra().size(), extra);
  SetField16(CentralHeader::kExtraLength, static_cast<std::uint32_t>(extra.size()));
}
void RawRecord::SetComment(std::string_view comment) {
  bytes_.replace(bytes_.size() - Comment().size(), Comment().size(), comment);
  SetField16(CentralHeader::kCommentLength, static_cast<std::uint32_t>(comment.size()));
}
void RawRecord::SetField16(std::int32_t field, std::uint32_t value) {
  bytes_.replace(static_cast<std::size_t>(field), 2, LittleEndian16(value));
}
void RawRecord::SetField32(std::int32_t field, std::uint32_t value) {
  bytes_.replace(static_cast<std::size_t>(field), 4, LittleEndian32(value));
}

RawDirectory RawDirectory::Read(int file) {
  const FoundEnd end = FindEnd(file);
  RawDirectory directory;
  directory.comment = end.Comment();
  directory.end = end.at + EndRecord::kSize + directory.comment.size();
  directory.start = Get32(end.bytes, EndRecord::kDirectoryOffset);
  directory.announced = Get16(end.bytes, EndRecord::kEntriesTotal);
  const std::uint32_t size = Get32(end.bytes, EndRecord::kDirectorySize);
  const std::uint64_t records_end = std::uint64_t{directory.start} + size;
  if (records_end > end.at) FailAsCorrupt();
  const std::uint64_t between = end.at - records_end;
  const bool known = IsZip64End(file, records_end, between, directory.start, size);
  directory.unknown = known ? 0 : between;
  directory.records = ReadRecords(file, directory.start, size);
  return directory;
}

FoundDirectory FoundDirectory::Find(int file) {
  const FoundEnd end = FindEnd(file);
  const std::optional<Place> zip64 = FindZip64(file, end.at);
  const Place place = zip64 ? *zip64 : PlaceIn(end);
  if (place.size > place.end) FailAsCorrupt();
  const std::uint64_t start = place.end - place.size;
  if (place.stated_start > start) FailAsCorrupt();
  return {ReadRecords(file, start, place.size), std::string(end.Comment()), place.count,
          start - place.stated_start, zip64.has_value()};
}

std::string RawDirectory::Bytes() const {
  std::string bytes;
  for (const RawRecord& record : records) bytes += record.Bytes();
  const auto size = static_cast<std::uint32_t>(bytes.size());
  const auto count = static_cast<std::uint32_t>(records.size());
  bytes += LittleEndian32(EndRecord::kMagic) + LittleEndian16(0) + LittleEndian16(0);
  bytes += LittleEndian16(count) + LittleEndian16(count) + LittleEndian32(size) + LittleEndian32(start);
  return bytes + LittleEndian16(static_cast<std::uint32_t>(comment.size())) + comment;
}

void RawDirectory::Write(int file) const {
  const std::string bytes = Bytes();
  WriteAt(file, start, bytes);
  if (ftruncate(file, static_cast<off_t>(start + bytes.size())) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot be written");
  }
}

}  // namespace vantorel
