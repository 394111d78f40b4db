// Typed construction of platform values (TAVVALUE) and UTF-8 repair.
//
// ToTavValue builds the value that belongs to a C++ type and asserts that
// its type is the one the caller expects (the object model's type of the
// DPT). A mismatch is a programming error in the caller's tables, not a data
// error: it fails the platform assertion and stops the process.
//
// The platform type of each C++ type, and where the payload goes:
//   bool            -> ivtBool      (integer storage, 0 or 1)
//   unsigned char   -> ivtByte      (byte view)
//   unsigned short  -> ivtWord      (word view)
//   short, long     -> ivtInteger   (signed 32-bit view)
//   unsigned long   -> ivtDWord     (unsigned 32-bit view)
//   float, double   -> ivtFloat     (the double)
//   std::string     -> ivtString    (must be valid UTF-8)
//   ZelApp::TimeOfDay           -> ivtDayTime
//   boost::posix_time::ptime    -> ivtDate, ivtDateTime or ivtDayTime, as expected
// `long` and `unsigned long` keep their low 32 bits, so that a value built
// on a 64-bit machine equals the one built on the 32-bit device.
//
// All functions are pure and may be called from any thread.
#pragma once

#include "Zel/Export.h"
#include "Zel/Unreachable.h"  // UndefinedBehaviourIfNone, used with UTF8String

#include "BasePlatform/TavValue.h"
#include "BasePlatform/TimeOfDay.h"
#include "ZelLog/Logging.h"

#include <boost/date_time/posix_time/ptime.hpp>

#include <cstdint>
#include <string>

namespace Zel {
namespace TavValueDetail {

template <class T>
struct TypeOf {
  static_assert(sizeof(T) == 0, "ToTavValue has no platform type for this C++ type");
};

template <>
struct TypeOf<bool> {
  static constexpr TavValueType kType = ivtBool;
  static void Store(TAVVALUE& v, bool x) { v.SetBool(x); }
};
template <>
struct TypeOf<unsigned char> {
  static constexpr TavValueType kType = ivtByte;
  static void Store(TAVVALUE& v, unsigned char x) { v.SetByte(x); }
};
template <>
struct TypeOf<unsigned short> {
  static constexpr TavValueType kType = ivtWord;
  static void Store(TAVVALUE& v, unsigned short x) { v.SetWord(x); }
};
template <>
struct TypeOf<short> {
  static constexpr TavValueType kType = ivtInteger;
  static void Store(TAVVALUE& v, short x) { v.SetInteger(x); }
};
template <>
struct TypeOf<long> {
  static constexpr TavValueType kType = ivtInteger;
  // The low 32 bits, read as two's complement.
  static void Store(TAVVALUE& v, long x) {
    v.SetInteger(static_cast<std::int32_t>(static_cast<std::uint32_t>(x)));
  }
};
template <>
struct TypeOf<unsigned long> {
  static constexpr TavValueType kType = ivtDWord;
  static void Store(TAVVALUE& v, unsigned long x) { v.SetDWord(static_cast<std::uint32_t>(x)); }
};
template <>
struct TypeOf<double> {
  static constexpr TavValueType kType = ivtFloat;
  static void Store(TAVVALUE& v, double x) { v.SetDouble(x); }
};
template <>
struct TypeOf<float> {
  static constexpr TavValueType kType = ivtFloat;
  static void Store(TAVVALUE& v, float x) { v.SetDouble(static_cast<double>(x)); }
};

}  // namespace TavValueDetail

// The value of `value`'s platform type (table above).
// REQUIRES: that type is `expectedType` (asserted).
template <class T>
TAVVALUE ToTavValue(const T& value, TavValueType expectedType) {
  TAVVALUE result;
  result.ivt = TavValueDetail::TypeOf<T>::kType;
  TavValueDetail::TypeOf<T>::Store(result, value);
  ZEL_ASSERT(result.ivt == expectedType);
  return result;
}

// The library exports these instantiations; other types are built inline.
extern template ZEL_EXPORT TAVVALUE ToTavValue<long>(const long&, TavValueType);
extern template ZEL_EXPORT TAVVALUE ToTavValue<unsigned long>(const unsigned long&, TavValueType);
extern template ZEL_EXPORT TAVVALUE ToTavValue<double>(const double&, TavValueType);
extern template ZEL_EXPORT TAVVALUE ToTavValue<short>(const short&, TavValueType);
extern template ZEL_EXPORT TAVVALUE ToTavValue<unsigned short>(const unsigned short&, TavValueType);
extern template ZEL_EXPORT TAVVALUE ToTavValue<unsigned char>(const unsigned char&, TavValueType);
extern template ZEL_EXPORT TAVVALUE ToTavValue<bool>(const bool&, TavValueType);
extern template ZEL_EXPORT TAVVALUE ToTavValue<float>(const float&, TavValueType);

// A day-time value: hour, minute and second of `time` and the weekday mask
// of its day (none for NoDay), no date, local time.
// REQUIRES: expectedType == ivtDayTime (asserted).
ZEL_EXPORT TAVVALUE ToTavValue(const ZelApp::TimeOfDay& time, TavValueType expectedType);

// The value of `expectedType` at `time` (read through boost::posix_time::to_tm,
// whole seconds, local time):
//   ivtDate      the date;
//   ivtDateTime  the date and the time of day;
//   ivtDayTime   the date, the time of day and the weekday mask of the date.
// REQUIRES: `expectedType` is one of these (any other fails the assertion
// that the produced type is the expected one); `time` is not a special
// value (not_a_date_time, infinities), for which to_tm throws
// std::out_of_range.
ZEL_EXPORT TAVVALUE ToTavValue(const boost::posix_time::ptime& time, TavValueType expectedType);

// A string value holding `value`.
// REQUIRES: `value` is valid UTF-8 and expectedType == ivtString (both asserted).
ZEL_EXPORT TAVVALUE ToTavValue(const std::string& value, TavValueType expectedType);

// `text` unchanged when it is valid UTF-8; otherwise a copy in which every
// invalid sequence is replaced by one '?' (not U+FFFD: the result also has
// to survive Latin-1 and 7-bit targets).
ZEL_EXPORT std::string RepairUTF8(std::string text);

}  // namespace Zel
