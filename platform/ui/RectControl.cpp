#include "platform/ui/RectControl.h"

namespace vantorel {

void RectControl::SetVisible(bool visible) {
  visible_ = visible;
  Changed();
}

void RectControl::Changed() {
  if (view_ != nullptr) view_->Update();
}

}  // namespace vantorel
