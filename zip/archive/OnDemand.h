// A part of an object that is made when someone asks for it, and reads like the Ref that it would be: members
// are called by "->", it turns into a Ref by itself, and another one may be assigned. It is never nil.
#pragma once

#include <cstddef>

#include "platform/base/Ref.h"

namespace vantorel {

// `Make` makes the part for its owner, which the part lies in.
template <typename Owner, typename Part, Ref<Part> (Owner::*Make)() const>
class OnDemand {
 public:
  explicit OnDemand(const Owner& owner) : owner_(&owner) {}
  // A copy is the part itself, whatever becomes of the owner.
  OnDemand(const OnDemand& other) : made_(other.Get()) {}
  OnDemand& operator=(const OnDemand& other) {
    if (this != &other) made_ = other.Get();
    return *this;
  }
  OnDemand& operator=(const Ref<Part>& part) {
    made_ = part;
    return *this;
  }
  ~OnDemand() = default;

  const Ref<Part>& Get() const {
    if (!made_) made_ = (owner_->*Make)();
    return made_;
  }
  operator const Ref<Part>&() const { return Get(); }  // NOLINT(google-explicit-constructor): reads like one
  Part* operator->() const { return Get().get(); }
  Part& operator*() const { return *Get(); }
  explicit operator bool() const { return true; }
  friend bool operator==(const OnDemand&, std::nullptr_t) { return false; }

  // nil as long as nobody has asked.
  const Ref<Part>& Made() const { return made_; }

 private:
  mutable Ref<Part> made_;
  const Owner* owner_ = nullptr;
};

}  // namespace vantorel
