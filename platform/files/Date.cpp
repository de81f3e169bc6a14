#include "platform/files/Date.h"

#include <algorithm>
#include <cmath>

namespace vantorel {
namespace {

constexpr std::int64_t kDaySeconds = 86400;
constexpr std::int64_t kDaysPer400Years = 146097;
// From the start of 1904 to the start of 1970.
constexpr std::int64_t kMacEpoch = 2082844800;
// About 1.9 thousand million years; their number fits a field.
constexpr double kFarthest = 6e16;

struct QuotientAndRest {
  std::int64_t quotient;
  std::int64_t rest;  // never negative
};

QuotientAndRest Divide(std::int64_t value, std::int64_t divisor) {
  std::int64_t quotient = value / divisor;
  if (value % divisor < 0) --quotient;
  return {quotient, value - quotient * divisor};
}

// Days from 1 January 1970 to the first of a month (0 is January) in the Gregorian calendar, which is carried
// on without end in both directions. Years begin in March here, so that the leap day is the last of its year.
std::int64_t DaysToMonth(std::int64_t year, std::int64_t month) {
  if (month < 2) --year;
  const QuotientAndRest era = Divide(year, 400);
  const std::int64_t march_month = (month + 10) % 12;
  const std::int64_t day_of_year = (153 * march_month + 2) / 5;
  const std::int64_t day_of_era = era.rest * 365 + era.rest / 4 - era.rest / 100 + day_of_year;
  constexpr std::int64_t kDaysTo1970 = 719468;
  return era.quotient * kDaysPer400Years + day_of_era - kDaysTo1970;
}

std::int32_t Narrow(std::int64_t value) {
  return static_cast<std::int32_t>(value);
}

}  // namespace

std::int64_t Date::CalendarSeconds(const Fields& fields) {
  const QuotientAndRest month = Divide(std::int64_t{fields.month} - 1, 12);
  const std::int64_t days = DaysToMonth(fields.year + month.quotient, month.rest) + fields.day - 1;
  const std::int64_t seconds = days * kDaySeconds + std::int64_t{fields.hour} * 3600 +
                               std::int64_t{fields.minute} * 60 + fields.second;
  return std::clamp(seconds, -static_cast<std::int64_t>(kFarthest), static_cast<std::int64_t>(kFarthest));
}

Date::Fields Date::FromCalendarSeconds(std::int64_t seconds) {
  const QuotientAndRest days = Divide(seconds, kDaySeconds);
  // A year too early at worst; 400 years have 146097 days.
  std::int64_t year = 1970 + Divide(days.quotient * 400, kDaysPer400Years).quotient - 1;
  while (DaysToMonth(year + 1, 0) <= days.quotient) ++year;
  std::int64_t month = (days.quotient - DaysToMonth(year, 0)) / 31;
  if (month < 11 && DaysToMonth(year, month + 1) <= days.quotient) ++month;
  const std::int64_t day = days.quotient - DaysToMonth(year, month) + 1;
  return {Narrow(year),
          Narrow(month + 1),
          Narrow(day),
          Narrow(days.rest / 3600),
          Narrow(days.rest / 60 % 60),
          Narrow(days.rest % 60)};
}

Date::Fields Date::LocalFields(std::time_t seconds) {
  constexpr auto kLimit = static_cast<std::time_t>(kFarthest);
  std::tm local{};
  const bool tellable = seconds >= -kLimit && seconds <= kLimit;
  if (!tellable || localtime_r(&seconds, &local) == nullptr) {
    return FromCalendarSeconds(std::clamp(seconds, -kLimit, kLimit));
  }
  return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
}

Date::Date() : set_(LocalFields(std::time(nullptr))) {}

Ref<Date> Date::FromUnixTime(std::time_t seconds) {
  return New<Date>(LocalFields(seconds));
}

std::time_t Date::UnixTime() const {
  // Not by mktime, which looks at the time zone file each time. The offset from UTC is asked for at a moment
  // near by, and again at the moment that this gives.
  const std::int64_t local = CalendarSeconds(set_);
  std::time_t moment = local;
  for (int round = 0; round < 2; ++round) {
    moment = local - (CalendarSeconds(LocalFields(moment)) - moment);
  }
  return moment;
}

double Date::TotalSeconds() const {
  return static_cast<double>(CalendarSeconds(set_) + kMacEpoch);
}

void Date::SetTotalSeconds(double value) {
  if (std::isnan(value)) value = 0;
  const double seconds = std::clamp(std::floor(value), -kFarthest, kFarthest);
  set_ = FromCalendarSeconds(static_cast<std::int64_t>(seconds) - kMacEpoch);
}

}  // namespace vantorel
