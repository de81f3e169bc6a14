// A table of variants by string key. Keys compare without regard to case; enumeration is in order of
// insertion; look-up is O(1) on average.
#pragma once

#include <cstdint>
#include <variant>

#include "platform/base/Ref.h"
#include "platform/text/String.h"

namespace vantorel {

using Variant = std::variant<std::monostate, String, Ref<Object>>;

String VariantToString(const Variant& value);

class Dictionary : public Object {
 public:
  Dictionary();
  ~Dictionary() override;

  std::int32_t Count() const;
  // The i-th key, from 0. Raises OutOfBoundsException.
  const String& Key(std::int32_t index) const;
  // The value of a key. An absent key raises RuntimeException: ask HasKey first.
  const Variant& Value(const String& key) const;
  void SetValue(const String& key, Variant value);
  bool HasKey(const String& key) const;
  // Drops the key; nothing happens if it is absent.
  void Remove(const String& key);
  void Clear();
};

}  // namespace vantorel
