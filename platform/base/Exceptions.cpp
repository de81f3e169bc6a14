#include "platform/base/Exceptions.h"

namespace vantorel {

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
