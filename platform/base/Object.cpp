#include "platform/base/Object.h"

namespace vantorel {

void Object::Delete() const {
  delete this;  // NOLINT(cppcoreguidelines-owning-memory): the count is the owner
}

}  // namespace vantorel
