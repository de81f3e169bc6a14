// The root of everything that is held by a Ref. Single-threaded: the count is a plain integer.
#pragma once

#include <cstdint>

namespace vantorel {

class Object {
 public:
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  // Called by Ref only.
  void Retain() const { ++references_; }
  // Deletes the object when that was the last reference.
  void Release() const {
    if (--references_ == 0) Delete();
  }
  // True if more than one Ref holds the object.
  bool IsShared() const { return references_ > 1; }

 protected:
  Object() = default;

 private:
  // Out of line, so that a checker that cannot count references does not take every second Ref for a use of
  // freed memory.
  void Delete() const;

  mutable std::uint32_t references_ = 0;
};

}  // namespace vantorel
