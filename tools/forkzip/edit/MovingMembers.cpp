#include "tools/forkzip/edit/MovingMembers.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Interruption.h"

namespace vantorel::forkzip {

namespace {

constexpr std::uint64_t kPiece = 1U << 20U;

// Moves `count` bytes of a file from `from` up to `to`, which lies behind it.
void MoveUp(int file, std::uint64_t from, std::uint64_t to, std::uint64_t count) {
  while (count != 0) {
    const std::uint64_t part = std::min(count, kPiece);
    count -= part;
    WriteAt(file, to + count, ReadAt(file, from + count, part));
  }
}

// Moves `count` bytes of a file from `from` down to `to`, which lies in front of it. If that fails, what was
// at `from` is there again.
void MoveDown(int file, std::uint64_t from, std::uint64_t to, std::uint64_t count) {
  std::uint64_t moved = 0;
  std::string piece;
  try {
    for (; moved != count; moved += piece.size()) {
      piece = "";
      piece = ReadAt(file, from + moved, std::min(count - moved, kPiece));
      WriteAt(file, to + moved, piece);
    }
  } catch (...) {
    // The two places may overlap: put back the piece that did not arrive, and what is overwritten in front.
    WriteAt(file, from + moved, piece);
    const std::uint64_t overwritten = std::min(to + moved + piece.size(), from + moved);
    if (overwritten > from) MoveUp(file, to, from, overwritten - from);
    throw;
  }
}

}  // namespace

std::uint32_t MoveTogether(int from, const std::vector<MemberExtent>& extents, int to,
                           RawDirectory& directory) {
  std::vector<RawRecord*> in_file_order;
  in_file_order.reserve(directory.records.size());
  for (RawRecord& record : directory.records) in_file_order.push_back(&record);
  std::ranges::stable_sort(in_file_order, {}, &RawRecord::Offset);
  auto record = in_file_order.begin();
  std::uint32_t target = 0;
  bool moving = false;
  for (auto extent = extents.begin(); extent != extents.end();) {
    const std::uint32_t begin = extent->begin;
    std::uint32_t end = begin;  // neighbours move as one
    for (; extent != extents.end() && extent->begin == end; ++extent) end = extent->end;
    if (from != to) {
      CopyBytes(from, begin, to, target, end - begin);
    } else if (begin != target) {
      // Holes in the file take room once they are written to. Whether there is any shows before the first
      // move.
      if (!std::exchange(moving, true)) FillHoles(to, target, directory.start - target);
      MoveDown(to, begin, target, end - begin);
    }
    for (; record != in_file_order.end() && (*record)->Offset() < end; ++record) {
      (*record)->SetOffset((*record)->Offset() - begin + target);
    }
    target += end - begin;
  }
  return target;
}

}  // namespace vantorel::forkzip
