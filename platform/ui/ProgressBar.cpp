#include "platform/ui/ProgressBar.h"

namespace vantorel {

void ProgressBar::SetMaximum(std::int32_t maximum) {
  maximum_ = maximum;
  Changed();
}

void ProgressBar::SetValue(std::int32_t value) {
  value_ = value;
  Changed();
}

}  // namespace vantorel
