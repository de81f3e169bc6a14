#include "tools/forkzip/read/Verification.h"

#include <string>
#include <utility>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/read/ByteSinks.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

// What the disk does not give looks like damage to the engine. Members that came out well are well, and what
// is wrong with the next one shows by a stream that has met no fault.
[[noreturn]] void Fail(const Ref<ZipEntry>& entry, const std::string& fault) {
  Ref<BinaryStream>& stream = entry->d->zipStream;
  if (stream && stream->ReadError()) {
    const int error = -stream->ReadErrorCode();
    stream = StreamOver(stream->Descriptor(), false);
    throw SystemFailure("cannot be read", error);
  }
  throw Failure(ExitCode::kBadArchive, fault);
}

bool IsStored(const Ref<ZipEntry>& entry) {
  return entry->CompressionMethod() == ZipMethod::kStored;
}

// The sum of a member's data as it stands.
std::uint32_t SumOf(const Ref<ZipEntry>& entry) {
  const auto sum = New<SummingSink>();
  Ref<MemoryBlock> header_block;
  // A companion's header would not reach the sink.
  const bool companion = std::exchange(entry->thisIsTheAppleDoubleEntry, false);
  const bool whole = entry->z_unzip(sum, nil, false, false, header_block);
  entry->thisIsTheAppleDoubleEntry = companion;
  if (!whole) Fail(entry, Utf8(entry->ErrorMessage()));
  return sum->Crc();
}

void CheckSum(const Ref<ZipEntry>& entry, std::uint32_t found) {
  if (found == CrcOf(entry)) return;
  Fail(entry, Formatted("the checksum of its data is wrong: %08x instead of %08x", found, CrcOf(entry)));
}

// A member's data without its companion's.
void VerifyAlone(const Ref<ZipEntry>& entry) {
  const bool summed = IsStored(entry) && !entry->thisIsTheAppleDoubleEntry;
  CheckStreamed(entry, summed || entry->Verify());
}

// What `check` finds wrong with the companions is told as theirs. A forged archive holds long chains of them.
template <typename Check>
void ForCompanions(const Ref<ZipEntry>& entry, Check check) {
  try {
    for (Ref<ZipEntry> each = entry->appleDoubleEntry; each; each = each->appleDoubleEntry) check(each);
  } catch (const Failure& failure) {
    throw Failure(failure.Code(), std::string("its companion: ") + failure.what());
  }
}

}  // namespace

void Verify(const Ref<ZipEntry>& entry) {
  RefuseIfNotUnpacked(entry);
  VerifyAlone(entry);
  ForCompanions(entry, VerifyAlone);
}

void CheckStreamed(const Ref<ZipEntry>& entry, bool good, std::optional<std::uint32_t> sum) {
  if (!good) {
    const Ref<ZipEntry>& companion = entry->appleDoubleEntry;
    const bool is_companions = companion && !companion->ErrorMessage().empty();
    Fail(entry, (is_companions ? "its companion: " : "") + Utf8(entry->ErrorMessage()));
  }
  const auto stated = [&] { return Count(SizeOf(entry), "byte") + " that it states"; };
  if (entry->dataEnd == DataEnd::kGoesOn) Fail(entry, "it holds more data than the " + stated());
  if (entry->dataEnd == DataEnd::kFaulty) {
    if (SizeOf(entry) == 0) CheckSum(entry, 0);
    Fail(entry, "its data does not end soundly behind the " + stated());
  }
  if (!IsStored(entry)) return;
  if (CompressedSizeOf(entry) != SizeOf(entry)) Fail(entry, "it is stored, but not in the " + stated());
  CheckSum(entry, sum ? *sum : SumOf(entry));
}

void CheckCompanions(const Ref<ZipEntry>& entry) {
  ForCompanions(entry, [](const Ref<ZipEntry>& companion) { CheckStreamed(companion, true); });
}

}  // namespace vantorel::forkzip
