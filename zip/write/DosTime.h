// Date and time as the headers of a Zip file hold them (the FAT file system's form).
#pragma once

#include <algorithm>
#include <cstdint>

#include "platform/base/Arithmetic.h"
#include "platform/base/Ref.h"
#include "platform/files/Date.h"

namespace vantorel {

struct DosTime {
  std::int32_t time = 0;  // seconds in steps of 2, minutes, hours
  std::int32_t date = 0;  // day, month, years since 1980
};

// The fields of `date` as they stand, so local time. A year before 1980 counts as 1980; month and day stay.
// Raises NilObjectException.
inline DosTime ToDosTime(const Ref<Date>& date) {
  const std::int64_t year = std::max(date->Year(), 1980) - 1980;
  return {date->Second() / 2 + 32 * date->Minute() + 2048 * date->Hour(),
          ToSInt32(static_cast<std::uint64_t>(date->Day() + 32 * date->Month() + 512 * year))};
}

}  // namespace vantorel
