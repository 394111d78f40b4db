// The octet layouts that both conversion paths (the DPT table's converters
// and the conversion by DPT code) write and read, each written once: the
// calendar behind dates, the 8-octet date and time, the
// 3-octet colour. Each path keeps its own checks, messages and deliberate
// differences around these; nothing here logs.
#pragma once

#include "Zel/KnxDpt.h"

#include "BasePlatform/TimeOfDay.h"
#include "KnxStack/GroupValue.h"

#include <cstdint>
#include <ostream>

namespace Zel {
namespace Layout {

// ---------------------------------------------------------------------------
// Calendar: the proleptic Gregorian calendar in plain arithmetic, days
// counted from 1970-01-01.

constexpr bool IsLeapYear(std::int64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// REQUIRES: 1 <= month <= 12.
constexpr unsigned DaysInMonth(std::int64_t year, unsigned month) {
  constexpr unsigned kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29u : kDays[month - 1];
}

constexpr bool IsCalendarDate(std::int64_t year, unsigned month, unsigned day) {
  return month >= 1 && month <= 12 && day >= 1 && day <= DaysInMonth(year, month);
}

// REQUIRES: IsCalendarDate(year, month, day).
constexpr std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) {
  // Years counted from March, so that the leap day ends a year; eras of
  // 400 years of 146097 days.
  const std::int64_t y = month <= 2 ? year - 1 : year;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yearOfEra = y - era * 400;
  const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

struct CivilDate {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

constexpr CivilDate CivilFromDays(std::int64_t days) {
  const std::int64_t z = days + 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t dayOfEra = z - era * 146097;
  const std::int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t mp = (5 * dayOfYear + 2) / 153;
  const auto day = static_cast<unsigned>(dayOfYear - (153 * mp + 2) / 5 + 1);
  const auto month = static_cast<unsigned>(mp < 10 ? mp + 3 : mp - 9);
  return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

// Monday 1 .. Sunday 7, as KNX numbers the days (1970-01-01 was a Thursday).
constexpr unsigned WeekdayFromDays(std::int64_t days) {
  const std::int64_t fromMonday = (days % 7 + 7 + 3) % 7;
  return static_cast<unsigned>(fromMonday) + 1;
}

// A date and a time of day whose hour, minute or second may lie beyond its
// range, carried into the following days (24:00:00 is midnight of the next
// day): the date, its day count and the time of day. Both conversion paths
// carry dates with it.
struct CarriedDateTime {
  CivilDate date;
  std::int64_t days;
  unsigned hour;
  unsigned minute;
  unsigned second;
};
constexpr CarriedDateTime CarryDateTime(std::int64_t year, unsigned month, unsigned day,
                                        unsigned hour, unsigned minute, unsigned second) {
  const std::int64_t seconds = hour * 3600L + minute * 60L + second;
  const std::int64_t days = DaysFromCivil(year, month, day) + seconds / 86400;
  const std::int64_t secondOfDay = seconds % 86400;
  return {CivilFromDays(days), days, static_cast<unsigned>(secondOfDay / 3600),
          static_cast<unsigned>(secondOfDay / 60 % 60), static_cast<unsigned>(secondOfDay % 60)};
}

// Throws what the calendar of Boost.Date_Time throws for these fields
// (bad_year, bad_month, bad_day_of_month, with their texts) when they are
// no date of years 1400..9999; returns otherwise. The plain check comes
// first, so that a valid date costs no Boost date.
void CheckCalendarDate(std::int64_t year, unsigned month, unsigned day);

// ---------------------------------------------------------------------------
// 10.x time of day: octet 0 weekday (bits 7..5) and hour, then minute and
// second; the stack's accessors write and read it.

inline void WriteTimeOfDay(const ZelApp::TimeOfDay& time, KnxStack::GroupValue& group) {
  group.SetAsTimeOfDay(time.GetHour(), time.GetMinute(), time.GetSecond(),
                       static_cast<KnxStack::GroupValue::DayOfWeek>(time.GetWeekday()));
}

// ---------------------------------------------------------------------------
// 19.x date and time, eight octets: year - 1900; month; day; weekday (bits
// 7..5) and hour; minute; second; flags; clock quality (written as 0).

struct DateTimeFields {
  std::int64_t year;
  unsigned month;
  unsigned day;
  unsigned weekday;  // 0 none, 1 Monday .. 7 Sunday
  unsigned hour;
  unsigned minute;
  unsigned second;
  std::uint8_t flags;
};

// Flags octet, bits 7..0.
constexpr std::uint8_t kDateTimeFault = 0x80;
constexpr std::uint8_t kDateTimeWorkingDay = 0x40;
constexpr std::uint8_t kDateTimeNoWorkingDay = 0x20;
constexpr std::uint8_t kDateTimeNoYear = 0x10;
constexpr std::uint8_t kDateTimeNoDate = 0x08;
constexpr std::uint8_t kDateTimeNoDayOfWeek = 0x04;
constexpr std::uint8_t kDateTimeNoTime = 0x02;
constexpr std::uint8_t kDateTimeSummerTime = 0x01;

// The year octet is (year - 1900) modulo 256.
KnxStack::GroupValue WriteDateTime(const DateTimeFields& fields);
// Each field through its mask (month 4 bits, day and hour 5, minute and
// second 6); the year is 1900 + octet 0. REQUIRES: at least 7 octets
// (throws GroupValueException otherwise).
DateTimeFields ReadDateTime(const KnxStack::GroupValue& group);

// ---------------------------------------------------------------------------
// 232.x colour: three octets, most significant first (R, G, B).

KnxStack::GroupValue WriteUnsigned24(std::uint32_t value);
// The first four raw octets as one number, big-endian, right-aligned: a
// 3-octet value reads as its 24 bits.
inline std::uint32_t ReadRaw32(const KnxStack::GroupValue& group) {
  return group.GetRawData().GetUInt32Value(0);
}

}  // namespace Layout
}  // namespace Zel
