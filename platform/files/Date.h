// A moment in local time. The fields are set one by one without a range check; what they add up to is
// normalised when a field or TotalSeconds is read.
#pragma once

#include <cstdint>
#include <ctime>

#include "platform/base/Ref.h"

namespace vantorel {

class Date : public Object {
 public:
  // The present moment.
  Date();
  // The moment of a system time stamp.
  static Ref<Date> FromUnixTime(std::time_t seconds);
  std::time_t UnixTime() const;

  std::int32_t Year() const;
  std::int32_t Month() const;
  std::int32_t Day() const;
  std::int32_t Hour() const;
  std::int32_t Minute() const;
  std::int32_t Second() const;
  void SetYear(std::int32_t value);
  void SetMonth(std::int32_t value);
  void SetDay(std::int32_t value);
  void SetHour(std::int32_t value);
  void SetMinute(std::int32_t value);
  void SetSecond(std::int32_t value);

  // Seconds since the start of 1904 in local time (no time zone takes part in the count).
  double TotalSeconds() const;
  void SetTotalSeconds(double value);

 private:
  // Fields as they were set; month counts from 1.
  std::int32_t year_, month_, day_, hour_, minute_, second_;
};

}  // namespace vantorel
