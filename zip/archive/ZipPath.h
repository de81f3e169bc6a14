// The components of a member's name, read like an array of strings. A value that holds the name and finds the
// components in it as they are asked for, so that a name of many slashes costs no memory.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/text/String.h"

namespace vantorel {

class ZipPath {
 public:
  class Iterator {
   public:
    String operator*() const;
    Iterator& operator++();
    bool operator!=(const Iterator& other) const { return begin_ != other.begin_; }

   private:
    friend class ZipPath;
    // The component that begins at `begin`, or the next one that counts.
    Iterator(const String& name, std::size_t begin);

    const String* name_;
    std::size_t begin_;  // npos behind the last component
    std::size_t end_ = std::string_view::npos;
  };

  ZipPath() = default;
  // Splits at "/". Bytes ":" are dropped, a component "." with a "/" behind it is skipped; empty components
  // stay, but for an empty one at the end.
  explicit ZipPath(const String& raw_path) : name_(raw_path) {}

  // Takes time linear in the name, as does `[]`.
  std::size_t size() const;
  bool empty() const { return !(begin() != end()); }
  // Raises OutOfBoundsException.
  String operator[](std::size_t index) const;
  // The last component. Raises OutOfBoundsException on an empty path.
  String back() const;
  // Valid while the path lives unchanged.
  Iterator begin() const { return {name_, 0}; }
  Iterator end() const { return {name_, std::string_view::npos}; }

  // What stands behind the last "/"; empty if nothing does.
  String Leaf() const;

 private:
  String name_;
};

}  // namespace vantorel
