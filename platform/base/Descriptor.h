// A file descriptor with one owner.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace vantorel {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { Close(); }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }

  bool IsOpen() const { return number_ >= 0; }
  // Negative if it is not open.
  int Number() const { return number_; }
  // 0, or the error that closing told.
  int Close() { return !IsOpen() || close(std::exchange(number_, -1)) == 0 ? 0 : errno; }

 private:
  int number_ = -1;
};

}  // namespace vantorel
