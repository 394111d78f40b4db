// TAVVALUE, the platform's tagged value, with its type and subtype
// enumerations and its raw byte form.
#pragma once

#include "BasePlatform/TavTime.h"

#include <cstdint>
#include <string>

// Value types. The numbers are fixed by the platform; every value has one.
enum TavValueType : std::int32_t {
  ivtNone = 0,           // no type given
  ivtEmpty = 1,          // default-constructed value, no payload
  ivtBool = 2,           // boolean (payload: 0 or 1)
  ivtFloat = 3,          // double
  ivtInteger = 4,        // signed 32-bit
  ivtChar = 5,           // one character, in the integer storage
  ivtByte = 6,           // unsigned 8-bit
  ivtWord = 7,           // unsigned 16-bit
  ivtDWord = 8,          // unsigned 32-bit
  ivtBinary = 9,         // octet string (in the string storage)
  ivtString = 10,        // UTF-8 text
  ivtDate = 11,          // TAVTIME, date part
  ivtTime = 12,          // TAVTIME, time of day
  ivtDateTime = 13,      // TAVTIME, date and time
  ivtTimePeriod = 14,    // signed 32-bit number of seconds
  ivtDayTime = 15,       // TAVTIME, time of day with weekday mask
  ivtCounter = 20,       // unsigned 32-bit
  ivtDateTimeUtc = 102,  // TAVTIME
  ivtTimeUtc = 104,      // TAVTIME
  ivtDateUtc = 105,      // TAVTIME
  ivtTimestamp = 201,    // TAVTIME
  ivtPercent = 1005,     // double, 0..100
  ivtEnumByte = 1021,    // unsigned 8-bit
  ivtScaling = 1036,     // double, 0..100 %
  ivtDimming = 1037,     // double, -100..100 % step
  ivtAngle = 1039,       // double, degrees
};

namespace TavDP {
// Value subtypes: how a value of a type is to be read. 0 is none.
enum TavValueSubType : std::int32_t {
  vstGeneric = 0,
  vstSwitch = 2001,
  vstStatusMode = 3001,
  vstDimmingStep = 3002,
  vstKnxFloat = 3003,
  vstSceneNumber = 4001,
  vstAscii = 8001,
  vstLatin1 = 8002,
};

// The subtype's name: "Switch", "StatusMode", ...; "Generic" for 0 and for
// any number that is not a subtype.
std::string GetNameFromValueSubType(TavValueSubType subType);
}  // namespace TavDP

// Where a value of each type keeps its payload:
//   ivtBool, ivtChar, ivtByte, ivtWord, ivtInteger, ivtTimePeriod, ivtDWord,
//   ivtCounter, ivtEnumByte   -> the shared 32-bit integer storage, read
//                                through the byte/word/integer/dword views;
//   ivtFloat, ivtPercent, ivtScaling, ivtDimming, ivtAngle -> the double;
//   ivtString, ivtBinary      -> the string;
//   ivtDate, ivtTime, ivtDateTime, ivtDayTime and the UTC/timestamp types
//                             -> the TAVTIME.
// The setters below write the payload only and leave `ivt` as it is.
//
// Serial text form (Serialize/Deserialize):
//   default form:  "<ivt>:<payload>"     for example "3:21.5", "10:Hallo"
//   internal form: "<ivt>.7:<payload>"   for example "3.7:21.5", "3.7:nan"
// "7" is the revision of the internal form. Payloads: bool "0"/"1";
// integers in decimal, char included (its octet, 0..255); doubles in the
// shortest text that reads back to the same double ("-0" kept), "inf",
// "-inf", and "nan" for every NaN; strings as they are (everything after the
// first ':', so a string may hold ':'; bytes are not checked for UTF-8);
// binary in lowercase hex (read in either case); TAVTIME types as
//   "YYYY-MM-DD HH:MM:SS.mmm w=<mask> utc=<0|1> dst=<0|1>"
// with fixed-width fields, a valid date or 0000-00-00 (no date), a valid
// time and a mask of at most 127; ivtNone and ivtEmpty have an empty payload.
// Deserialize accepts both forms and refuses anything else: an unknown type
// number, a revision other than 7, a payload out of the type's range, a
// sign, blank or other character that the form does not have.
struct TAVVALUE {
  TavValueType ivt = ivtEmpty;

  TAVVALUE() { m_time.Clear(true); }

  // Views of the shared 32-bit integer storage.
  bool GetBool() const { return (m_bits & 0xFFu) != 0; }
  std::uint8_t GetByte() const { return static_cast<std::uint8_t>(m_bits); }
  std::uint16_t GetWord() const { return static_cast<std::uint16_t>(m_bits); }
  std::int32_t GetInteger() const { return static_cast<std::int32_t>(m_bits); }
  std::uint32_t GetDWord() const { return m_bits; }
  void SetBool(bool v) { m_bits = v ? 1u : 0u; }
  void SetByte(std::uint8_t v) { m_bits = v; }
  void SetWord(std::uint16_t v) { m_bits = v; }
  void SetInteger(std::int32_t v) { m_bits = static_cast<std::uint32_t>(v); }
  void SetDWord(std::uint32_t v) { m_bits = v; }

  double GetDouble() const { return m_double; }
  void SetDouble(double v) { m_double = v; }

  const std::string& GetString() const { return m_string; }
  void SetString(std::string v) { m_string = std::move(v); }

  const TAVTIME& GetTime() const { return m_time; }
  TAVTIME& GetTime() { return m_time; }
  void SetTime(const TAVTIME& v) { m_time = v; }

  // Human-readable payload text (the serial payload; strings as they are;
  // empty for ivtNone, ivtEmpty and numbers that are not a type).
  std::string ToString() const;

  // Replaces `out` with the serial text (the internal form when
  // `internalFormat`). A number that is not a type is written "<n>:", which
  // Deserialize refuses.
  void Serialize(std::string& out, bool internalFormat) const;
  // Reads either serial form. On success the whole value is replaced: `ivt`
  // and the payload from the text, the other storage as default-constructed.
  // On garbage returns false and leaves the value unchanged.
  bool Deserialize(const std::string& text);

  // The enumerator's name: "ivtFloat", "ivtByte", ...; "Empty" for the empty
  // type 1; "ivtUnknown(<n>)" for a number that is not a type.
  static std::string GetNameFromValueType(TavValueType type);

  // Same type and same payload through the type's view (a byte value
  // compares its low octet only); doubles compare as their serial text does:
  // every NaN equals every NaN, 0.0 differs from -0.0. Values of a number that
  // is not a type compare every storage.
  friend bool operator==(const TAVVALUE& a, const TAVVALUE& b);
  friend bool operator!=(const TAVVALUE& a, const TAVVALUE& b) { return !(a == b); }

 private:
  std::uint32_t m_bits = 0;
  double m_double = 0.0;
  std::string m_string;
  TAVTIME m_time;
};

// The platform's raw byte form of a value, by its type:
//   bool (0 or 1), byte, char, enum byte: 1 octet; word: 2; integer, time
//   period, dword, counter: 4 (big-endian, two's complement);
//   double types: 1 octet (the number rounded half away from zero and
//   clamped to 0..255, NaN 0) when `length` is 1 on entry, 4 (IEEE float,
//   big-endian; beyond float's range an infinity) when it is 4 to 7,
//   8 (IEEE double, big-endian) when it is 8 or more;
//   string, binary: the bytes, cut to `length`;
//   TAVTIME types: 7 octets: year (2, big-endian), month, day, hour, minute,
//   second.
// `length` holds the buffer's capacity on entry and the count written on
// return. Returns false, writing nothing and leaving `length`, for
// ivtNone/ivtEmpty, a number that is not a type, or when the form does not
// fit. Never touches more than `length` octets.
bool TavValueToByteArray(const TAVVALUE& value, unsigned char* buffer, unsigned int& length);

// Reads the raw byte form of `value.ivt` (which the caller sets) from
// `length` octets. `bitSized`: the datum is a bit-sized KNX value, read as a
// boolean from bit 0 of the first octet into the integer storage, whatever
// the type. Only the payload is written (`ivt` and the other storage stay).
// A double reads 1 octet as its number when `length` is 1, a float from 4 to
// 7 octets, a double from 8 or more. A TAVTIME is read with milliseconds 0,
// the weekday mask of its date and the utc/dst flags the value had; its
// date must be valid or 0000-00-00 and its time valid. Returns false,
// leaving `value` unchanged, when there are too few octets, the fields are
// not valid or the type has no byte form. Never reads more than `length`
// octets.
bool ByteArrayToTavValue(const unsigned char* data, unsigned int length, TAVVALUE& value,
                         bool bitSized);
