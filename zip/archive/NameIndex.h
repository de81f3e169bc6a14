// Entries of an archive by stored name, less a trailing "/". Of two with the same name the later one stands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/base/Ref.h"

namespace vantorel {

class ZipEntry;

class NameIndex {
 public:
  // Of the entries from `first` on, which is 1 or more. `entries` must outlive the index unchanged.
  NameIndex(const std::vector<Ref<ZipEntry>>& entries, std::size_t first);

  // The entry of this name, byte for byte, which is then forgotten; nil if there is none.
  Ref<ZipEntry> Take(std::string_view name);

 private:
  // A hash table with linear probing. The hash stands in the slot, so that other names are rarely looked at.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t entry = 0;  // 0: free
  };

  std::string_view NameOf(std::uint32_t entry) const;
  // The slot of this name, or the free one where it would go.
  Slot& Find(std::string_view name, std::uint32_t hash);

  const std::vector<Ref<ZipEntry>>& entries_;
  std::vector<Slot> slots_;  // a power of two, at least half of them free
};

}  // namespace vantorel
