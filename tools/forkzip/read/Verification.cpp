#include "tools/forkzip/read/Verification.h"

#include <array>
#include <cstdio>
#include <utility>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/ByteSinks.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

std::string FaultOf(const Ref<ZipEntry>& entry) {
  std::string fault = FaultOfStoredSum(entry);
  const bool summed = entry->CompressionMethod() == ZipMethod::kStored && !entry->thisIsTheAppleDoubleEntry;
  if (fault.empty() && !summed && !entry->Verify()) fault = Utf8(entry->ErrorMessage());
  if (fault.empty() && entry->appleDoubleEntry) {
    fault = FaultOf(entry->appleDoubleEntry);
    if (!fault.empty()) fault = "its companion: " + fault;
  }
  return fault;
}

std::string FaultOfStoredSum(const Ref<ZipEntry>& entry) {
  if (entry->CompressionMethod() != ZipMethod::kStored) return {};
  const auto sum = New<SummingSink>();
  Ref<MemoryBlock> header_block;
  // A companion's header would not reach the sink.
  const bool companion = std::exchange(entry->thisIsTheAppleDoubleEntry, false);
  const bool whole = entry->z_unzip(sum, nil, false, false, header_block);
  entry->thisIsTheAppleDoubleEntry = companion;
  if (!whole) return Utf8(entry->ErrorMessage());
  return sum->Crc() == CrcOf(entry) ? std::string() : WrongSum(entry, sum->Crc());
}

std::string WrongSum(const Ref<ZipEntry>& entry, std::uint32_t found) {
  std::array<char, 40> sums{};
  std::snprintf(sums.data(), sums.size(), "%08x instead of %08x", found, CrcOf(entry));
  return std::string("the checksum of its data is wrong: ") + sums.data();
}

}  // namespace vantorel::forkzip
