#include "Zel/GroupValueTavValue.h"

#include "DptCatalogue.h"
#include "KnxLayout.h"
#include "NumericCast.h"
#include "TimeValue.h"
#include "Zel/KnxOmbMapping.h"
#include "Zel/KnxValueConverter.h"
#include "Zel/Log.h"
#include "Zel/MeasureDuration.h"
#include "Zel/TavValueHelper.h"
#include "Zel/TimeOfDay.h"
#include "Zel/Unreachable.h"

#include "ZelKnxHelper/KnxStrings.h"

#include <utf8.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <ostream>

#define ZEL_LOG_SOURCE "ZelObjectModel/GroupValueTavValue"

namespace Zel {
namespace {

using Catalogue::Decoding;
using Catalogue::Encoding;

// Every field of a TAVTIME in its declared order, separated by blanks,
// numbers in decimal and the flags as 0 or 1.
struct TavTimeFields {
  const TAVTIME& time;
};
std::ostream& operator<<(std::ostream& os, TavTimeFields fields) {
  const TAVTIME& t = fields.time;
  return os << t.year << ' ' << unsigned{t.month} << ' ' << unsigned{t.day} << ' '
            << unsigned{t.hour} << ' ' << unsigned{t.minute} << ' ' << unsigned{t.second} << ' '
            << t.millisecond << ' ' << t.weekDays << ' ' << (t.utc ? 1 : 0) << ' '
            << (t.dst ? 1 : 0);
}

// The eight octets of DPT 19.001 for `time`: the date and the time of day
// as a point in time (an hour, minute or second beyond its range carries
// into the next day), its weekday, flags 0x20. A time without a valid date
// (a cleared value, month or day 0, a year before 1400) is sent as the "no
// date" form: 1970-01-01, no weekday, no time, flags 0x24.
KnxStack::GroupValue DateAndTime(const TAVTIME& time) {
  if (!TAVTIME::IsValidDate(time.year, time.month, time.day) || time.year < 1400) {
    return Layout::WriteDateTime({1970, 1, 1, 0, 0, 0, 0, 0x24});
  }
  const Layout::CarriedDateTime c =
      Layout::CarryDateTime(time.year, time.month, time.day, time.hour, time.minute, time.second);
  return Layout::WriteDateTime({c.date.year, c.date.month, c.date.day,
                                Layout::WeekdayFromDays(c.days), c.hour, c.minute, c.second, 0x20});
}

// The object-model type of a DPT code; the empty type for a code no device
// can name.
TavValueType ExpectedType(unsigned long dptCode) {
  return Fits32(dptCode) ? KnxOmbMapping::GetIvtFromDpt(static_cast<std::uint32_t>(dptCode))
                         : ivtEmpty;
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

}  // namespace

boost::optional<KnxStack::GroupValue> TavValueToGroupValue(const TAVVALUE& value,
                                                           unsigned long dptCode) {
  KnxStack::GroupValue group;
  const TavValueType expected = ExpectedType(dptCode);
  if (value.ivt != expected) {
    ZEL_LOG_ERROR("Value type mismatch: Expected '"
                  << TAVVALUE::GetNameFromValueType(expected) << "', got '"
                  << TAVVALUE::GetNameFromValueType(value.ivt) << "'");
    return boost::none;
  }
  const unsigned long main = MainOfCode(dptCode);
  switch (Catalogue::Main(main).encoding) {
    case Encoding::Boolean: group.SetAsBoolean(value.GetByte() != 0); break;
    case Encoding::Unsigned2: group.SetAsUnsigned2(value.GetByte()); break;
    case Encoding::Unsigned4: group.SetAsUnsigned4(value.GetByte()); break;
    case Encoding::Unsigned8: group.SetAsUnsigned8(value.GetByte()); break;
    case Encoding::Signed8: group.SetAsSigned8(static_cast<std::int8_t>(value.GetByte())); break;
    case Encoding::Unsigned16Clamped: {
      std::uint32_t v = value.GetDWord();
      if (v > 65535) {
        // Clamped and sent, not refused (intended).
        ZEL_LOG_ERROR("Value out of range: " << v << " (DPT " << main << ")");
        v = 65535;
      }
      group.SetAsUnsigned16(static_cast<std::uint16_t>(v));
      break;
    }
    case Encoding::Signed16Saturated: {
      const std::int32_t v = value.GetInteger();
      if (v < INT16_MIN || v > INT16_MAX) {
        // Saturated and sent, not refused (intended).
        ZEL_LOG_ERROR("Value out of range: " << v << " (DPT 8)");
      }
      group.SetAsSigned16(static_cast<std::int16_t>(v < INT16_MIN   ? INT16_MIN
                                                    : v > INT16_MAX ? INT16_MAX
                                                                    : v));
      break;
    }
    case Encoding::Float16:
      if (!std::isfinite(value.GetDouble())) {
        return boost::none;  // refused without a message (intended)
      }
      group.SetAsFloat16(value.GetDouble());
      break;
    case Encoding::TimeOfDay: {
      const boost::optional<ZelApp::TimeOfDay> time = ZelApp::FromTavTime(value.GetTime());
      if (!time) {
        ZEL_LOG_ERROR("Could not convert TAVTIME " << TavTimeFields{value.GetTime()}
                                                   << " to TimeOfDay");
        return boost::none;
      }
      Layout::WriteTimeOfDay(*time, group);
      break;
    }
    case Encoding::Date: {
      const TAVTIME& t = value.GetTime();
      if (!TAVTIME::IsValidDate(t.year, t.month, t.day)) {
        ZEL_LOG_ERROR("Not a valid date: " << TavTimeFields{t});
        return boost::none;
      }
      group.SetAsDate(t.day, t.month, t.year);  // the setter takes day, month, year
      break;
    }
    case Encoding::Unsigned32: group.SetAsUnsigned32(value.GetDWord()); break;
    case Encoding::Signed32: group.SetAsSigned32(value.GetInteger()); break;
    case Encoding::Float32: group.SetAsFloat32(NarrowToFloat(value.GetDouble())); break;
    case Encoding::String14: {
      const std::string& text = value.GetString();
      if (!utf8::is_valid(text.begin(), text.end())) {
        ZEL_LOG_ERROR("Got TAVVALUE that contains a non-UTF8 string");
        return boost::none;
      }
      group.SetAsString14(getLatin1FromUTF8Lossy(UTF8String(text)).str());
      break;
    }
    case Encoding::SceneNumber:
      if (value.GetByte() > 63) {
        return boost::none;  // refused without a message (intended)
      }
      group.SetAsUnsigned8(value.GetByte());
      break;
    case Encoding::DateTime: group = DateAndTime(value.GetTime()); break;
    case Encoding::Unsigned24: group = Layout::WriteUnsigned24(value.GetDWord()); break;
    case Encoding::None:
      // "Value type" names the DPT main number; the text is kept as it is.
      ZEL_LOG_ERROR("Value type " << main << " not supported (dwDPT=" << dptCode << " with value='"
                                  << "ivt: " << static_cast<std::int32_t>(value.ivt)
                                  << ", ToString(): " << value.ToString() << "').");
      return boost::none;
  }
  return group;
}

bool CheckGroupValue(const KnxStack::GroupValue& value, unsigned long dptCode) {
  if (!Fits32(dptCode)) {
    return false;  // no DPT of the device has such a code
  }
  KNXDPT dpt = DptOfCode(static_cast<std::uint32_t>(dptCode),
                         static_cast<std::uint8_t>(value.GetDefinedSize()));
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

// Text that is valid UTF-8, or nothing.
boost::optional<std::string> ValidUtf8(std::string text) {
  if (!utf8::is_valid(text.begin(), text.end())) {
    return boost::none;
  }
  return text;
}

// The decoding branches, after the checks; entries are written as the
// caller's. Throws GroupValueException when the group value holds too few
// octets for its getter.
boost::optional<TAVVALUE> Decode(const KnxStack::GroupValue& value, unsigned long dptCode,
                                 TavValueType expected, const Caller& caller) {
  switch (Catalogue::Main(MainOfCode(dptCode)).decoding) {
    case Decoding::Boolean: return ToTavValue(value.GetAsBoolean(), expected);
    case Decoding::Unsigned2: return ToTavValue<unsigned char>(value.GetAsUnsigned2(), expected);
    case Decoding::Unsigned3: return ToTavValue<unsigned char>(value.GetAsUnsigned3(), expected);
    case Decoding::Unsigned4: return ToTavValue<unsigned char>(value.GetAsUnsigned4(), expected);
    case Decoding::Unsigned8: return ToTavValue<unsigned char>(value.GetAsUnsigned8(), expected);
    case Decoding::Signed8AsByte:
      return ToTavValue(static_cast<unsigned char>(value.GetAsSigned8()), expected);
    case Decoding::Unsigned16: return ToTavValue<unsigned short>(value.GetAsUnsigned16(), expected);
    case Decoding::Signed16: return ToTavValue<short>(value.GetAsSigned16(), expected);
    case Decoding::Float16: return ToTavValue<double>(value.GetAsFloat16(), expected);
    case Decoding::TimeOfDay: {
      // The table's converter read the same octets and refused a time of
      // day the stack does not take, so this reading succeeds.
      int hour = 0;
      int minute = 0;
      int second = 0;
      KnxStack::GroupValue::DayOfWeek day = KnxStack::GroupValue::NoDay;
      value.GetAsTimeOfDay(&hour, &minute, &second, &day);
      return ToTavValue(UndefinedBehaviourIfNone(ZelApp::TimeOfDay::Create(
                            hour, minute, second, static_cast<ZelApp::DayOfWeek>(day))),
                        expected);
    }
    case Decoding::Date: {
      // The table's converter refused years beyond 99 and dates that are no
      // calendar dates. The raw octets may still be more than the value's
      // three.
      const KnxStack::BinaryData& raw = value.GetRawData();
      if (raw.GetLength() != 3) {
        ZEL_LOG_AT_FUNCTION(log4cplus::WARN_LOG_LEVEL, ZEL_LOG_SOURCE, caller.function,
                            caller.signature,
                            "Received an invalid DPT 11.001 date from the KNX: Length in bytes is "
                                << raw.GetLength() << ", expected 3");
        return boost::none;
      }
      int day = 0;
      int month = 0;
      int year = 0;
      value.GetAsDate(&day, &month, &year);
      return TimeValueOf(static_cast<std::uint16_t>(year), static_cast<std::uint8_t>(month),
                         static_cast<std::uint8_t>(day), 0, 0, 0, expected);
    }
    case Decoding::Raw32:
      // Four raw octets (three for 232.x), while encoding writes three for 232 (intended).
      return ToTavValue<unsigned long>(Layout::ReadRaw32(value), expected);
    case Decoding::Signed32: return ToTavValue<long>(value.GetAsSigned32(), expected);
    case Decoding::Float32: return ToTavValue<float>(value.GetAsFloat32(), expected);
    case Decoding::String14:
      return StringValueOf(UndefinedBehaviourIfNone(
                               ValidUtf8(getUTF8FromLatin1(KnxStyleString(value.GetAsString14())))),
                           expected);
    case Decoding::DateTime: {
      // The weekday bits and the flags are not read; the table's converter
      // refused dates that are no calendar dates.
      const Layout::DateTimeFields f = Layout::ReadDateTime(value);
      const Layout::CarriedDateTime c =
          Layout::CarryDateTime(f.year, f.month, f.day, f.hour, f.minute, f.second);
      return TimeValueOf(
          static_cast<std::uint16_t>(c.date.year), static_cast<std::uint8_t>(c.date.month),
          static_cast<std::uint8_t>(c.date.day), static_cast<std::uint8_t>(c.hour),
          static_cast<std::uint8_t>(c.minute), static_cast<std::uint8_t>(c.second), expected);
    }
    case Decoding::None: return boost::none;  // a main number with a value type but no decoding
  }
  return boost::none;
}

}  // namespace

boost::optional<TAVVALUE> GroupValueToTavValue(const KnxStack::GroupValue& value,
                                               unsigned long dptCode) {
  const MeasureDuration timer("Decoding a KNX value took ",
                              boost::timer::nanosecond_type(100000000));
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
    ZEL_LOG_ERROR("Received a group value too short for DPT " << CodeText{dptCode} << ": "
                                                              << e.what());
    return boost::none;
  }
}

}  // namespace Zel
