// Conversions between the platform's time record and ZelApp::TimeOfDay.
//
// The platform keeps the day of the week in two forms:
// - TAVTIME::weekDays is a mask with one bit per day, bit 0 for Monday up
//   to bit 6 for Sunday. A time without a day has no bit set; a mask with
//   several bits (a "Monday to Friday" schedule, say) names no single day.
// - ZelApp::DayOfWeek numbers the days 1 (Monday) to 7 (Sunday), 0 meaning
//   no day. The KNX time of day (DPT 10.001) carries the same numbers in
//   the top three bits of its hour octet.
//
// Going from mask to day is lenient: anything that is not exactly one day
// becomes NoDay. Going from day to mask is strict: a number outside 0..7
// is a caller's bug, reported as unreachable code. Its report names this
// file and line 68; the device's log tooling knows that position, and a
// static_assert keeps the report on it.
//
// Both functions are pure and may be called from any thread.
#include "Zel/TimeOfDay.h"

#include "Zel/Unreachable.h"

#include <cstddef>

#define ZEL_LOG_SOURCE "ZelObjectModel/TimeOfDay"

namespace ZelApp {
namespace {

// The mask of each day, indexed by DayOfWeek: day d > 0 has bit d - 1 set,
// NoDay none.
constexpr TavWeekDays::WEEK_DAY_TYPES kMaskOfDay[] = {
    TavWeekDays::WEEK_DAY_NONE,       // NoDay
    TavWeekDays::WEEK_DAY_MONDAY,     // Monday
    TavWeekDays::WEEK_DAY_TUESDAY,    // Tuesday
    TavWeekDays::WEEK_DAY_WEDNESDAY,  // Wednesday
    TavWeekDays::WEEK_DAY_THURSDAY,   // Thursday
    TavWeekDays::WEEK_DAY_FRIDAY,     // Friday
    TavWeekDays::WEEK_DAY_SATURDAY,   // Saturday
    TavWeekDays::WEEK_DAY_SUNDAY,     // Sunday
};
constexpr std::size_t kDays = sizeof kMaskOfDay / sizeof kMaskOfDay[0];

// The day whose mask `mask` is; NoDay for none, several or stray bits.
DayOfWeek DayOfMask(std::uint32_t mask) {
  for (std::size_t day = 1; day < kDays; ++day) {
    if (mask == kMaskOfDay[day]) {
      return static_cast<DayOfWeek>(day);
    }
  }
  return NoDay;
}

}  // namespace

boost::optional<TimeOfDay> FromTavTime(const TAVTIME& time) {
  // The date and the milliseconds play no part. Hour, minute and second are
  // checked by TimeOfDay::Create, which refuses what is out of range.
  return TimeOfDay::Create(time.hour, time.minute, time.second, DayOfMask(time.weekDays));
}
// clang-format off
TavWeekDays::WEEK_DAY_TYPES ToTavWeekday(DayOfWeek day) {
  // DayOfWeek is a plain enumeration: a number cast from an octet off the
  // bus or from a corrupt record can hold any value.
  const auto index = static_cast<std::int64_t>(day);
  if (index >= 0 && index < static_cast<std::int64_t>(kDays)) {
    return kMaskOfDay[index];
  }
  ZEL_UNREACHABLE(); static_assert(__LINE__ == 68, "line moved");
}
// clang-format on

}  // namespace ZelApp
