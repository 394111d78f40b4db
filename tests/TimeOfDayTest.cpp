// FromTavTime and ToTavWeekday: weekday mask <-> DayOfWeek.
#include "Zel/TimeOfDay.h"

#include <gtest/gtest.h>

namespace ZelApp {
namespace {

TEST(TimeOfDay, MaskOfExactlyOneDayGivesThatDayAndBackRangesAreLeftToCreate) {
  const std::pair<std::uint32_t, DayOfWeek> cases[] = {{0, NoDay}, {1, Monday}, {4, Wednesday}, {64, Sunday}, {3, NoDay}, {127, NoDay}, {128, NoDay}, {0x80000001u, NoDay}};
  TAVTIME time;
  time.SetDateTime(2024, 5, 17, 23, 59, 59, false);  // a Friday; the date plays no part
  time.millisecond = 999;
  for (const auto& [mask, day] : cases) {
    time.weekDays = mask;
    EXPECT_TRUE(FromTavTime(time) == TimeOfDay::Create(23, 59, 59, day)) << "mask " << mask;
  }
  for (int day = 0; day <= 7; ++day) {
    EXPECT_EQ(ToTavWeekday(static_cast<DayOfWeek>(day)), day == 0 ? 0u : 1u << (day - 1)) << day;
  }
  time.hour = 24;
  EXPECT_FALSE(FromTavTime(time));  // range errors are Create's to refuse
}

using TimeOfDayDeathTest = ::testing::Test;
TEST_F(TimeOfDayDeathTest, WeekdayOutsideZeroToSevenIsUnreachable) {
  EXPECT_DEATH(ToTavWeekday(static_cast<DayOfWeek>(8)),
               "This statement should not be executed. There is a bug somewhere around "
               "ZelObjectModel/TimeOfDay:68");
  EXPECT_DEATH(ToTavWeekday(static_cast<DayOfWeek>(-1)), "ZelObjectModel/TimeOfDay:68");
}

}  // namespace
}  // namespace ZelApp
