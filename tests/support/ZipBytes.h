// Archives made byte by byte, so that a test can say exactly what is wrong with one. The builder shares the
// table of offsets with the program and nothing else.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zip/archive/ZipRecords.h"

namespace vantorel::testing {

inline std::string Le16(std::uint32_t value) {
  return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF)};
}
inline std::string Le32(std::uint32_t value) {
  return Le16(value & 0xFFFF) + Le16(value >> 16);
}

// Overwrites bytes of a record at an offset from the tables.
inline void Put(std::string& record, std::int32_t offset, std::string_view bytes) {
  record.replace(static_cast<std::size_t>(offset), bytes.size(), bytes);
}
inline void Put16(std::string& record, std::int32_t offset, std::uint32_t value) {
  Put(record, offset, Le16(value));
}
inline void Put32(std::string& record, std::int32_t offset, std::uint32_t value) {
  Put(record, offset, Le32(value));
}

inline std::uint32_t PlainCrc32(std::string_view bytes) {
  std::uint32_t crc = 0xFFFFFFFFU;
  for (const char c : bytes) {
    crc ^= static_cast<std::uint8_t>(c);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320U : 0);
  }
  return ~crc;
}

// An extra-field record.
inline std::string ExtraRecordBytes(std::uint32_t id, std::string_view data) {
  return Le16(id) + Le16(static_cast<std::uint32_t>(data.size())) + std::string(data);
}
// The central form of the Unix type-1 record, as Mac tools write it.
inline std::string UnixExtra(std::uint32_t access_time, std::uint32_t modification_time) {
  return ExtraRecordBytes(0x5855, Le32(access_time) + Le32(modification_time));
}

// A member. What is not set is made to fit; what is set goes in as it is, however wrong.
struct ZipMember {
  std::string name;
  std::string data{};  // as it stands in the archive: deflate it first for method 8
  std::string central_extra{};
  std::string local_extra{};
  std::string comment{};
  std::uint32_t method = 0;
  std::uint32_t flags = 0;
  std::uint32_t version_needed = 20;
  std::uint32_t os_made_by = 3;
  std::uint32_t time = 0;
  std::uint32_t date = 0;
  std::uint32_t internal_attributes = 0;
  std::uint32_t external_attributes = 0;
  std::optional<std::uint32_t> crc{};  // of `data`, if not given
  std::optional<std::uint32_t> compressed_size{};
  std::optional<std::uint32_t> uncompressed_size{};
  std::optional<std::uint32_t> local_flags{};
  std::optional<std::uint32_t> local_magic{};
  std::optional<std::uint32_t> central_magic{};
  std::optional<std::uint32_t> local_offset{};
};

// The end record and what surrounds it, by the same rule.
struct ZipEnd {
  std::string comment{};
  std::optional<std::uint32_t> disk{};
  std::optional<std::uint32_t> directory_disk{};
  std::optional<std::uint32_t> entries_on_disk{};
  std::optional<std::uint32_t> entries_total{};
  std::optional<std::uint32_t> directory_size{};
  std::optional<std::uint32_t> directory_offset{};
  std::string tail{};  // behind the comment
};

inline std::string LocalRecord(const ZipMember& m) {
  std::string r(LocalHeader::kSize, '\0');
  const auto length = static_cast<std::uint32_t>(m.data.size());
  Put32(r, LocalHeader::kSignature, m.local_magic.value_or(LocalHeader::kMagic));
  Put16(r, LocalHeader::kVersionNeeded, m.version_needed);
  Put16(r, LocalHeader::kFlags, m.local_flags.value_or(m.flags));
  Put16(r, LocalHeader::kMethod, m.method);
  Put16(r, LocalHeader::kTime, m.time);
  Put16(r, LocalHeader::kDate, m.date);
  Put32(r, LocalHeader::kCrc, m.crc.value_or(PlainCrc32(m.data)));
  Put32(r, LocalHeader::kCompressedSize, m.compressed_size.value_or(length));
  Put32(r, LocalHeader::kUncompressedSize, m.uncompressed_size.value_or(length));
  Put16(r, LocalHeader::kNameLength, static_cast<std::uint32_t>(m.name.size()));
  Put16(r, LocalHeader::kExtraLength, static_cast<std::uint32_t>(m.local_extra.size()));
  return r + m.name + m.local_extra + m.data;
}

inline std::string CentralRecord(const ZipMember& m, std::uint32_t local_offset) {
  std::string r(CentralHeader::kSize, '\0');
  const auto length = static_cast<std::uint32_t>(m.data.size());
  Put32(r, CentralHeader::kSignature, m.central_magic.value_or(CentralHeader::kMagic));
  Put16(r, CentralHeader::kVersionMadeBy, 20 | m.os_made_by << 8);
  Put16(r, CentralHeader::kVersionNeeded, m.version_needed);
  Put16(r, CentralHeader::kFlags, m.flags);
  Put16(r, CentralHeader::kMethod, m.method);
  Put16(r, CentralHeader::kTime, m.time);
  Put16(r, CentralHeader::kDate, m.date);
  Put32(r, CentralHeader::kCrc, m.crc.value_or(PlainCrc32(m.data)));
  Put32(r, CentralHeader::kCompressedSize, m.compressed_size.value_or(length));
  Put32(r, CentralHeader::kUncompressedSize, m.uncompressed_size.value_or(length));
  Put16(r, CentralHeader::kNameLength, static_cast<std::uint32_t>(m.name.size()));
  Put16(r, CentralHeader::kExtraLength, static_cast<std::uint32_t>(m.central_extra.size()));
  Put16(r, CentralHeader::kCommentLength, static_cast<std::uint32_t>(m.comment.size()));
  Put16(r, CentralHeader::kInternalAttributes, m.internal_attributes);
  Put32(r, CentralHeader::kExternalAttributes, m.external_attributes);
  Put32(r, CentralHeader::kLocalHeaderOffset, m.local_offset.value_or(local_offset));
  return r + m.name + m.central_extra + m.comment;
}

inline std::string EndBytes(const ZipEnd& end, std::size_t entries, std::size_t directory_size,
                            std::size_t directory_offset) {
  std::string r(EndRecord::kSize, '\0');
  const auto count = static_cast<std::uint32_t>(entries);
  Put32(r, EndRecord::kSignature, EndRecord::kMagic);
  Put16(r, EndRecord::kDiskNumber, end.disk.value_or(0));
  Put16(r, EndRecord::kDirectoryDisk, end.directory_disk.value_or(0));
  Put16(r, EndRecord::kEntriesOnDisk, end.entries_on_disk.value_or(count));
  Put16(r, EndRecord::kEntriesTotal, end.entries_total.value_or(end.entries_on_disk.value_or(count)));
  Put32(r, EndRecord::kDirectorySize,
        end.directory_size.value_or(static_cast<std::uint32_t>(directory_size)));
  Put32(r, EndRecord::kDirectoryOffset,
        end.directory_offset.value_or(static_cast<std::uint32_t>(directory_offset)));
  Put16(r, EndRecord::kCommentLength, static_cast<std::uint32_t>(end.comment.size()));
  return r + end.comment + end.tail;
}

// A whole archive.
inline std::string MakeZip(const std::vector<ZipMember>& members, const ZipEnd& end = {}) {
  std::string file;
  std::string directory;
  for (const ZipMember& m : members) {
    directory += CentralRecord(m, static_cast<std::uint32_t>(file.size()));
    file += LocalRecord(m);
  }
  return file + directory + EndBytes(end, members.size(), directory.size(), file.size());
}

}  // namespace vantorel::testing
