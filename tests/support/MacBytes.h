// MacBinary and AppleDouble bytes made field by field, so that a test can say exactly what is wrong with
// them. Where the fields lie is said in numbers, as the published formats have them.
#pragma once

#include "platform/compress/Crc16.h"
#include "tests/support/ZipBytes.h"

namespace vantorel::testing {

inline std::string BigEndian(std::uint32_t value, int size) {
  std::string bytes;
  for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}
// Gives a MacBinary header its sum.
inline void Seal(std::string& header) {
  const auto block = New<MemoryBlock>(128);
  block->SetStringValue(0, 128, String::Bytes(header));
  Put(header, 124, BigEndian(static_cast<std::uint32_t>(Crc16_MemoryBlock(block, 0, 124, 0)), 2));
}

// A MacBinary III header; level II has no signature, level I no sum either.
inline std::string MacBinaryBytes(std::string_view name, std::uint32_t data_length, std::uint32_t rsrc_length,
                                  int level = 3) {
  std::string header(128, '\0');
  Put(header, 1, BigEndian(static_cast<std::uint32_t>(name.size()), 1) + std::string(name));
  Put(header, 65, "TEXTttxt");
  Put(header, 73, "\xFF");
  Put(header, 81, "\x01");
  const std::string date = BigEndian(0xC0000000, 4);
  Put(header, 83, BigEndian(data_length, 4) + BigEndian(rsrc_length, 4) + date + date);
  Put(header, 101, "\x80");
  if (level >= 3) Put(header, 102, "mBIN");
  Put(header, 123, BigEndian(level > 3 ? 131 : 129, 1));
  if (level >= 2) Seal(header);
  return header;
}
inline std::string FilledUp(std::string fork) {
  fork.resize((fork.size() + 127) / 128 * 128);
  return fork;
}
inline std::string MacBinaryMember(std::string_view name, const std::string& data, const std::string& rsrc,
                                   int level = 3) {
  return MacBinaryBytes(name, static_cast<std::uint32_t>(data.size()),
                        static_cast<std::uint32_t>(rsrc.size()), level) +
         FilledUp(data) + FilledUp(rsrc);
}

// A companion's header as Mac tools write it, with the resource fork behind it.
inline std::string AppleDoubleBytes(const std::string& rsrc, std::uint32_t finder_info_offset = 50) {
  std::string header =
      BigEndian(0x00051607, 4) + BigEndian(0x00020000, 4) + "Mac OS X        " + BigEndian(2, 2);
  header += BigEndian(9, 4) + BigEndian(finder_info_offset, 4) + BigEndian(32, 4);
  header += BigEndian(2, 4) + BigEndian(82, 4) + BigEndian(static_cast<std::uint32_t>(rsrc.size()), 4);
  return header + "PICTogle" + std::string("\x04\x80", 2) + std::string(14, '\0') +
         std::string("\x81\x02", 2) + std::string(6, '\0') + rsrc;
}

}  // namespace vantorel::testing
