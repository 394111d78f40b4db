// Internal to the base platform: where each value type keeps its payload and
// how wide it is. One table for the serial text form, the byte form and
// equality, so that the three agree on every type.
#pragma once

#include "BasePlatform/TavValue.h"

namespace BasePlatform {

enum class ValueKind {
  NoPayload,  // ivtNone, ivtEmpty
  Bool,       // integer storage, 0 or 1
  Octet,      // integer storage, 0..255 (char, byte, enum byte)
  Word,       // integer storage, 0..65535
  Int32,      // integer storage, signed (integer, time period)
  UInt32,     // integer storage, unsigned (dword, counter)
  Double,     // the double
  String,     // the string, text
  Binary,     // the string, octets
  Time,       // the TAVTIME
  Unknown,    // a number that is not a value type
};

ValueKind KindOf(TavValueType type);

}  // namespace BasePlatform
