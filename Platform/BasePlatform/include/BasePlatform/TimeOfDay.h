// ZelApp::TimeOfDay: a time of day with an optional weekday.
#pragma once

#include <boost/optional.hpp>

#include <cstdint>

namespace ZelApp {

// 0 means no day; 1..7 are Monday..Sunday.
enum DayOfWeek : std::int32_t {
  NoDay = 0,
  Monday = 1,
  Tuesday = 2,
  Wednesday = 3,
  Thursday = 4,
  Friday = 5,
  Saturday = 6,
  Sunday = 7,
};

class TimeOfDay {
 public:
  // Nothing unless 0 <= hour <= 23, 0 <= minute, second <= 59 and
  // 0 <= day <= 7.
  static boost::optional<TimeOfDay> Create(int hour, int minute, int second, DayOfWeek day);

  int GetHour() const { return m_hour; }
  int GetMinute() const { return m_minute; }
  int GetSecond() const { return m_second; }
  DayOfWeek GetWeekday() const { return m_weekday; }

  friend bool operator==(const TimeOfDay& a, const TimeOfDay& b) {
    return a.m_hour == b.m_hour && a.m_minute == b.m_minute && a.m_second == b.m_second &&
           a.m_weekday == b.m_weekday;
  }

 private:
  TimeOfDay(int hour, int minute, int second, DayOfWeek day)
      : m_hour(hour), m_minute(minute), m_second(second), m_weekday(day) {}

  std::int32_t m_hour;
  std::int32_t m_minute;
  std::int32_t m_second;
  DayOfWeek m_weekday;
};

}  // namespace ZelApp
