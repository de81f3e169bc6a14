#include "zip/write/DosTime.h"

#include <algorithm>

namespace vantorel {

DosTime ToDosTime(const Ref<Date>& date) {
  DosTime result;
  result.date = date->Day() + 32 * date->Month() + 512 * std::max(date->Year() - 1980, 0);
  result.time = date->Second() / 2 + 32 * date->Minute() + 2048 * date->Hour();
  return result;
}

}  // namespace vantorel
