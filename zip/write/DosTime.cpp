#include "zip/write/DosTime.h"

#include <algorithm>

#include "platform/base/Arithmetic.h"

namespace vantorel {

DosTime ToDosTime(const Ref<Date>& date) {
  DosTime result;
  const std::int64_t year = std::max<std::int64_t>(std::int64_t{date->Year()} - 1980, 0);
  result.date = ToSInt32(static_cast<std::uint64_t>(date->Day() + 32 * date->Month() + 512 * year));
  result.time = date->Second() / 2 + 32 * date->Minute() + 2048 * date->Hour();
  return result;
}

}  // namespace vantorel
