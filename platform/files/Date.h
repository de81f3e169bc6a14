// A moment in local time. The fields are set one by one without a range check and read as they were set; what
// they add up to shows in TotalSeconds, and SetTotalSeconds gives them their ordinary values.
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
  // The other way. A local time that occurs twice means one of the two; one that is skipped, one close by.
  std::time_t UnixTime() const;

  std::int32_t Year() const { return set_.year; }
  std::int32_t Month() const { return set_.month; }
  std::int32_t Day() const { return set_.day; }
  std::int32_t Hour() const { return set_.hour; }
  std::int32_t Minute() const { return set_.minute; }
  std::int32_t Second() const { return set_.second; }
  void SetYear(std::int32_t value) { set_.year = value; }
  void SetMonth(std::int32_t value) { set_.month = value; }
  void SetDay(std::int32_t value) { set_.day = value; }
  void SetHour(std::int32_t value) { set_.hour = value; }
  void SetMinute(std::int32_t value) { set_.minute = value; }
  void SetSecond(std::int32_t value) { set_.second = value; }

  // Seconds since the start of 1904 in local time (no time zone takes part in the count).
  double TotalSeconds() const;
  // A fraction is dropped. What lies beyond the year 32767 is cut.
  void SetTotalSeconds(double value);

 private:
  // Month and day count from 1.
  struct Fields {
    std::int32_t year, month, day, hour, minute, second;
  };

  explicit Date(const Fields& fields) : set_(fields) {}
  template <typename T, typename... Args>
  friend Ref<T> New(Args&&... args);

  // Seconds from the start of 1970 to these fields, by the calendar alone.
  static std::int64_t CalendarSeconds(const Fields& fields);
  static Fields FromCalendarSeconds(std::int64_t seconds);
  static Fields LocalFields(std::time_t seconds);

  Fields set_;
};

}  // namespace vantorel
