// The text forms of values on zelknx's command line and in its output.
//
//   boolean        true, false, 1, 0
//   integers       decimal or 0x hex, what the value's type holds on the
//                  device: bytes one octet (-128..-1 as its two's
//                  complement), words and double words 0..4294967295
//                  (unsigned long there), integers -2147483648..2147483647
//   floats         decimal, nan, inf, -inf
//   strings        as given (UTF-8)
//   time of day    HH:MM:SS, optionally after a weekday Mon..Sun
//   date           YYYY-MM-DD
//   date and time  YYYY-MM-DD HH:MM:SS
//   no value       -  (the value that decoding gives for invalid data, type 0)
#pragma once

#include "BasePlatform/TavValue.h"
#include "Zel/KnxDpt.h"

#include <nlohmann/json.hpp>

#include <boost/optional.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Zelknx {

// The value of `type` written as `text`; none when the text is not a value
// of that type (the caller reports a usage error). Dates that the calendar
// does not have are kept field by field, so that the library can refuse them.
boost::optional<TAVVALUE> ParseValue(TavValueType type, const std::string& text);

// The value in the text form above.
std::string FormatValue(const TAVVALUE& value);
// The value for JSON: numbers and booleans as such, no value as null,
// everything else as its text form.
nlohmann::ordered_json JsonValue(const TAVVALUE& value);

// "9.001", "9.1" or "9" (sub number 0); none for anything else.
boost::optional<Zel::KNXDPT> ParseDpt(const std::string& text);
// A numeric DPT code, main * 65536 + sub, in decimal or 0x hex.
boost::optional<Zel::KNXDPT> ParseDptCode(const std::string& text);
// "9.001"; "9.x" for sub number 0 when `wildcard`.
std::string DptName(const Zel::KNXDPT& dpt, bool wildcard = false);
using Zel::DptCode;

// An unsigned number in decimal or 0x hex, at most `max`.
boost::optional<unsigned long> ParseUnsigned(const std::string& text, unsigned long max);

// Payload octets written in hex, two digits each, with blanks or colons
// anywhere between digits ("0c33", "0C 33", "0c:33"); none, with `error`
// saying why, for any other character or an odd number of digits.
boost::optional<std::vector<std::uint8_t>> ParseHex(const std::string& text, std::string& error);

// One line of JSON. Text that is not UTF-8 (an argument, a file name, a
// decoded string) is written with U+FFFD for each invalid sequence, so
// that printing never fails.
std::string DumpJson(const nlohmann::ordered_json& json);

}  // namespace Zelknx
