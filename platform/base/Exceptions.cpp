#include "platform/base/Exceptions.h"

#include <utility>

namespace vantorel {

RuntimeException::RuntimeException() : message_("runtime fault") {}
RuntimeException::RuntimeException(std::string message) : message_(std::move(message)) {}

NilObjectException::NilObjectException()
    : RuntimeException("an operation was called on an object that does not exist") {}
OutOfBoundsException::OutOfBoundsException() : RuntimeException("an index was out of bounds") {}
OutOfMemoryException::OutOfMemoryException() : RuntimeException("not enough memory") {}

void RaiseNilObjectException() {
  throw NilObjectException();
}
void RaiseOutOfBoundsException() {
  throw OutOfBoundsException();
}
void RaiseOutOfMemoryException() {
  throw OutOfMemoryException();
}

}  // namespace vantorel
