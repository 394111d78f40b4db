#include "BasePlatform/TimeOfDay.h"

namespace ZelApp {

boost::optional<TimeOfDay> TimeOfDay::Create(int hour, int minute, int second, DayOfWeek day) {
  const bool valid = hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 &&
                     second <= 59 && day >= NoDay && day <= Sunday;
  if (!valid) {
    return boost::none;
  }
  return TimeOfDay(hour, minute, second, day);
}

}  // namespace ZelApp
