#include "zip/archive/NameIndex.h"

#include <bit>
#include <limits>

#include "platform/text/CaseFolding.h"
#include "zip/archive/CarriedName.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel {

namespace {

constexpr std::uint32_t kTaken = std::numeric_limits<std::uint32_t>::max();

std::uint32_t HashOf(std::string_view name) {
  return static_cast<std::uint32_t>(HashMindingCase(name));
}

}  // namespace

NameIndex::NameIndex(const std::vector<Ref<ZipEntry>>& entries, std::size_t first)
    : entries_(entries), slots_(std::bit_ceil(2 * (entries.size() - first + 1))) {
  Slot* slot = nullptr;
  for (auto i = static_cast<std::uint32_t>(first); i < entries.size(); ++i) {
    if (slot == nullptr || !IsCarriedOver(entries[i]->zipEncName, entries[i - 1]->zipEncName)) {
      const std::string_view name = NameOf(i);
      const std::uint32_t hash = HashOf(name);
      slot = &Find(name, hash);
      slot->hash = hash;
    }
    slot->entry = i;
  }
}

Ref<ZipEntry> NameIndex::Take(std::string_view name) {
  Slot& slot = Find(name, HashOf(name));
  if (slot.entry == 0) return nil;
  const std::uint32_t entry = slot.entry;
  slot.entry = kTaken;
  return entries_[entry];
}

std::string_view NameIndex::NameOf(std::uint32_t entry) const {
  std::string_view name = entries_[entry]->zipEncName.view();
  if (name.ends_with('/')) name.remove_suffix(1);
  return name;
}

NameIndex::Slot& NameIndex::Find(std::string_view name, std::uint32_t hash) {
  std::size_t at = hash & (slots_.size() - 1);
  while (slots_[at].entry != 0) {
    const bool same =
        slots_[at].hash == hash && slots_[at].entry != kTaken && NameOf(slots_[at].entry) == name;
    if (same) break;
    at = (at + 1) & (slots_.size() - 1);
  }
  return slots_[at];
}

}  // namespace vantorel
