#include "ValueText.h"

#include "BasePlatform/TimeOfDay.h"
#include "Zel/TavValueHelper.h"

#include <array>
#include <charconv>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <cstring>
#include <sstream>
#include <iomanip>

namespace Zelknx {
namespace {

constexpr std::array<const char*, 7> kWeekdays = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};

// A whole-string integer in decimal or 0x hex, within [min, max].
boost::optional<std::int64_t> ParseInteger(const std::string& text, std::int64_t min,
                                           std::int64_t max) {
  const char* begin = text.data();
  const char* end = begin + text.size();
  bool negative = false;
  if (begin != end && *begin == '-') {
    negative = true;
    ++begin;
  }
  int base = 10;
  if (end - begin > 2 && begin[0] == '0' && (begin[1] == 'x' || begin[1] == 'X')) {
    base = 16;
    begin += 2;
  }
  std::uint64_t magnitude = 0;
  const auto [last, error] = std::from_chars(begin, end, magnitude, base);
  if (begin == end || error != std::errc() || last != end || magnitude > (std::uint64_t{1} << 32)) {
    return boost::none;
  }
  const std::int64_t number =
      negative ? -static_cast<std::int64_t>(magnitude) : static_cast<std::int64_t>(magnitude);
  if (number < min || number > max) {
    return boost::none;
  }
  return number;
}

// `text` is a number; the whole string is read. (An out-parameter rather
// than an optional: GCC 12 warns falsely about optional doubles at -O1.)
bool ParseDouble(const std::string& text, double& number) {
  if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) {
    return false;
  }
  char* last = nullptr;
  number = std::strtod(text.c_str(), &last);
  return last == text.c_str() + text.size();
}

// Exactly `count` decimal digits of `text` from `pos`, advancing `pos`.
bool ReadDigits(const std::string& text, std::size_t& pos, std::size_t count, int& number) {
  if (pos + count > text.size()) {
    return false;
  }
  number = 0;
  for (std::size_t i = 0; i < count; ++i, ++pos) {
    if (!std::isdigit(static_cast<unsigned char>(text[pos]))) {
      return false;
    }
    number = number * 10 + (text[pos] - '0');
  }
  return true;
}

bool ReadChar(const std::string& text, std::size_t& pos, const char* accepted) {
  if (pos >= text.size() || std::strchr(accepted, text[pos]) == nullptr) {
    return false;
  }
  ++pos;
  return true;
}

// "HH:MM:SS" (or "H:MM:SS") from `pos` to the end of `text`.
bool ReadTime(const std::string& text, std::size_t pos, int& hour, int& minute, int& second) {
  const std::size_t hourDigits = text.size() - pos == 7 ? 1 : 2;
  return ReadDigits(text, pos, hourDigits, hour) && ReadChar(text, pos, ":") &&
         ReadDigits(text, pos, 2, minute) && ReadChar(text, pos, ":") &&
         ReadDigits(text, pos, 2, second) && pos == text.size();
}

// Fields of a calendar date as written; none unless the form matches.
boost::optional<TAVTIME> ParseDateTime(const std::string& text, bool withTime) {
  std::size_t pos = 0;
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (!ReadDigits(text, pos, 4, year) || !ReadChar(text, pos, "-") ||
      !ReadDigits(text, pos, 2, month) || !ReadChar(text, pos, "-") ||
      !ReadDigits(text, pos, 2, day)) {
    return boost::none;
  }
  if (withTime ? !(ReadChar(text, pos, " T") && ReadTime(text, pos, hour, minute, second))
               : pos != text.size()) {
    return boost::none;
  }
  const auto y = static_cast<std::uint16_t>(year);
  const auto mo = static_cast<std::uint8_t>(month);
  const auto d = static_cast<std::uint8_t>(day);
  const auto h = static_cast<std::uint8_t>(hour);
  const auto mi = static_cast<std::uint8_t>(minute);
  const auto s = static_cast<std::uint8_t>(second);
  if (!TAVTIME::IsValidTime(h, mi, s)) {
    return boost::none;
  }
  TAVTIME time;
  time.Clear(false);
  const bool valid =
      withTime ? time.SetDateTime(y, mo, d, h, mi, s, false) : time.SetDate(y, mo, d, false);
  if (!valid) {
    // Kept as written: refusing an impossible date is the library's call.
    time.year = y;
    time.month = mo;
    time.day = d;
    time.hour = h;
    time.minute = mi;
    time.second = s;
  }
  return time;
}

boost::optional<TAVVALUE> ParseTimeOfDay(const std::string& text, TavValueType type) {
  int day = 0;
  std::size_t pos = 0;
  for (std::size_t i = 0; i < kWeekdays.size(); ++i) {
    if (text.compare(0, 4, std::string(kWeekdays[i]) + " ") == 0) {
      day = static_cast<int>(i) + 1;
      pos = 4;
    }
  }
  int hour = 0, minute = 0, second = 0;
  if (!ReadTime(text, pos, hour, minute, second)) {
    return boost::none;
  }
  const auto time =
      ZelApp::TimeOfDay::Create(hour, minute, second, static_cast<ZelApp::DayOfWeek>(day));
  if (!time) {
    return boost::none;
  }
  TAVVALUE value = Zel::ToTavValue(*time, ivtDayTime);
  value.ivt = type;
  return value;
}

std::string TwoDigits(unsigned number) {
  std::ostringstream out;
  out << std::setw(2) << std::setfill('0') << number;
  return out.str();
}

std::string TimeText(const TAVTIME& time) {
  return TwoDigits(time.hour) + ":" + TwoDigits(time.minute) + ":" + TwoDigits(time.second);
}

std::string DateText(const TAVTIME& time) {
  std::ostringstream out;
  out << std::setw(4) << std::setfill('0') << time.year << '-' << TwoDigits(time.month) << '-'
      << TwoDigits(time.day);
  return out.str();
}

bool IsIntegerType(TavValueType type) {
  switch (type) {
    case ivtChar:
    case ivtByte:
    case ivtEnumByte:
    case ivtWord:
    case ivtInteger:
    case ivtTimePeriod:
    case ivtDWord:
    case ivtCounter: return true;
    default: return false;
  }
}

bool IsDoubleType(TavValueType type) {
  switch (type) {
    case ivtFloat:
    case ivtPercent:
    case ivtScaling:
    case ivtDimming:
    case ivtAngle: return true;
    default: return false;
  }
}

}  // namespace

boost::optional<TAVVALUE> ParseValue(TavValueType type, const std::string& text) {
  TAVVALUE value;
  if (text == "-") {
    value.ivt = ivtNone;  // what the table's decoders give for invalid data
    return value;
  }
  value.ivt = type;
  switch (type) {
    case ivtBool:
      if (text == "true" || text == "1") {
        value.SetBool(true);
      } else if (text == "false" || text == "0") {
        value.SetBool(false);
      } else {
        return boost::none;
      }
      return value;
    case ivtChar:
    case ivtByte:
    case ivtEnumByte: {
      // -128..-1 are the octet's two's complement (the byte of a signed DPT 6 value).
      const auto number = ParseInteger(text, -128, 255);
      if (!number)
        return boost::none;
      value.SetByte(static_cast<std::uint8_t>(*number & 0xFF));
      return value;
    }
    case ivtInteger:
    case ivtTimePeriod: {
      const auto number = ParseInteger(text, std::numeric_limits<std::int32_t>::min(),
                                       std::numeric_limits<std::int32_t>::max());
      if (!number)
        return boost::none;
      value.SetInteger(static_cast<std::int32_t>(*number));
      return value;
    }
    case ivtWord:
    case ivtDWord:
    case ivtCounter: {
      // A word beyond 16 bits is passed on as such: the library's range
      // handling (clamping for DPT 7) is what the tool shows.
      const auto number = ParseInteger(text, 0, std::numeric_limits<std::uint32_t>::max());
      if (!number)
        return boost::none;
      value.SetDWord(static_cast<std::uint32_t>(*number));
      return value;
    }
    case ivtString:
    case ivtBinary: value.SetString(text); return value;
    case ivtDate:
    case ivtDateUtc:
    case ivtDateTime:
    case ivtDateTimeUtc:
    case ivtTimestamp: {
      const auto time = ParseDateTime(text, type != ivtDate && type != ivtDateUtc);
      if (!time)
        return boost::none;
      value.SetTime(*time);
      return value;
    }
    case ivtDayTime:
    case ivtTime:
    case ivtTimeUtc: return ParseTimeOfDay(text, type);
    default: break;
  }
  if (IsDoubleType(type)) {
    double number = 0.0;
    if (!ParseDouble(text, number))
      return boost::none;
    value.SetDouble(number);
    return value;
  }
  return boost::none;  // ivtNone, ivtEmpty and unknown numbers take only "-"
}

std::string FormatValue(const TAVVALUE& value) {
  switch (value.ivt) {
    case ivtNone:
    case ivtEmpty: return "-";
    case ivtBool: return value.GetBool() ? "true" : "false";
    case ivtDate:
    case ivtDateUtc: return DateText(value.GetTime());
    case ivtDateTime:
    case ivtDateTimeUtc:
    case ivtTimestamp: return DateText(value.GetTime()) + " " + TimeText(value.GetTime());
    case ivtDayTime:
    case ivtTime:
    case ivtTimeUtc: {
      std::string text;
      for (std::size_t i = 0; i < kWeekdays.size(); ++i) {
        if (value.GetTime().weekDays == (1u << i)) {
          text = std::string(kWeekdays[i]) + " ";
        }
      }
      return text + TimeText(value.GetTime());
    }
    default:
      return value.ToString();  // numbers in the platform's shortest form, strings as they are
  }
}

nlohmann::ordered_json JsonValue(const TAVVALUE& value) {
  if (value.ivt == ivtNone || value.ivt == ivtEmpty) {
    return nullptr;
  }
  if (value.ivt == ivtBool) {
    return value.GetBool();
  }
  if (IsIntegerType(value.ivt)) {
    switch (value.ivt) {
      case ivtChar:
      case ivtByte:
      case ivtEnumByte: return value.GetByte();
      case ivtWord: return value.GetWord();
      case ivtInteger:
      case ivtTimePeriod: return value.GetInteger();
      default: return value.GetDWord();
    }
  }
  if (IsDoubleType(value.ivt) && std::isfinite(value.GetDouble())) {
    return value.GetDouble();
  }
  return FormatValue(value);
}

boost::optional<Zel::KNXDPT> ParseDpt(const std::string& text) {
  const auto dot = text.find('.');
  const auto main = ParseUnsigned(text.substr(0, dot), 65535);
  const auto sub = dot == std::string::npos ? boost::optional<unsigned long>(0)
                                            : ParseUnsigned(text.substr(dot + 1), 65535);
  // Decimal only: "0x" belongs to codes.
  if (!main || !sub || text.find_first_not_of("0123456789.") != std::string::npos) {
    return boost::none;
  }
  Zel::KNXDPT dpt;
  dpt.mainNumber = static_cast<std::uint16_t>(*main);
  dpt.subNumber = static_cast<std::uint16_t>(*sub);
  return dpt;
}

boost::optional<Zel::KNXDPT> ParseDptCode(const std::string& text) {
  const auto code = ParseUnsigned(text, std::numeric_limits<std::uint32_t>::max());
  if (!code) {
    return boost::none;
  }
  return Zel::DptOfCode(static_cast<std::uint32_t>(*code), 0);
}

std::string DptName(const Zel::KNXDPT& dpt, bool wildcard) {
  std::ostringstream out;
  out << dpt.mainNumber << '.';
  if (wildcard && dpt.subNumber == 0) {
    out << 'x';
  } else {
    out << std::setw(3) << std::setfill('0') << dpt.subNumber;
  }
  return out.str();
}

boost::optional<unsigned long> ParseUnsigned(const std::string& text, unsigned long max) {
  if (text.empty() || text[0] == '-') {
    return boost::none;
  }
  const auto number = ParseInteger(text, 0, static_cast<std::int64_t>(max));
  if (!number) {
    return boost::none;
  }
  return static_cast<unsigned long>(*number);
}

boost::optional<std::vector<std::uint8_t>> ParseHex(const std::string& text, std::string& error) {
  std::vector<std::uint8_t> octets;
  int high = -1;  // the first digit of an octet, while its second is awaited
  for (const char c : text) {
    if (c == ' ' || c == ':' || c == '\t')
      continue;
    if (!std::isxdigit(static_cast<unsigned char>(c))) {
      error = "bad hex string '" + text + "'";
      return boost::none;
    }
    const int digit =
        std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : std::tolower(c) - 'a' + 10;
    if (high < 0) {
      high = digit;
    } else {
      octets.push_back(static_cast<std::uint8_t>(high * 16 + digit));
      high = -1;
    }
  }
  if (high >= 0) {
    error = "odd number of hex digits in '" + text + "'";
    return boost::none;
  }
  return octets;
}

std::string DumpJson(const nlohmann::ordered_json& json) {
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace Zelknx
