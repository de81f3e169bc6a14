// The sort of Compact's two working lists by offset.
#include <algorithm>
#include <bit>
#include <utility>

#include "platform/run/BackgroundTask.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel {

namespace {

// Sorts [low, high] in place, whatever its order, in n log n steps.
void HeapSort(ZipArchive& archive, std::int32_t low, std::int32_t high) {
  const auto sink = [&archive, low](std::int32_t root, std::int32_t count) {
    for (std::int32_t child = 2 * root + 1; child < count; child = 2 * root + 1) {
      if (child + 1 < count && archive.z_Compare(low + child, low + child + 1) < 0) ++child;
      if (archive.z_Compare(low + root, low + child) > 0) return;
      archive.z_Swap(low + root, low + child);
      root = child;
      RuntimeBackgroundTask();
    }
  };
  const std::int32_t count = high - low + 1;
  for (std::int32_t root = count / 2 - 1; root >= 0; --root) sink(root, count);
  for (std::int32_t last = count - 1; last > 0; --last) {
    archive.z_Swap(low, low + last);
    sink(0, last);
  }
}

// Quicksort with a limit on lopsided splits: many members at one offset, or an order made for the purpose,
// would otherwise cost quadratic time. The smaller part is the one recursed into, so that the stack stays
// low.
void SortRange(ZipArchive& archive, std::int32_t low, std::int32_t high, int splits_left) {
  while (low < high) {
    if (splits_left-- == 0) {
      HeapSort(archive, low, high);
      return;
    }
    const std::int32_t split = archive.z_partition(low, high);
    if (split - low < high - split) {
      SortRange(archive, low, split, splits_left);
      low = split + 1;
    } else {
      SortRange(archive, split + 1, high, splits_left);
      high = split;
    }
    RuntimeBackgroundTask();
  }
}

}  // namespace

// Never equal: members at one offset may come in either order, and stand side by side.
std::int32_t ZipArchive::z_Compare(std::int32_t a, std::int32_t b) {
  return compactOffset[static_cast<std::size_t>(a)] < compactOffset[static_cast<std::size_t>(b)] ? -1 : 1;
}

void ZipArchive::z_Swap(std::int32_t a, std::int32_t b) {
  std::swap(compactEntries[static_cast<std::size_t>(a)], compactEntries[static_cast<std::size_t>(b)]);
  std::swap(compactOffset[static_cast<std::size_t>(a)], compactOffset[static_cast<std::size_t>(b)]);
}

// Hoare's partition around the middle element, with an eye on where that element has gone: `pivot` is its
// index throughout. Nothing up to the result is greater than anything behind it.
std::int32_t ZipArchive::z_partition(std::int32_t low, std::int32_t high) {
  std::int32_t pivot = (low + high) / 2;
  std::int32_t i = low - 1;
  std::int32_t j = high + 1;
  while (true) {
    do {
      --j;
      RuntimeBackgroundTask();
    } while (j != pivot && z_Compare(j, pivot) > 0);
    do {
      ++i;
      RuntimeBackgroundTask();
    } while (i != pivot && z_Compare(i, pivot) < 0);
    if (i >= j) return pivot == high ? pivot - 1 : pivot;
    z_Swap(i, j);
    // The bound that the pivot went to steps back once, so that the next pass meets the pivot again.
    if (i == pivot) {
      pivot = j;
      ++j;
    } else if (j == pivot) {
      pivot = i;
      --i;
    }
    RuntimeBackgroundTask();
  }
}

void ZipArchive::z_ArrayQuickSort(std::int32_t low, std::int32_t high) {
  if (low >= high) return;
  SortRange(*this, low, high, 2 * static_cast<int>(std::bit_width(static_cast<std::uint32_t>(high - low))));
}

}  // namespace vantorel
