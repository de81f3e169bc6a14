// A bar that shows `Value` of `Maximum`. Nothing keeps Value within Maximum: what lies outside shows as empty
// or full, and a Maximum of 0 or less as a bar that only tells that something goes on.
#pragma once

#include "platform/ui/RectControl.h"

namespace vantorel {

class ProgressBar : public RectControl {
 public:
  explicit ProgressBar(const Bounds& bounds) : RectControl(bounds) {}

  std::int32_t Maximum() const { return maximum_; }
  void SetMaximum(std::int32_t maximum) { Change(maximum_, maximum); }
  std::int32_t Value() const { return value_; }
  void SetValue(std::int32_t value) { Change(value_, value); }

 private:
  std::int32_t maximum_ = 100;
  std::int32_t value_ = 0;
};

}  // namespace vantorel
