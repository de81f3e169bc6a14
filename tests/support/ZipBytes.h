// Archives made byte by byte, so that a test can say exactly what is wrong with one. The builder shares the
// signatures and the CRC with the program, and nothing else.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/compress/Crc32.h"
#include "zip/records/ZipRecords.h"

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
inline std::string Changed(std::string bytes, std::int32_t offset, std::string_view change) {
  Put(bytes, offset, change);
  return bytes;
}
inline std::uint32_t Crc32Of(std::string_view bytes) {
  return static_cast<std::uint32_t>(Crc32OfBytes(bytes, 0));
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
  std::optional<std::uint32_t> local_offset{};
};

// What both headers of a member hold, in the same order.
inline std::string SharedFields(const ZipMember& m, std::uint32_t flags, const std::string& extra) {
  const auto length = static_cast<std::uint32_t>(m.data.size());
  return Le16(m.version_needed) + Le16(flags) + Le16(m.method) + Le16(m.time) + Le16(m.date) +
         Le32(m.crc.value_or(Crc32Of(m.data))) + Le32(m.compressed_size.value_or(length)) +
         Le32(m.uncompressed_size.value_or(length)) + Le16(static_cast<std::uint32_t>(m.name.size())) +
         Le16(static_cast<std::uint32_t>(extra.size()));
}

inline std::string LocalRecord(const ZipMember& m) {
  return Le32(m.local_magic.value_or(LocalHeader::kMagic)) +
         SharedFields(m, m.local_flags.value_or(m.flags), m.local_extra) + m.name + m.local_extra + m.data;
}

inline std::string CentralRecord(const ZipMember& m, std::uint32_t local_offset) {
  constexpr std::uint32_t kFirstDisk = 0;
  return Le32(CentralHeader::kMagic) + Le16(20 | m.os_made_by << 8) +
         SharedFields(m, m.flags, m.central_extra) + Le16(static_cast<std::uint32_t>(m.comment.size())) +
         Le16(kFirstDisk) + Le16(m.internal_attributes) + Le32(m.external_attributes) +
         Le32(m.local_offset.value_or(local_offset)) + m.name + m.central_extra + m.comment;
}

// A whole archive.
inline std::string MakeZip(const std::vector<ZipMember>& members, std::string_view comment = "") {
  std::string file;
  std::string directory;
  for (const ZipMember& m : members) {
    directory += CentralRecord(m, static_cast<std::uint32_t>(file.size()));
    file += LocalRecord(m);
  }
  const std::string disks(4, '\0');
  const std::string count = Le16(static_cast<std::uint32_t>(members.size()));
  return file + directory + Le32(EndRecord::kMagic) + disks + count + count +
         Le32(static_cast<std::uint32_t>(directory.size())) + Le32(static_cast<std::uint32_t>(file.size())) +
         Le16(static_cast<std::uint32_t>(comment.size())) + std::string(comment);
}

}  // namespace vantorel::testing
