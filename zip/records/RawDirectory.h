// A central directory as the bytes that it is: every record in full, companions and all, so that it can be
// written again with nothing lost. The engine's own view leaves some things out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zip/records/ZipRecords.h"

namespace vantorel {

// One central record: fixed part, name, extra field, comment.
class RawRecord {
 public:
  explicit RawRecord(std::string_view bytes) : bytes_(bytes) {}

  const std::string& Bytes() const { return bytes_; }
  std::string_view Name() const;
  std::string_view Extra() const;
  std::string_view Comment() const;
  std::uint32_t Flags() const { return Field16(CentralHeader::kFlags); }
  std::uint32_t Crc() const { return Field32(CentralHeader::kCrc); }
  std::uint32_t CompressedSize() const { return Field32(CentralHeader::kCompressedSize); }
  std::uint32_t Size() const { return Field32(CentralHeader::kUncompressedSize); }
  // Of the local header.
  std::uint32_t Offset() const { return Field32(CentralHeader::kLocalHeaderOffset); }
  void SetOffset(std::uint32_t offset) { SetField32(CentralHeader::kLocalHeaderOffset, offset); }
  void SetFlags(std::uint32_t flags) { SetField16(CentralHeader::kFlags, flags); }
  void SetName(std::string_view name);
  void SetExtra(std::string_view extra);
  void SetComment(std::string_view comment);
  // Fields of the fixed part, by their place in CentralHeader.
  std::uint32_t Field16(std::int32_t field) const { return Get16(bytes_, field); }
  std::uint32_t Field32(std::int32_t field) const { return Get32(bytes_, field); }
  void SetField16(std::int32_t field, std::uint32_t value);
  void SetField32(std::int32_t field, std::uint32_t value);

 private:
  std::string bytes_;
};

// Operations on the file raise std::system_error where the system refuses.
struct RawDirectory {
  std::vector<RawRecord> records;
  std::string comment;
  std::uint32_t start = 0;      // where the records begin
  std::uint64_t end = 0;        // behind the end record and its comment
  std::uint32_t announced = 0;  // the count in the end record
  std::uint64_t unknown = 0;    // bytes between the records and the end record that are no Zip64 record

  // Reads the directory that the engine would find. Raises FormatError if it is damaged.
  static RawDirectory Read(int file);
  // The records and the end record, as they stand from `start` on.
  std::string Bytes() const;
  // Writes them there, and cuts the file behind them.
  void Write(int file) const;
};

// A directory where other programs find it too: behind bytes that the offsets do not count, or described by a
// Zip64 end record.
struct FoundDirectory {
  std::vector<RawRecord> records;  // as they stand
  std::string comment;
  std::uint64_t announced = 0;
  std::uint64_t shift = 0;  // what the offsets lack
  bool zip64 = false;

  // Raises FormatError if there is none, or it lies in another file of a split archive; std::system_error.
  static FoundDirectory Find(int file);
};

}  // namespace vantorel
