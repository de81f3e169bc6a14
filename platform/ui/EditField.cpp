#include "platform/ui/EditField.h"

namespace vantorel {

void EditField::SetText(const String& text) {
  text_ = text;
  Changed();
}

}  // namespace vantorel
