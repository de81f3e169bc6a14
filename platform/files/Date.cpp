#include "platform/files/Date.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace vantorel {
namespace {

// From the start of 1904 to the start of 1970.
constexpr std::int64_t kMacEpoch = 2082844800;
// The library's calendar ends with the year 32767 and, on the other side, -32767.
constexpr std::int32_t kLastYear = 32767;
constexpr std::int64_t kFarthest =
    (kLastYear - 1970) * std::int64_t{31556952};  // a mean year has so many seconds

}  // namespace

std::int64_t Date::CalendarSeconds(const Fields& fields) {
  const std::int64_t months = std::int64_t{fields.year} * 12 + fields.month - 1;
  constexpr std::int64_t kFarthestMonth = std::int64_t{kLastYear} * 12;
  const auto month = static_cast<std::int32_t>(std::clamp(months, -kFarthestMonth, kFarthestMonth));
  const auto first = std::chrono::year(0) / 1 / 1 + std::chrono::months(month);
  const std::int64_t days =
      std::chrono::sys_days(first).time_since_epoch().count() + std::int64_t{fields.day} - 1;
  const std::int64_t seconds =
      days * 86400 + std::int64_t{fields.hour} * 3600 + std::int64_t{fields.minute} * 60 + fields.second;
  return std::clamp(seconds, -kFarthest, kFarthest);
}

Date::Fields Date::FromCalendarSeconds(std::int64_t seconds) {
  const std::chrono::sys_seconds moment{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(moment - day);
  const auto narrow = [](auto value) { return static_cast<std::int32_t>(value); };
  return {static_cast<int>(date.year()),
          narrow(static_cast<unsigned>(date.month())),
          narrow(static_cast<unsigned>(date.day())),
          narrow(time.hours().count()),
          narrow(time.minutes().count()),
          narrow(time.seconds().count())};
}

Date::Fields Date::LocalFields(std::time_t seconds) {
  std::tm local{};
  const bool tellable = seconds >= -kFarthest && seconds <= kFarthest;
  if (!tellable || localtime_r(&seconds, &local) == nullptr) {
    return FromCalendarSeconds(std::clamp(seconds, -kFarthest, kFarthest));
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
  constexpr auto kLimit = static_cast<double>(kFarthest);
  const auto seconds = static_cast<std::int64_t>(std::clamp(std::floor(value), -kLimit, kLimit));
  set_ = FromCalendarSeconds(seconds - kMacEpoch);
}

}  // namespace vantorel
