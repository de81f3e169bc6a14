#include "platform/ui/BackEnd.h"

#include <utility>

namespace vantorel {

namespace {

std::unique_ptr<BackEnd> the_back_end;

}  // namespace

BackEnd& BackEnd::Current() {
  if (the_back_end == nullptr) RaiseNilObjectException();
  return *the_back_end;
}

void BackEnd::Install(std::unique_ptr<BackEnd> back_end) {
  the_back_end = std::move(back_end);
}

}  // namespace vantorel
