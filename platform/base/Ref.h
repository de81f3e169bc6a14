// Ref<T>: a counted, non-atomic, intrusive reference to an Object. `nil` is the empty reference; a member
// called through it raises NilObjectException. Cycles are the owner's to break.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/base/Object.h"

namespace vantorel {

inline constexpr std::nullptr_t nil = nullptr;

template <typename T>
class Ref {
 public:
  Ref() = default;
  Ref(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): nil stands for any empty reference
  // Shares the object that `object` points to, which lives in some Ref already (or was just made by New).
  explicit Ref(T* object) : object_(object) { Retain(); }
  Ref(const Ref& other) : object_(other.object_) { Retain(); }
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ref(const Ref<U>& other) : object_(other.get()) {  // NOLINT(google-explicit-constructor): like a pointer's
    Retain();
  }
  ~Ref() { Drop(); }

  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  T* operator->() const {
    if (object_ == nullptr) RaiseNilObjectException();
    return object_;
  }
  T& operator*() const { return *operator->(); }
  // The object without a check, nullptr for nil; the Ref keeps owning it.
  T* get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  void Retain() const {
    if (object_ != nullptr) object_->Retain();
  }
  void Drop() {
    if (object_ != nullptr) object_->Release();
  }

  T* object_ = nullptr;
};

template <typename T, typename U>
bool operator==(const Ref<T>& a, const Ref<U>& b) {
  return a.get() == b.get();
}
template <typename T>
bool operator==(const Ref<T>& a, std::nullptr_t) {
  return a.get() == nullptr;
}

// Makes an object and returns the first reference to it.
template <typename T, typename... Args>
Ref<T> New(Args&&... args) {
  return Ref<T>(new T(std::forward<Args>(args)...));  // NOLINT(cppcoreguidelines-owning-memory)
}

// The object as a `T`, or nil if it is of another class.
template <typename T, typename U>
Ref<T> Cast(const Ref<U>& object) {
  return Ref<T>(dynamic_cast<T*>(object.get()));
}

}  // namespace vantorel
