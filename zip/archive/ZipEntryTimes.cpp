// Times of a member.
#include <ctime>

#include "zip/archive/ZipEntry.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

Ref<Date> ZipEntry::Time() {
  const std::int32_t time = HeaderUShort(CentralHeader::kTime);
  const std::int32_t date = HeaderUShort(CentralHeader::kDate);
  if (time == 0 && date == 0) return nil;
  Ref<Date> result = New<Date>();
  result->SetDay(date & 31);
  result->SetMonth((date & 480) / 32);
  result->SetYear((date & 65024) / 512 + 1980);
  result->SetHour((time & 63488) / 2048);
  result->SetMinute((time & 2016) / 32);
  result->SetSecond((time & 31) * 2);
  return result;
}

std::int32_t ZipEntry::UTCOffsetInMinutes() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return static_cast<std::int32_t>(local.tm_gmtoff / 60);
}

double ZipEntry::z_ulongToDouble(std::int32_t value) {
  return value < 0 ? value + maxIntPlus1 + maxIntPlus1 : value;
}

}  // namespace vantorel
