#include "platform/compress/Crc16.h"

#include <array>
#include <string_view>

#include "platform/base/Exceptions.h"

namespace vantorel {

namespace {
constexpr std::uint16_t kPolynomial = 0x1021;

constexpr std::array<std::uint16_t, 256> MakeTable() {
  std::array<std::uint16_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t sum = byte << 8U;
    for (int bit = 0; bit < 8; ++bit) sum = (sum & 0x8000U) != 0 ? (sum << 1U) ^ kPolynomial : sum << 1U;
    table[byte] = static_cast<std::uint16_t>(sum);
  }
  return table;
}

constexpr std::array<std::uint16_t, 256> kTable = MakeTable();
}  // namespace

std::int32_t Crc16_MemoryBlock(const Ref<MemoryBlock>& bytes, std::int32_t offset, std::int32_t length,
                               std::int32_t crc) {
  if (offset < 0 || length < 0 || offset > bytes->Size() - length) RaiseOutOfBoundsException();
  auto sum = static_cast<std::uint16_t>(crc);
  const auto range = bytes->View().substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
  for (const char c : range) {
    const auto index = static_cast<std::uint8_t>((sum >> 8U) ^ static_cast<std::uint8_t>(c));
    sum = static_cast<std::uint16_t>((sum << 8U) ^ kTable[index]);
  }
  return static_cast<std::int16_t>(sum);
}

}  // namespace vantorel
