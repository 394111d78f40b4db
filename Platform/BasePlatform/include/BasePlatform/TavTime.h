// TAVTIME, the platform's date and time record, and the weekday mask.
#pragma once

#include <cstdint>
#include <ctime>

namespace TavWeekDays {
// One bit per day: bit 0 Monday .. bit 6 Sunday; 0 means no day.
enum WEEK_DAY_TYPES : std::uint32_t {
  WEEK_DAY_NONE = 0,
  WEEK_DAY_MONDAY = 1u << 0,
  WEEK_DAY_TUESDAY = 1u << 1,
  WEEK_DAY_WEDNESDAY = 1u << 2,
  WEEK_DAY_THURSDAY = 1u << 3,
  WEEK_DAY_FRIDAY = 1u << 4,
  WEEK_DAY_SATURDAY = 1u << 5,
  WEEK_DAY_SUNDAY = 1u << 6,
};
}  // namespace TavWeekDays

// Date and time as the platform keeps it. The fields are public and stay in
// this declared order (log messages print them in it): the calendar date,
// the time of day, milliseconds, the weekday mask, then the two flags.
struct TAVTIME {
  std::uint16_t year = 0;         // full year, for example 2024
  std::uint8_t month = 0;         // 1..12, 0 when no date is set
  std::uint8_t day = 0;           // 1..31, 0 when no date is set
  std::uint8_t hour = 0;          // 0..23
  std::uint8_t minute = 0;        // 0..59
  std::uint8_t second = 0;        // 0..59
  std::uint16_t millisecond = 0;  // 0..999
  std::uint32_t weekDays = 0;     // TavWeekDays mask
  bool utc = false;               // the fields are UTC rather than local time
  bool dst = false;               // daylight saving time is in effect

  TAVTIME() { Clear(true); }

  // Resets every field to 0 and the flags to (utc = `utc`, dst = false).
  void Clear(bool utc);

  static bool IsValidTime(std::uint8_t hour, std::uint8_t minute, std::uint8_t second);
  // Gregorian calendar with leap years; years 1..9999.
  static bool IsValidDate(std::uint16_t year, std::uint8_t month, std::uint8_t day);

  // Set the date (time fields cleared) or the date and time, and the weekday
  // mask that belongs to the date; milliseconds and dst are cleared, utc is
  // set to `utc`. Return false and change nothing when the fields are not
  // valid.
  bool SetDate(std::uint16_t year, std::uint8_t month, std::uint8_t day, bool utc);
  bool SetDateTime(std::uint16_t year, std::uint8_t month, std::uint8_t day, std::uint8_t hour,
                   std::uint8_t minute, std::uint8_t second, bool utc);

  // Broken-down form: tm_year = year - 1900, tm_mon = month - 1, tm_wday from
  // the weekday mask (Sunday 0; a mask that is not exactly one day gives 0),
  // tm_yday from the date (0 when the date is not valid), tm_isdst from dst.
  // No normalisation: a cleared record gives tm_mon = -1 and tm_mday = 0.
  std::tm ToTm() const;

  // Seconds since 1970-01-01 00:00:00 UTC, negative ones before; sets a UTC
  // date and time with its weekday mask, milliseconds 0, dst false. A count
  // outside the years 1..9999 (possible only where long has 64 bits) gives
  // a cleared record (Clear(true)).
  TAVTIME& operator=(long secondsSinceEpoch);

  // Every field, the flags included.
  friend bool operator==(const TAVTIME& a, const TAVTIME& b);
  friend bool operator!=(const TAVTIME& a, const TAVTIME& b) { return !(a == b); }
};
