// The table of entries of an AppleDouble file, read with distrust: nothing in it need be true of the file.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "platform/files/BinaryStream.h"

namespace vantorel {

struct AppleDoubleEntry {
  std::uint32_t id = 0;
  std::uint32_t offset = 0;
  std::uint32_t length = 0;

  std::uint64_t End() const { return std::uint64_t{offset} + length; }
};

class AppleDoubleTable {
 public:
  // The table of a new file: a Finder info of 32 bytes, then an empty resource fork.
  AppleDoubleTable();
  // The table of an existing file, with what lies beyond the end of the file cut off. Nothing if the file is
  // not AppleDouble of version 2 or ends within its table.
  static std::optional<AppleDoubleTable> Read(BinaryStream& file);

  std::vector<AppleDoubleEntry>& Entries() { return entries_; }
  // The first entry of that kind if its data begins behind the table; nullptr otherwise, or for a Finder info
  // that is too short to be one.
  AppleDoubleEntry* FinderInfo();
  AppleDoubleEntry* Fork();
  // Size of header and table.
  std::uint32_t Size() const;
  // Where the table and the data of all other entries end.
  std::uint64_t EndOfOthers(const AppleDoubleEntry& entry) const;

  // Writes header and table to the front of a file.
  void Write(BinaryStream& file) const;
  // Writes an entry of this table in its place there.
  void WriteEntry(BinaryStream& file, const AppleDoubleEntry& entry) const;

 private:
  AppleDoubleEntry* Find(std::uint32_t id);
  explicit AppleDoubleTable(std::vector<AppleDoubleEntry> entries) : entries_(std::move(entries)) {}

  std::vector<AppleDoubleEntry> entries_;
};

}  // namespace vantorel
