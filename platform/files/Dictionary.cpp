#include "platform/files/Dictionary.h"

#include <utility>

namespace vantorel {

const String& Dictionary::Key(std::int32_t index) const {
  if (index < 0 || index >= Count()) RaiseOutOfBoundsException();
  Compact();
  return entries_[static_cast<std::size_t>(index)].key;
}

const Variant& Dictionary::Value(const String& key) const {
  const auto found = index_.find(key);
  if (found == index_.end()) throw RuntimeException("a dictionary has no such key");
  return entries_[found->second].value;
}

void Dictionary::SetValue(const String& key, Variant value) {
  // With room at hand the second step cannot fail after the first.
  if (entries_.size() == entries_.capacity()) entries_.reserve(2 * entries_.size() + 8);
  const auto [found, added] = index_.try_emplace(key, entries_.size());
  if (added) {
    entries_.push_back({key, std::move(value)});
  } else {
    entries_[found->second].value = std::move(value);
  }
}

void Dictionary::Remove(const String& key) {
  const auto found = index_.find(key);
  if (found == index_.end()) return;
  entries_[found->second] = Entry{String(), Variant(), true};
  index_.erase(found);
  if (entries_.size() > 2 * index_.size() + 16) Compact();
}

void Dictionary::Clear() {
  index_.clear();
  entries_.clear();
}

void Dictionary::Compact() const {
  if (entries_.size() == index_.size()) return;
  std::erase_if(entries_, [](const Entry& entry) { return entry.removed; });
  for (std::size_t i = 0; i < entries_.size(); ++i) index_[entries_[i].key] = i;
}

}  // namespace vantorel
