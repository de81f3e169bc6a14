// A table of variants by string key. Keys compare without regard to case; enumeration is in order of
// insertion; look-up is O(1) on average.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <variant>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/text/String.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

using Variant = std::variant<std::monostate, String, Ref<Object>>;

inline Variant StringToVariant(const String& text) {
  return text;
}
// The string that went in, with its bytes and label unchanged; empty for a variant that holds no string.
inline String VariantToString(const Variant& value) {
  const String* text = std::get_if<String>(&value);
  return text == nullptr ? String() : *text;
}

class Dictionary : public Object {
 public:
  std::int32_t Count() const { return static_cast<std::int32_t>(index_.size()); }
  // The i-th key, from 0. Raises OutOfBoundsException.
  const String& Key(std::int32_t index) const;
  // The value of a key. An absent key raises RuntimeException: ask HasKey first.
  const Variant& Value(const String& key) const;
  // Sets the value of a key, or replaces it; a key that is there keeps its place and its spelling.
  void SetValue(const String& key, Variant value);
  bool HasKey(const String& key) const { return index_.find(key) != index_.end(); }
  // Drops the key; nothing happens if it is absent.
  void Remove(const String& key);
  void Clear();

 private:
  struct Entry {
    String key;
    Variant value;
    bool removed = false;
  };
  struct Hash {
    std::size_t operator()(const String& key) const { return CaselessHash(key); }
  };
  struct Same {
    bool operator()(const String& a, const String& b) const { return SameText(a, b); }
  };

  // Drops what was removed from the entries. Left until a key is asked for by number or most are gone, so
  // that removing many keys one by one costs no more than finding them.
  void Compact() const;

  mutable std::vector<Entry> entries_;  // in order of insertion
  mutable std::unordered_map<String, std::size_t, Hash, Same> index_;
};

}  // namespace vantorel
