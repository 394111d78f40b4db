// ToTavValue, RepairUTF8 and MeasureDuration.
#include "LogCapture.h"

#include "Zel/MeasureDuration.h"
#include "Zel/TavValueHelper.h"

#include <boost/date_time/posix_time/posix_time.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <thread>
#include <tuple>

namespace Zel {
namespace {

using namespace std::chrono_literals;

TEST(ToTavValue, EachTypeGoesToItsPlatformType) {
  const boost::posix_time::ptime friday(boost::gregorian::date(2024, 5, 17),
                                        boost::posix_time::time_duration(13, 14, 15, 5000));
  // long and unsigned long keep their low 32 bits, whatever their width.
  const std::pair<TAVVALUE, const char*> cases[] = {
      {ToTavValue(true, ivtBool), "2:1"},
      {ToTavValue<unsigned char>(255, ivtByte), "6:255"},
      {ToTavValue<unsigned short>(65535, ivtWord), "7:65535"},
      {ToTavValue<short>(-32768, ivtInteger), "4:-32768"},
      {ToTavValue(static_cast<long>(std::int64_t{0x180000005}), ivtInteger), "4:-2147483643"},
      {ToTavValue(static_cast<unsigned long>(std::uint64_t{0x1FFFFFFFE}), ivtDWord), "8:4294967294"},
      {ToTavValue(-21.25, ivtFloat), "3:-21.25"},
      {ToTavValue(0.1f, ivtFloat), "3:0.10000000149011612"},
      {ToTavValue(std::string("Gr\xC3\xBC\xC3\x9F"
                              "e"),
                  ivtString),
       "10:Gr\xC3\xBC\xC3\x9F"
       "e"},
      {ToTavValue(*ZelApp::TimeOfDay::Create(7, 8, 9, ZelApp::Sunday), ivtDayTime),
       "15:0000-00-00 07:08:09.000 w=64 utc=0 dst=0"},
      {ToTavValue(friday, ivtDate), "11:2024-05-17 00:00:00.000 w=16 utc=0 dst=0"},
      {ToTavValue(friday, ivtDateTime), "13:2024-05-17 13:14:15.000 w=16 utc=0 dst=0"},
      {ToTavValue(friday, ivtDayTime), "15:2024-05-17 13:14:15.000 w=16 utc=0 dst=0"},
  };
  for (const auto& [value, serial] : cases) {
    std::string text;
    value.Serialize(text, false);
    EXPECT_EQ(text, serial);
  }
}

using ToTavValueDeathTest = ::testing::Test;
TEST_F(ToTavValueDeathTest, TypeMismatchIsAProgrammingError) {
  const boost::posix_time::ptime time(boost::gregorian::date(2024, 5, 17));
  EXPECT_DEATH(ToTavValue<short>(1, ivtWord), "ZEL_ASSERT\\(result.ivt == expectedType\\) failed");
  EXPECT_DEATH(ToTavValue(time, ivtTime), "ZEL_ASSERT\\(result.ivt == expectedType\\) failed");
  EXPECT_DEATH(ToTavValue(*ZelApp::TimeOfDay::Create(1, 2, 3, ZelApp::NoDay), ivtTime),
               "ZEL_ASSERT\\(expectedType == ivtDayTime\\) failed");
  EXPECT_DEATH(ToTavValue(std::string("a\xFF"), ivtString), "ZEL_ASSERT\\(utf8::is_valid");
}

TEST(RepairUTF8, ReplacesEachInvalidSequenceByAQuestionMark) {
  const std::string valid =
      "Gr\xC3\xBC\xC3\x9F"
      "e \xE2\x82\xAC";
  EXPECT_EQ(RepairUTF8(valid), valid);
  // A bad octet, stray continuation octets, a sequence cut off at the end.
  EXPECT_EQ(RepairUTF8("a\xFF"
                       "b|\x80\x80x|ab\xE2\x82"),
            "a?b|??x|ab?");
}

TEST(MeasureDuration, InfoAtOrOverTheThresholdDebugOtherwise) {
  // A scope that sleeps 3 ms takes at least as long.
  const std::tuple<boost::optional<boost::timer::nanosecond_type>, std::chrono::milliseconds, log4cplus::LogLevel> cases[] = {
      {0, 0ms, log4cplus::INFO_LOG_LEVEL}, {2000000, 3ms, log4cplus::INFO_LOG_LEVEL}, {boost::timer::nanosecond_type{1} << 60, 0ms, log4cplus::DEBUG_LOG_LEVEL}, {boost::none, 0ms, log4cplus::DEBUG_LOG_LEVEL}};
  for (const auto& [threshold, sleep, level] : cases) {
    SCOPED_TRACE(threshold ? "threshold " + std::to_string(*threshold) : std::string("no threshold"));
    Tests::LogCapture log;
    {
      const MeasureDuration timer("Scope took ", threshold);
      std::this_thread::sleep_for(sleep);
    }
    const auto entries = log.Entries();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].level, level);
    EXPECT_EQ(entries[0].source, "Include/Zel/MeasureDuration");
    std::string shape = entries[0].text;  // the seconds (fewer than 10) with 6 decimals
    std::replace_if(
        shape.begin(), shape.end(), [](char c) { return c >= '0' && c <= '9'; }, '9');
    EXPECT_EQ(shape, "Scope took 9.999999s");
  }
  Tests::LogCapture infoOnly(log4cplus::INFO_LOG_LEVEL);
  { const MeasureDuration timer("Scope took "); }
  EXPECT_TRUE(infoOnly.Empty());
}

// Whether to write is decided when the scope ends: a level lowered while it
// runs still gets the entry, one raised while it runs gets none.
TEST(MeasureDuration, AsksTheLevelAtTheEndOfTheScope) {
  Tests::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
  {
    const MeasureDuration timer("Scope took ", 0);  // started on the coarse clock, which may not move
    GetGlobalDefaultLogger().setLogLevel(log4cplus::DEBUG_LOG_LEVEL);
  }
  ASSERT_EQ(log.Entries().size(), 1u);
  EXPECT_EQ(log.Entries()[0].level, log4cplus::INFO_LOG_LEVEL);  // no time at all is at the threshold 0
  log.Clear();
  {
    const MeasureDuration timer("Scope took ");
    GetGlobalDefaultLogger().setLogLevel(log4cplus::ERROR_LOG_LEVEL);
  }
  EXPECT_TRUE(log.Empty());
}

}  // namespace
}  // namespace Zel
