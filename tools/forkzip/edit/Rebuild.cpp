#include "tools/forkzip/edit/Rebuild.h"

#include <algorithm>
#include <utility>

#include "tools/forkzip/cli/FileBytes.h"
#include "zip/records/MemberExtents.h"

namespace vantorel::forkzip {

namespace {

// Where an extent that began at `begin` now begins.
struct Move {
  std::uint32_t begin;
  std::uint32_t target;
};

// Neighbours go in one copy. Returns the moves, in the order of the file, and the end of what was written.
std::pair<std::vector<Move>, std::uint32_t> CopyExtents(int from, const std::vector<MemberExtent>& extents,
                                                        int to) {
  std::vector<Move> moves;
  std::uint32_t target = 0;
  for (std::size_t i = 0; i < extents.size();) {
    const std::uint32_t begin = extents[i].begin;
    std::uint32_t end = begin;
    for (; i < extents.size() && extents[i].begin == end; ++i) {
      moves.push_back({extents[i].begin, target + (end - begin)});
      end = extents[i].end;
    }
    CopyBytes(from, begin, to, target, end - begin);
    target += end - begin;
  }
  return {std::move(moves), target};
}

}  // namespace

RawDirectory Rebuild(int from, RawDirectory kept, int to) {
  const auto [moves, end] = CopyExtents(from, ExtentsOf(from, kept), to);
  for (RawRecord& record : kept.records) {
    const auto move = std::lower_bound(moves.begin(), moves.end(), record.Offset(),
                                       [](const Move& m, std::uint32_t offset) { return m.begin < offset; });
    record.SetOffset(move->target);
  }
  kept.start = end;
  kept.Write(to);
  return kept;
}

}  // namespace vantorel::forkzip
