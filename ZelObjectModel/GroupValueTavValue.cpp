#include "Zel/GroupValueTavValue.h"

#include "NumericCast.h"
#include "Zel/KnxOmbMapping.h"
#include "Zel/KnxValueConverter.h"
#include "Zel/MeasureDuration.h"
#include "Zel/TavValueHelper.h"
#include "Zel/TimeOfDay.h"
#include "Zel/Unreachable.h"

#include "ZelKnxHelper/KnxStrings.h"
#include "ZelLog/Logging.h"

#include <boost/date_time/gregorian/gregorian.hpp>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <utf8.h>

#include <cmath>
#include <limits>
#include <memory>
#include <ostream>

#define ZEL_LOG_SOURCE "ZelObjectModel/GroupValueTavValue"

namespace Zel {
namespace {

// Every field of a TAVTIME in its declared order, separated by blanks,
// numbers in decimal and the flags as 0 or 1.
struct TavTimeFields {
  const TAVTIME& time;
};
std::ostream& operator<<(std::ostream& os, TavTimeFields fields) {
  const TAVTIME& t = fields.time;
  return os << t.year << ' ' << unsigned{t.month} << ' ' << unsigned{t.day} << ' ' << unsigned{t.hour}
            << ' ' << unsigned{t.minute} << ' ' << unsigned{t.second} << ' ' << t.millisecond << ' '
            << t.weekDays << ' ' << (t.utc ? 1 : 0) << ' ' << (t.dst ? 1 : 0);
}

// main "." sub of a DPT code.
struct CodeText {
  unsigned long code;
};
std::ostream& operator<<(std::ostream& os, CodeText text) {
  return os << (text.code >> 16) << '.' << (text.code & 0xFFFFu);
}

KnxStack::GroupValue FromOctets(const std::uint8_t* octets, std::size_t count, std::uint32_t bits) {
  return KnxStack::GroupValue(KnxStack::BinaryData(octets, count), bits);
}

// The eight octets of DPT 19.001 for `time`. A time without a valid date
// (a cleared value, month or day 0, a year the calendar cannot hold) is
// sent as the "no date" form: 1970-01-01, no weekday, flags 0x24.
KnxStack::GroupValue DateAndTime(const TAVTIME& time) {
  std::uint8_t octets[8] = {70, 1, 1, 0, 0, 0, 0x24, 0};
  if (TAVTIME::IsValidDate(time.year, time.month, time.day)) {
    try {
      const boost::posix_time::ptime point = boost::posix_time::ptime_from_tm(time.ToTm());
      const boost::gregorian::date date = point.date();
      const boost::posix_time::time_duration clock = point.time_of_day();
      // Monday..Saturday are 1..6 and Sunday 7; the calendar counts Sunday 0.
      const unsigned weekday = date.day_of_week().as_number() == 0 ? 7u : date.day_of_week().as_number();
      octets[0] = static_cast<std::uint8_t>((date.year() - 1900) % 256);
      octets[1] = static_cast<std::uint8_t>(date.month().as_number());
      octets[2] = static_cast<std::uint8_t>(date.day());
      octets[3] = static_cast<std::uint8_t>((weekday << 5) | static_cast<unsigned>(clock.hours()));
      octets[4] = static_cast<std::uint8_t>(clock.minutes());
      octets[5] = static_cast<std::uint8_t>(clock.seconds());
      octets[6] = 0x20;
    } catch (const std::out_of_range&) {
      // A valid date outside the calendar's years: the "no date" form above.
    }
  }
  return FromOctets(octets, sizeof octets, 64);
}

// The table-driven converter shared by every call: built once, read-only
// afterwards. Null when its Init failed.
KnxValueConverter* SharedConverter() {
  static const std::unique_ptr<KnxValueConverter> converter = [] {
    auto c = std::make_unique<KnxValueConverter>();
    return c->Init() ? std::move(c) : nullptr;
  }();
  return converter.get();
}

// The object-model type of a DPT code; the empty type for a code no device
// can name.
TavValueType ExpectedType(unsigned long dptCode) {
  const boost::optional<std::uint32_t> code = Narrow32(dptCode);
  return code ? KnxOmbMapping::GetIvtFromDpt(*code) : ivtEmpty;
}

}  // namespace

boost::optional<KnxStack::GroupValue> TavValueToGroupValue(const TAVVALUE& value,
                                                           unsigned long dptCode) {
  KnxStack::GroupValue group;
  const TavValueType expected = ExpectedType(dptCode);
  if (value.ivt != expected) {
    ZEL_LOG_ERROR("Value type mismatch: Expected '" << TAVVALUE::GetNameFromValueType(expected)
                                                    << "', got '"
                                                    << TAVVALUE::GetNameFromValueType(value.ivt) << "'");
    return boost::none;
  }
  const unsigned long main = dptCode >> 16;
  switch (main) {
    case 1:
      group.SetAsBoolean(value.GetByte() != 0);
      break;
    case 2:
    case 23:
      group.SetAsUnsigned2(value.GetByte());
      break;
    case 3:
      group.SetAsUnsigned4(value.GetByte());
      break;
    case 5:
    case 18:
    case 20:
    case 21:
    case 26:
    case 238:
      group.SetAsUnsigned8(value.GetByte());
      break;
    case 6:
      group.SetAsSigned8(static_cast<std::int8_t>(value.GetByte()));
      break;
    case 7:
    case 22:
    case 217:
    case 234:
    case 237: {
      std::uint32_t v = value.GetDWord();
      if (v > 65535) {
        // Clamped and sent, not refused (intended).
        ZEL_LOG_ERROR("Value out of range: " << v << " (DPT " << main << ")");
        v = 65535;
      }
      group.SetAsUnsigned16(static_cast<std::uint16_t>(v));
      break;
    }
    case 8: {
      const std::int32_t v = value.GetInteger();
      if (v < INT16_MIN || v > INT16_MAX) {
        // Saturated and sent, not refused (intended).
        ZEL_LOG_ERROR("Value out of range: " << v << " (DPT 8)");
      }
      group.SetAsSigned16(static_cast<std::int16_t>(v < INT16_MIN ? INT16_MIN : v > INT16_MAX ? INT16_MAX : v));
      break;
    }
    case 9:
      if (!std::isfinite(value.GetDouble())) {
        return boost::none;  // refused without a message (intended)
      }
      group.SetAsFloat16(value.GetDouble());
      break;
    case 10: {
      const boost::optional<ZelApp::TimeOfDay> time = ZelApp::FromTavTime(value.GetTime());
      if (!time) {
        ZEL_LOG_ERROR("Could not convert TAVTIME " << TavTimeFields{value.GetTime()} << " to TimeOfDay");
        return boost::none;
      }
      group.SetAsTimeOfDay(time->GetHour(), time->GetMinute(), time->GetSecond(),
                           static_cast<KnxStack::GroupValue::DayOfWeek>(time->GetWeekday()));
      break;
    }
    case 11: {
      const TAVTIME& t = value.GetTime();
      if (!TAVTIME::IsValidDate(t.year, t.month, t.day)) {
        ZEL_LOG_ERROR("Not a valid date: " << TavTimeFields{t});
        return boost::none;
      }
      group.SetAsDate(t.day, t.month, t.year);  // the setter takes day, month, year
      break;
    }
    case 12:
    case 15:
    case 27:
      group.SetAsUnsigned32(value.GetDWord());
      break;
    case 13:
      group.SetAsSigned32(value.GetInteger());
      break;
    case 14:
      group.SetAsFloat32(NarrowToFloat(value.GetDouble()));
      break;
    case 16: {
      const std::string& text = value.GetString();
      if (!utf8::is_valid(text.begin(), text.end())) {
        ZEL_LOG_ERROR("Got TAVVALUE that contains a non-UTF8 string");
        return boost::none;
      }
      group.SetAsString14(getLatin1FromUTF8Lossy(UTF8String(text)).str());
      break;
    }
    case 17:
      if (value.GetByte() > 63) {
        return boost::none;  // refused without a message (intended)
      }
      group.SetAsUnsigned8(value.GetByte());
      break;
    case 19:
      group = DateAndTime(value.GetTime());
      break;
    case 232: {
      // Three octets here, while decoding reads four raw octets (intended).
      const std::uint32_t v = value.GetDWord();
      const std::uint8_t octets[3] = {static_cast<std::uint8_t>(v >> 16),
                                      static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)};
      group = FromOctets(octets, sizeof octets, 24);
      break;
    }
    default:
      // "Value type" names the DPT main number; the text is kept as it is.
      ZEL_LOG_ERROR("Value type " << main << " not supported (dwDPT=" << dptCode << " with value='"
                                  << "ivt: " << static_cast<std::int32_t>(value.ivt)
                                  << ", ToString(): " << value.ToString() << "').");
      return boost::none;
  }
  return group;
}

bool CheckGroupValue(const KnxStack::GroupValue& value, unsigned long dptCode) {
  if (!Narrow32(dptCode)) {
    return false;  // no DPT of the device has such a code
  }
  KNXDPT dpt{static_cast<std::uint8_t>(value.GetDefinedSize()), static_cast<std::uint16_t>(dptCode >> 16),
             static_cast<std::uint16_t>(dptCode & 0xFFFFu)};
  KnxValueConverter* converter = SharedConverter();
  if (converter == nullptr) {
    ZEL_LOG_FATAL("Could not Init() the value converter");
    return false;
  }
  ZEL_LOG_DEBUG("DPT is " << dpt.mainNumber << "." << dpt.subNumber << " with bit size "
                          << value.GetDefinedSize());
  TAVVALUE scratch;
  return converter->FromKnxValue(dpt, value, scratch);
}

namespace {

// The public operation whose entries a helper writes: its short name and
// full signature.
struct Caller {
  const char* function;
  const char* signature;
};

#define ZEL_LOG_WARN_FOR(caller, pieces)                                                 \
  ZEL_LOG_AT_FUNCTION(::log4cplus::WARN_LOG_LEVEL, ZEL_LOG_SOURCE, (caller).function, \
                      (caller).signature, pieces)

// The decoding branches, after the checks; entries are written as the
// caller's. Throws GroupValueException when the group value holds too few
// octets for its getter.
boost::optional<TAVVALUE> Decode(const KnxStack::GroupValue& value, unsigned long dptCode,
                                 TavValueType expected, const Caller& caller) {
  const unsigned long main = dptCode >> 16;
  switch (main) {
    case 1:
      return ToTavValue(value.GetAsBoolean(), expected);
    case 2:
    case 23:
      return ToTavValue<unsigned char>(value.GetAsUnsigned2(), expected);
    case 3:
      return ToTavValue<unsigned char>(value.GetAsUnsigned4(), expected);
    case 5:
    case 17:
    case 18:
    case 20:
    case 21:
    case 26:
    case 238:
      return ToTavValue<unsigned char>(value.GetAsUnsigned8(), expected);
    case 6:
      // The object model keeps main 6 as a byte: the signed octet is stored
      // as its unsigned octet (-1 becomes 255).
      return ToTavValue(static_cast<unsigned char>(value.GetAsSigned8()), expected);
    case 7:
    case 22:
    case 217:
    case 234:
    case 237:
      return ToTavValue<unsigned short>(value.GetAsUnsigned16(), expected);
    case 8:
      return ToTavValue<short>(value.GetAsSigned16(), expected);
    case 9:
      return ToTavValue<double>(value.GetAsFloat16(), expected);
    case 10: {
      int hour = 0;
      int minute = 0;
      int second = 0;
      KnxStack::GroupValue::DayOfWeek day = KnxStack::GroupValue::NoDay;
      if (!value.GetAsTimeOfDay(&hour, &minute, &second, &day)) {
        ZEL_LOG_WARN_FOR(caller, "Received invalid DPT 10 time of day: " << hour << ":" << minute << ":" << second);
        return boost::none;
      }
      if (expected != ivtDayTime) {
        return boost::none;
      }
      return ToTavValue(UndefinedBehaviourIfNone(ZelApp::TimeOfDay::Create(
                            hour, minute, second, static_cast<ZelApp::DayOfWeek>(day))),
                        expected);
    }
    case 11: {
      const KnxStack::BinaryData& raw = value.GetRawData();
      if (raw.GetLength() != 3) {
        ZEL_LOG_WARN_FOR(caller, "Received an invalid DPT 11.001 date from the KNX: Length in bytes is "
                     << raw.GetLength() << ", expected 3");
        return boost::none;
      }
      if (raw.GetUInt8Value(2) >= 100) {
        ZEL_LOG_WARN_FOR(caller, "Received an invalid DPT 11.001 date from the KNX: Year "
                     << unsigned{raw.GetUInt8Value(2)} << " is out of range (0-99)");
        return boost::none;
      }
      int day = 0;
      int month = 0;
      int year = 0;
      value.GetAsDate(&day, &month, &year);
      if (year < 1990 || year > 2089 || month < 1 || month > 12 || day < 1 || day > 31) {
        ZEL_LOG_WARN_FOR(caller, "Received an invalid DPT 11.001 date from the KNX: " << year << "-" << month << "-"
                                                                           << day);
        return boost::none;
      }
      const boost::gregorian::date date(static_cast<unsigned short>(year),
                                        static_cast<unsigned short>(month),
                                        static_cast<unsigned short>(day));
      return ToTavValue(boost::posix_time::ptime(date), expected);
    }
    case 12:
    case 15:
    case 27:
    case 232:
      // Four raw octets (three for 232.x), while encoding writes three for 232 (intended).
      return ToTavValue<unsigned long>(value.GetRawData().GetUInt32Value(0), expected);
    case 13:
      return ToTavValue<long>(value.GetAsSigned32(), expected);
    case 14:
      return ToTavValue<float>(value.GetAsFloat32(), expected);
    case 16:
      return ToTavValue(
          UndefinedBehaviourIfNone(UTF8String::Create(getUTF8FromLatin1(KnxStyleString(value.GetAsString14()))))
              .str(),
          expected);
    case 19: {
      const KnxStack::BinaryData raw = value.GetRawData();
      const auto octet = [&raw](std::size_t i) { return raw.GetUInt8Value(i); };
      // The weekday bits and the flags octets are not read. A month or day of
      // 0 raises the calendar's bad-month / bad-day-of-month error, which
      // leaves this function (intended).
      const boost::gregorian::date date(static_cast<unsigned short>(octet(0) + 1900),
                                        static_cast<unsigned short>(octet(1) & 0x0F),
                                        static_cast<unsigned short>(octet(2) & 0x1F));
      const long seconds = (octet(3) & 0x1F) * 3600L + (octet(4) & 0x3F) * 60L + (octet(5) & 0x3F);
      return ToTavValue(boost::posix_time::ptime(date) + boost::posix_time::seconds(seconds), expected);
    }
    case 31:
      // Decoded here, while encoding refuses main 31 (intended).
      return ToTavValue<unsigned char>(value.GetAsUnsigned3(), expected);
    default:
      return boost::none;  // a main number with a value type but no decoding
  }
}

}  // namespace

boost::optional<TAVVALUE> GroupValueToTavValue(const KnxStack::GroupValue& value, unsigned long dptCode) {
  const MeasureDuration timer("Decoding a KNX value took ", boost::timer::nanosecond_type(100000000));
  const TavValueType expected = ExpectedType(dptCode);
  if (expected == ivtEmpty) {
    ZEL_LOG_ERROR("Unsupported DPT: " << CodeText{dptCode});
    return boost::none;
  }
  if (!CheckGroupValue(value, dptCode)) {
    ZEL_LOG_ERROR("Received invalid value " << value.GetRawData().ToString() << " for DPT "
                                            << CodeText{dptCode});
    return boost::none;
  }
  try {
    return Decode(value, dptCode, expected, Caller{__func__, __PRETTY_FUNCTION__});
  } catch (const KnxStack::GroupValueException& e) {
    // Possible for main numbers with a value type but no DPT-table row,
    // whose check accepts any size: empty, never an exception.
    ZEL_LOG_ERROR("Received a group value too short for DPT " << CodeText{dptCode} << ": " << e.what());
    return boost::none;
  }
}

}  // namespace Zel
