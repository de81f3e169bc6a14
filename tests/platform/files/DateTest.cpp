#include "platform/files/Date.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace vantorel {
namespace {

using Fields = std::array<std::int32_t, 6>;

Fields FieldsOf(const Date& date) {
  return {date.Year(), date.Month(), date.Day(), date.Hour(), date.Minute(), date.Second()};
}

Ref<Date> FromFields(const Fields& fields) {
  const Ref<Date> date = New<Date>();
  date->SetYear(fields[0]), date->SetMonth(fields[1]), date->SetDay(fields[2]);
  date->SetHour(fields[3]), date->SetMinute(fields[4]), date->SetSecond(fields[5]);
  return date;
}

TEST(Date, FieldsAddUpToSecondsSince1904) {
  const std::tuple<const char*, Fields, double, Fields> cases[] = {
      {"the first second", {1904, 1, 1, 0, 0, 0}, 0, {1904, 1, 1, 0, 0, 0}},
      {"the one before it", {1904, 1, 1, 0, 0, -1}, -1, {1903, 12, 31, 23, 59, 59}},
      {"beyond 32 bits", {2040, 2, 6, 6, 28, 16}, 4294967296.0, {2040, 2, 6, 6, 28, 16}},
      {"an empty DOS date", {1980, 0, 0, 0, 0, 0}, 2395612800.0, {1979, 11, 30, 0, 0, 0}},
      {"a full DOS date", {2107, 15, 31, 31, 63, 62}, 6445555442.0, {2108, 4, 1, 8, 4, 2}},
  };
  setenv("TZ", "right/UTC", 1);  // a zone that counts leap seconds: the calendar knows none
  tzset();
  for (const auto& [name, set, seconds, ordinary] : cases) {
    const Ref<Date> date = FromFields(set);
    EXPECT_EQ(date->TotalSeconds(), seconds) << name;
    date->SetTotalSeconds(seconds);
    EXPECT_EQ(FieldsOf(*date), ordinary) << name;
  }
  const Ref<Date> date = FromFields({std::numeric_limits<std::int32_t>::max(), 1, 1, 0, 0, 0});
  EXPECT_NE(date->UnixTime(), 0);
  for (const double absurd : {1e300, -1e300, std::nan(""), -0.5}) {
    date->SetTotalSeconds(absurd);
    EXPECT_EQ(date->TotalSeconds() < 0, absurd < 0) << absurd;
  }
}

TEST(Date, SystemTimeAndBackInAnyZone) {
  for (const char* name : {"UTC", "<-0930>9:30", "<+14>-14", "CET-1CEST,M3.5.0,M10.5.0/3"}) {
    setenv("TZ", name, 1);
    tzset();
    for (const std::time_t time : {std::time_t{0}, std::time_t{1'711'846'800}, std::time_t{1'719'000'000},
                                   std::time_t{-3'000'000'000}, std::time_t{1} << 39}) {
      EXPECT_EQ(Date::FromUnixTime(time)->UnixTime(), time) << name;
    }
  }
  EXPECT_EQ(FieldsOf(*Date::FromUnixTime(1'719'000'000)), (Fields{2024, 6, 21, 22, 0, 0}));
  const std::time_t skipped = FromFields({2024, 3, 31, 2, 30, 0})->UnixTime();
  EXPECT_LE(std::abs(skipped - 1'711'846'800), 3600);
}

}  // namespace
}  // namespace vantorel
