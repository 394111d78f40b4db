// The DPT catalogue's rows agree with each other, and the calendar
// arithmetic of the shared octet layouts agrees with Boost's calendar.
#include "DptCatalogue.h"
#include "KnxLayout.h"

#include <boost/date_time/gregorian/gregorian.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace Zel {
namespace {

std::string LabelOf(const Catalogue::TableRow& row) {
  char label[16];
  if (row.subNumber == 0) {
    std::snprintf(label, sizeof label, "%u.x", unsigned{row.mainNumber});
  } else {
    std::snprintf(label, sizeof label, "%u.%03u", unsigned{row.mainNumber}, unsigned{row.subNumber});
  }
  return label;
}

// A row added with a slip (a wrong size, a label of another DPT, a main
// number the object model or the size check does not know) fails here.
TEST(DptCatalogue, TableRowsAgreeWithTheirMainNumbers) {
  for (const Catalogue::TableRow& row : Catalogue::kTableRows) {
    SCOPED_TRACE(row.label);
    EXPECT_EQ(row.label, LabelOf(row));
    const Catalogue::MainRow& main = Catalogue::Main(row.mainNumber);
    EXPECT_EQ(main.mainNumber, row.mainNumber) << "no main row";
    EXPECT_EQ(main.bitSize, row.bitSize);
  }
  EXPECT_EQ(std::size(Catalogue::kTableRows), 53u);
}

TEST(DptCatalogue, MainRowsAreSortedAndConvertOnlyWhatTheModelTypes) {
  unsigned previous = 0;
  for (const Catalogue::MainRow& row : Catalogue::kMainRows) {
    SCOPED_TRACE(row.mainNumber);
    EXPECT_GT(row.mainNumber, previous);
    previous = row.mainNumber;
    EXPECT_EQ(&Catalogue::Main(row.mainNumber), &row);
    const bool modelled = row.defaultValue != Catalogue::DefaultValue::None;
    // The type gate of the conversion by DPT code lets nothing through to a
    // main number without a type.
    if (row.encoding != Catalogue::Encoding::None || row.decoding != Catalogue::Decoding::None) {
      EXPECT_TRUE(modelled && row.modelType != ivtEmpty);
    }
    EXPECT_EQ(row.modelType == ivtEmpty, !modelled || row.defaultValue == Catalogue::DefaultValue::Empty);
  }
  EXPECT_EQ(&Catalogue::Main(0), &Catalogue::kNoMainRow);
  EXPECT_EQ(&Catalogue::Main(242), &Catalogue::kNoMainRow);
  EXPECT_EQ(&Catalogue::Main(0xFFFFFFFFul), &Catalogue::kNoMainRow);
}

// The range column of zelknx's DPT table, one row per range class.
TEST(DptCatalogue, RangeTextsOfTheRows) {
  const std::pair<std::string, std::string> cases[] = {
      {"1.x", "-"},
      {"3.x", "FloatIntegerRange(-100, 100, 0, 15)"},
      {"5.x", "IntegerRange(0, 255, 0, 255)"},
      {"9.001", "FloatRange(-273, 670760, -273, 670760)"},
      {"12.x", "IntegerRange(0, 4294967295, 0, 4294967295)"},
      {"26.x", "IntegerRange(-64, 64, 0, 255)"},
  };
  for (const auto& [label, text] : cases) {
    const auto row = std::find_if(std::begin(Catalogue::kTableRows), std::end(Catalogue::kTableRows), [&](const Catalogue::TableRow& r) { return label == r.label; });
    ASSERT_NE(row, std::end(Catalogue::kTableRows)) << label;
    EXPECT_EQ(Catalogue::RangeText(*row), text);
  }
}

// Every day of years 1400..2600 and the last years of the calendar is a date;
// its day number, its date and its weekday as Boost's calendar has them.
TEST(KnxLayout, CalendarArithmeticAgreesWithBoost) {
  const boost::gregorian::date epoch(1970, 1, 1);
  const auto check = [&epoch](const boost::gregorian::date& date) {
    const auto ymd = date.year_month_day();
    ASSERT_TRUE(Layout::IsCalendarDate(ymd.year, ymd.month, ymd.day)) << date;
    const std::int64_t days = Layout::DaysFromCivil(ymd.year, ymd.month, ymd.day);
    ASSERT_EQ(days, (date - epoch).days()) << date;
    const Layout::CivilDate back = Layout::CivilFromDays(days);
    ASSERT_EQ(back.year, ymd.year) << date;
    ASSERT_EQ(back.month, ymd.month.as_number()) << date;
    ASSERT_EQ(back.day, ymd.day.as_number()) << date;
    ASSERT_EQ(Layout::WeekdayFromDays(days) % 7, date.day_of_week().as_number()) << date;
    ASSERT_EQ(Layout::DaysInMonth(ymd.year, ymd.month),
              boost::gregorian::gregorian_calendar::end_of_month_day(ymd.year, ymd.month));
  };
  for (boost::gregorian::date d(1400, 1, 1); d <= boost::gregorian::date(2600, 12, 31); d += boost::gregorian::days(1)) {
    check(d);
  }
  for (boost::gregorian::date d(9990, 1, 1); d <= boost::gregorian::date(9999, 12, 31); d += boost::gregorian::days(1)) {
    check(d);
  }
}

// What is no date raises the calendar's own error, with its text.
TEST(KnxLayout, NoDateRaisesTheCalendarsError) {
  EXPECT_NO_THROW(Layout::CheckCalendarDate(2024, 2, 29));
  EXPECT_THROW(Layout::CheckCalendarDate(2023, 2, 29), boost::gregorian::bad_day_of_month);
  EXPECT_THROW(Layout::CheckCalendarDate(2023, 13, 1), boost::gregorian::bad_month);
  EXPECT_THROW(Layout::CheckCalendarDate(2023, 1, 0), boost::gregorian::bad_day_of_month);
  EXPECT_THROW(Layout::CheckCalendarDate(1399, 1, 1), boost::gregorian::bad_year);
}

}  // namespace
}  // namespace Zel
