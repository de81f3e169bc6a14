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
  // True when that was the last reference; the caller then deletes the object.
  bool Release() const { return --references_ == 0; }
  // True if more than one Ref holds the object.
  bool IsShared() const { return references_ > 1; }

 protected:
  Object() = default;

 private:
  mutable std::uint32_t references_ = 0;
};

}  // namespace vantorel
