#include "platform/ui/StaticText.h"

namespace vantorel {

void StaticText::SetText(const String& text) {
  text_ = text;
  Changed();
}

}  // namespace vantorel
