#include "tools/forkzip/read/Overlaps.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "zip/records/ExtraRecords.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

struct Extent {
  std::uint32_t begin;
  std::uint64_t end;
  ZipEntry* entry;
};

std::vector<Extent> ExtentsInOrder(const Ref<ZipArchive>& archive) {
  std::vector<Extent> extents;
  const std::int32_t count = archive->EntryCount();
  extents.reserve(static_cast<std::size_t>(count));
  for (std::int32_t i = 1; i <= count; ++i) {
    for (Ref<ZipEntry> entry = archive->Entry(i); entry; entry = entry->appleDoubleEntry) {
      const auto begin = static_cast<std::uint32_t>(entry->HeaderLong(CentralHeader::kLocalHeaderOffset));
      if (begin == Zip64Record::kElsewhere) continue;  // too far back to be read
      extents.push_back(
          {begin, std::uint64_t{begin} + LocalHeader::kSize + CompressedSizeOf(entry), &*entry});
    }
  }
  if (!std::ranges::is_sorted(extents, {}, &Extent::begin)) {
    std::ranges::stable_sort(extents, {}, &Extent::begin);
  }
  return extents;
}

}  // namespace

void RefuseOverlaps(const Ref<ZipArchive>& archive) {
  constexpr std::uint64_t kMostAgain = 1U << 30U;
  std::uint64_t again = 0;
  const std::vector<Extent> extents = ExtentsInOrder(archive);
  for (std::size_t i = 1; i < extents.size(); ++i) {
    const Extent& one = extents[i - 1];
    const Extent& next = extents[i];
    if (next.begin >= one.end) continue;
    const bool same = next.begin == one.begin && next.end == one.end;
    const bool shared = same && (archive->d->isFakeEntry(next.entry->header, -1) ||
                                 archive->d->isFakeEntry(one.entry->header, -1));
    if (shared) again += SizeOf(Ref<ZipEntry>(next.entry));
    if (!shared || again > kMostAgain) {
      throw Failure(ExitCode::kBadArchive, Utf8(next.entry->RawPath()) +
                                               ": its data overlaps another member's, as in a zip bomb; "
                                               "--allow-overlap reads it all the same");
    }
  }
}

}  // namespace vantorel::forkzip
