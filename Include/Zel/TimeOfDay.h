// Conversions between the platform's TAVTIME and weekday mask and
// ZelApp::TimeOfDay / ZelApp::DayOfWeek.
#pragma once

#include "Zel/Export.h"

#include "BasePlatform/TavTime.h"
#include "BasePlatform/TimeOfDay.h"

#include <boost/optional.hpp>

namespace ZelApp {

// The time of day of `time` (hour, minute, second) with the day of its
// weekday mask: a mask of exactly one day gives that day (1 Monday ..
// 7 Sunday), any other mask (none, several days, stray bits) gives NoDay.
// Empty when TimeOfDay::Create refuses the fields. Date and milliseconds
// are ignored.
ZEL_EXPORT boost::optional<TimeOfDay> FromTavTime(const TAVTIME& time);

// The weekday mask of `day`: 0 for NoDay, 1 << (day - 1) for 1..7.
// REQUIRES: 0 <= day <= 7; anything else is reported as unreachable code
// and terminates the process.
ZEL_EXPORT TavWeekDays::WEEK_DAY_TYPES ToTavWeekday(DayOfWeek day);

}  // namespace ZelApp
