#include "platform/files/Date.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace vantorel {
namespace {

void SetZone(const char* name) {
  setenv("TZ", name, 1);
  tzset();
}

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

TEST(Date, FieldsAddUp) {
  const std::tuple<const char*, Fields, Fields> cases[] = {
      {"no leap day in 1900", {1900, 2, 29, 0, 0, 0}, {1900, 3, 1, 0, 0, 0}},
      {"but in 2000", {2000, 2, 29, 0, 0, 0}, {2000, 2, 29, 0, 0, 0}},
      {"an empty DOS date", {1980, 0, 0, 0, 0, 0}, {1979, 11, 30, 0, 0, 0}},
      {"a full DOS date", {2107, 15, 31, 31, 63, 62}, {2108, 4, 1, 8, 4, 2}},
      {"backwards over the year", {2024, 1, 1, 0, 0, -1}, {2023, 12, 31, 23, 59, 59}},
  };
  for (const auto& [name, set, expected] : cases) {
    const Ref<Date> date = FromFields(set);
    date->SetTotalSeconds(date->TotalSeconds());
    EXPECT_EQ(FieldsOf(*date), expected) << name;
  }
  EXPECT_NE(FromFields({std::numeric_limits<std::int32_t>::max(), 1, 1, 0, 0, 0})->UnixTime(), 0);
}

TEST(Date, SecondsSince1904) {
  const std::pair<double, Fields> cases[] = {
      {0, {1904, 1, 1, 0, 0, 0}},
      {2147483648.0, {1972, 1, 19, 3, 14, 8}},
      {4294967295.0, {2040, 2, 6, 6, 28, 15}},
      {-0.5, {1903, 12, 31, 23, 59, 59}},
      {std::nan(""), {1904, 1, 1, 0, 0, 0}},
  };
  const Ref<Date> date = New<Date>();
  for (const auto& [seconds, fields] : cases) {
    date->SetTotalSeconds(seconds);
    EXPECT_EQ(FieldsOf(*date), fields) << seconds;
  }
  for (const double absurd : {1e300, -1e300, std::numeric_limits<double>::infinity()}) {
    date->SetTotalSeconds(absurd);
    EXPECT_TRUE(std::isfinite(date->TotalSeconds()));
  }
}

TEST(Date, SystemTimeAndBackInAnyZone) {
  for (const char* name : {"UTC", "CET-1CEST,M3.5.0,M10.5.0/3", "<-0930>9:30", "<+14>-14"}) {
    SetZone(name);
    for (const std::time_t time : {std::time_t{0}, std::time_t{1'711'846'800}, std::time_t{1'719'000'000},
                                   std::time_t{-3'000'000'000}, std::time_t{1} << 39}) {
      EXPECT_EQ(Date::FromUnixTime(time)->UnixTime(), time) << name;
    }
  }
  SetZone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(FieldsOf(*Date::FromUnixTime(1'719'000'000)), (Fields{2024, 6, 21, 22, 0, 0}));
  EXPECT_EQ(FromFields({2024, 1, 1, 1, 0, 0})->UnixTime(), 1'704'067'200);
  const std::time_t skipped = FromFields({2024, 3, 31, 2, 30, 0})->UnixTime();
  EXPECT_LE(std::abs(skipped - 1'711'846'800), 3600);
}

}  // namespace
}  // namespace vantorel
