// The components of a member's name, read like an array of strings. A value; copies share the components, so
// that a name of many slashes costs its length and not a multiple of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/text/String.h"

namespace vantorel {

class ZipPath {
 public:
  class Iterator {
   public:
    Iterator(const ZipPath& path, std::size_t index) : path_(&path), index_(index) {}
    String operator*() const { return (*path_)[index_]; }
    Iterator& operator++() {
      ++index_;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return index_ != other.index_; }

   private:
    const ZipPath* path_;
    std::size_t index_;
  };

  ZipPath() = default;
  // Splits at "/". Bytes ":" are dropped, a component "." with a "/" behind it is skipped; empty components
  // stay, but for an empty one at the end. Takes time linear in the name.
  explicit ZipPath(const String& raw_path);

  std::size_t size() const { return parts_ ? parts_->spans.size() : 0; }
  bool empty() const { return size() == 0; }
  // Raises OutOfBoundsException.
  String operator[](std::size_t index) const;
  // The last component. Raises OutOfBoundsException on an empty path.
  String back() const { return (*this)[size() - 1]; }
  Iterator begin() const { return {*this, 0}; }
  Iterator end() const { return {*this, size()}; }

  // What stands behind the last "/"; empty if nothing does.
  String Leaf() const;

 private:
  struct Span {
    std::uint32_t begin;
    std::uint32_t length;
  };
  struct Parts : Object {
    String text;  // the name without its ":" bytes
    std::vector<Span> spans;
    std::size_t leaf_begin = 0;  // behind the last "/"

    void Add(std::size_t begin, std::size_t end);
  };

  Ref<Parts> parts_;
};

}  // namespace vantorel
