// Platform values of dates and times from calendar fields, shared by
// ToTavValue(ptime) and the conversion by DPT code (which works from the
// octets' fields and needs no Boost time point).
#pragma once

#include "BasePlatform/TavValue.h"

#include <cstdint>
#include <string>

namespace Zel {

// What ToTavValue(ptime, expectedType) gives for a point in time with these
// fields: ivtDate the date; ivtDateTime the date and time of day; otherwise
// ivtDayTime, date, time and the date's weekday mask (and the assertion
// that the produced type is `expectedType`).
// REQUIRES: a date of years 1400..9999 and a valid time of day (asserted).
TAVVALUE TimeValueOf(std::uint16_t year, std::uint8_t month, std::uint8_t day, std::uint8_t hour,
                     std::uint8_t minute, std::uint8_t second, TavValueType expectedType);

// ToTavValue(const std::string&, expectedType) for a text the caller gives
// up: the same checks, no copy.
TAVVALUE StringValueOf(std::string&& value, TavValueType expectedType);

}  // namespace Zel
