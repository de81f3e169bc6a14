#include "tools/forkzip/add/FilePacker.h"

#include <utility>

#include "tools/forkzip/add/PackedKind.h"

namespace vantorel::forkzip {

DeflateWays FilePacker::WaysFor(int file, std::uint64_t size) const {
  DeflateWays ways = ways_;
  if (ways.may_store && GainsNothing(file, size)) ways.level = 0;
  return ways;
}

Ref<FileSource> FilePacker::SourceOf(const PlannedItem& item) {
  auto source = New<FileSource>(item.Source(), item.size);
  if (ways_.may_store && source->Open()) next_ = WaysFor(source->File(), item.size);
  return source;
}

std::unique_ptr<MemberDeflater> FilePacker::NewDeflater() {
  return vantorel::NewDeflater(std::exchange(next_, ways_));
}

}  // namespace vantorel::forkzip
