#include "Zel/TavValueHelper.h"

#include "TimeValue.h"

#include "Zel/TimeOfDay.h"

#include "ZelKnxHelper/KnxStrings.h"

#include <boost/date_time/posix_time/conversion.hpp>
#include <utf8.h>

#include <ctime>
#include <iterator>

namespace Zel {

template TAVVALUE ToTavValue<long>(const long&, TavValueType);
template TAVVALUE ToTavValue<unsigned long>(const unsigned long&, TavValueType);
template TAVVALUE ToTavValue<double>(const double&, TavValueType);
template TAVVALUE ToTavValue<short>(const short&, TavValueType);
template TAVVALUE ToTavValue<unsigned short>(const unsigned short&, TavValueType);
template TAVVALUE ToTavValue<unsigned char>(const unsigned char&, TavValueType);
template TAVVALUE ToTavValue<bool>(const bool&, TavValueType);
template TAVVALUE ToTavValue<float>(const float&, TavValueType);
namespace {

// The record of a time of day as the KNX bus carries it: local time, no date.
TAVTIME LocalTimeOfDay(int hour, int minute, int second) {
  TAVTIME time;
  time.Clear(false);
  time.hour = static_cast<std::uint8_t>(hour);
  time.minute = static_cast<std::uint8_t>(minute);
  time.second = static_cast<std::uint8_t>(second);
  return time;
}

TAVVALUE TimeValue(const TAVTIME& time, TavValueType ivt) {
  TAVVALUE result;
  result.ivt = ivt;
  result.SetTime(time);
  ZEL_ASSERT(result.ivt == ivt);
  return result;
}

}  // namespace

TAVVALUE ToTavValue(const ZelApp::TimeOfDay& time, TavValueType expectedType) {
  ZEL_ASSERT(expectedType == ivtDayTime);
  TAVTIME fields = LocalTimeOfDay(time.GetHour(), time.GetMinute(), time.GetSecond());
  fields.weekDays = ZelApp::ToTavWeekday(time.GetWeekday());
  return TimeValue(fields, expectedType);
}

TAVVALUE TimeValueOf(std::uint16_t year, std::uint8_t month, std::uint8_t day, std::uint8_t hour,
                     std::uint8_t minute, std::uint8_t second, TavValueType expectedType) {
  TAVTIME fields;
  bool set = false;
  TavValueType produced = ivtDayTime;
  if (expectedType == ivtDate) {
    produced = ivtDate;
    set = fields.SetDate(year, month, day, false);
  } else {
    // ivtDateTime, and ivtDayTime for every other expectation (the assertion
    // below then names the mismatch). SetDateTime also sets the weekday mask.
    if (expectedType == ivtDateTime) {
      produced = ivtDateTime;
    }
    set = fields.SetDateTime(year, month, day, hour, minute, second, false);
  }
  // A ptime that is not special always has a date of years 1400..9999.
  ZEL_ASSERT(set);
  TAVVALUE result = TimeValue(fields, produced);
  ZEL_ASSERT(result.ivt == expectedType);
  return result;
}

TAVVALUE ToTavValue(const boost::posix_time::ptime& time, TavValueType expectedType) {
  const std::tm tm = boost::posix_time::to_tm(time);
  return TimeValueOf(
      static_cast<std::uint16_t>(tm.tm_year + 1900), static_cast<std::uint8_t>(tm.tm_mon + 1),
      static_cast<std::uint8_t>(tm.tm_mday), static_cast<std::uint8_t>(tm.tm_hour),
      static_cast<std::uint8_t>(tm.tm_min), static_cast<std::uint8_t>(tm.tm_sec), expectedType);
}

TAVVALUE StringValueOf(std::string&& value, TavValueType expectedType) {
  ZEL_ASSERT(utf8::is_valid(value.begin(), value.end()));
  TAVVALUE result;
  result.ivt = ivtString;
  result.SetString(std::move(value));
  ZEL_ASSERT(result.ivt == expectedType);
  return result;
}

TAVVALUE ToTavValue(const std::string& value, TavValueType expectedType) {
  return StringValueOf(std::string(value), expectedType);
}

std::string RepairUTF8(std::string text) {
  if (utf8::is_valid(text.begin(), text.end())) {
    return text;
  }
  std::string repaired;
  repaired.reserve(text.size());
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(repaired), std::uint32_t{'?'});
  return repaired;
}

}  // namespace Zel
