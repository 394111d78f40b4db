#include "BasePlatform/TavTime.h"

#include <boost/date_time/gregorian/gregorian.hpp>

namespace {

namespace greg = boost::gregorian;

// Boost's dates cover only the years 1400..9999, but the Gregorian calendar
// repeats itself every 400 years (146097 days, a whole number of weeks).
// Moving a year into 2000..2399 keeps its leap status, its month lengths and
// its weekdays, so Boost can answer for every year 1..9999.
constexpr std::uint16_t kCycleYears = 400;
constexpr std::int64_t kCycleDays = 146097;
constexpr std::int64_t kDaysFrom1970To2000 = 10957;
constexpr std::int64_t kSecondsPerDay = 86400;

std::uint16_t YearInCycle(std::uint16_t year) {
  return static_cast<std::uint16_t>(2000 + year % kCycleYears);
}

// REQUIRES: TAVTIME::IsValidDate(year, month, day).
greg::date DateInCycle(std::uint16_t year, std::uint8_t month, std::uint8_t day) {
  return greg::date(YearInCycle(year), month, day);
}

// Boost counts Sunday 0 .. Saturday 6; the mask has Monday at bit 0.
std::uint32_t WeekDayMask(const greg::date& date) {
  return 1u << ((date.day_of_week().as_number() + 6) % 7);
}

// std::tm's weekday (Sunday 0) of a mask naming exactly one day; 0 otherwise.
int TmWeekDay(std::uint32_t mask) {
  for (int bit = 0; bit < 7; ++bit) {
    if (mask == (1u << bit)) {
      return (bit + 1) % 7;
    }
  }
  return 0;
}

// Floor division and its non-negative remainder.
std::int64_t FloorDiv(std::int64_t a, std::int64_t b, std::int64_t& remainder) {
  std::int64_t quotient = a / b;
  remainder = a % b;
  if (remainder < 0) {
    remainder += b;
    --quotient;
  }
  return quotient;
}

}  // namespace

void TAVTIME::Clear(bool utcFlag) {
  year = 0;
  month = 0;
  day = 0;
  hour = 0;
  minute = 0;
  second = 0;
  millisecond = 0;
  weekDays = TavWeekDays::WEEK_DAY_NONE;
  utc = utcFlag;
  dst = false;
}

bool TAVTIME::IsValidTime(std::uint8_t h, std::uint8_t m, std::uint8_t s) {
  return h <= 23 && m <= 59 && s <= 59;
}

bool TAVTIME::IsValidDate(std::uint16_t y, std::uint8_t m, std::uint8_t d) {
  if (y < 1 || y > 9999 || m < 1 || m > 12 || d < 1) {
    return false;
  }
  return d <= greg::gregorian_calendar::end_of_month_day(YearInCycle(y), m);
}

bool TAVTIME::SetDate(std::uint16_t y, std::uint8_t m, std::uint8_t d, bool utcFlag) {
  return SetDateTime(y, m, d, 0, 0, 0, utcFlag);
}

bool TAVTIME::SetDateTime(std::uint16_t y, std::uint8_t m, std::uint8_t d, std::uint8_t h,
                          std::uint8_t min, std::uint8_t s, bool utcFlag) {
  if (!IsValidDate(y, m, d) || !IsValidTime(h, min, s)) {
    return false;
  }
  Clear(utcFlag);
  year = y;
  month = m;
  day = d;
  hour = h;
  minute = min;
  second = s;
  weekDays = WeekDayMask(DateInCycle(y, m, d));
  return true;
}

std::tm TAVTIME::ToTm() const {
  std::tm result{};
  result.tm_year = static_cast<int>(year) - 1900;
  result.tm_mon = static_cast<int>(month) - 1;
  result.tm_mday = day;
  result.tm_hour = hour;
  result.tm_min = minute;
  result.tm_sec = second;
  result.tm_wday = TmWeekDay(weekDays);
  result.tm_yday =
      IsValidDate(year, month, day) ? DateInCycle(year, month, day).day_of_year() - 1 : 0;
  result.tm_isdst = dst ? 1 : 0;
  return result;
}

TAVTIME& TAVTIME::operator=(long secondsSinceEpoch) {
  // 64-bit arithmetic: the same results whether long has 32 or 64 bits.
  std::int64_t secondOfDay = 0;
  const std::int64_t dayNumber =
      FloorDiv(static_cast<std::int64_t>(secondsSinceEpoch), kSecondsPerDay, secondOfDay);
  std::int64_t dayInCycle = 0;
  const std::int64_t cycles = FloorDiv(dayNumber - kDaysFrom1970To2000, kCycleDays, dayInCycle);
  const greg::date date = greg::date(2000, 1, 1) + greg::days(static_cast<long>(dayInCycle));
  const std::int64_t fullYear = static_cast<std::int64_t>(date.year()) + cycles * kCycleYears;
  Clear(true);
  if (fullYear < 1 || fullYear > 9999) {
    return *this;  // only reachable where long has 64 bits
  }
  year = static_cast<std::uint16_t>(fullYear);
  month = static_cast<std::uint8_t>(date.month().as_number());
  day = static_cast<std::uint8_t>(date.day().as_number());
  hour = static_cast<std::uint8_t>(secondOfDay / 3600);
  minute = static_cast<std::uint8_t>(secondOfDay / 60 % 60);
  second = static_cast<std::uint8_t>(secondOfDay % 60);
  weekDays = WeekDayMask(date);
  return *this;
}

bool operator==(const TAVTIME& a, const TAVTIME& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
         a.minute == b.minute && a.second == b.second && a.millisecond == b.millisecond &&
         a.weekDays == b.weekDays && a.utc == b.utc && a.dst == b.dst;
}
