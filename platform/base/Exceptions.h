// The faults that the logic knows, and the one unwinding that is not a fault.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace vantorel {

// A fault that only a wrong caller or a missing resource can cause. what() names it for a person.
class RuntimeException : public std::exception {
 public:
  explicit RuntimeException(std::string message = "runtime fault") : message_(std::move(message)) {}
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  std::string message_;
};

// A member was called through an empty reference.
class NilObjectException : public RuntimeException {
 public:
  NilObjectException() : RuntimeException("an operation was called on an object that does not exist") {}
};

// An index outside an array, a MemoryBlock or an entry list.
class OutOfBoundsException : public RuntimeException {
 public:
  OutOfBoundsException() : RuntimeException("an index was out of bounds") {}
};

// A working block could not be had.
class OutOfMemoryException : public RuntimeException {
 public:
  OutOfMemoryException() : RuntimeException("not enough memory") {}
};

// Thrown by Quit to unwind to the program's entry. Not a RuntimeException, so that no handler of the logic
// takes it for a fault.
class EndException : public std::exception {
 public:
  explicit EndException(int exit_code) : exit_code_(exit_code) {}
  int ExitCode() const { return exit_code_; }
  const char* what() const noexcept override { return "the program is ending"; }

 private:
  int exit_code_;
};

[[noreturn]] void RaiseNilObjectException();
[[noreturn]] void RaiseOutOfBoundsException();
[[noreturn]] void RaiseOutOfMemoryException();

}  // namespace vantorel
