// A small busy indicator that turns while it is visible.
#pragma once

#include "platform/ui/RectControl.h"

namespace vantorel {

class ProgressWheel : public RectControl {
 public:
  explicit ProgressWheel(const Bounds& bounds) : RectControl(bounds) {}
};

}  // namespace vantorel
