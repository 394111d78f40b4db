#include "BasePlatform/TavValue.h"

#include "TavValueKind.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using BasePlatform::KindOf;
using BasePlatform::ValueKind;

constexpr unsigned int kTimeOctets = 7;

void WriteBigEndian(std::uint64_t number, unsigned int count, unsigned char* out) {
  for (unsigned int i = 0; i < count; ++i) {
    out[i] = static_cast<unsigned char>(number >> (8 * (count - 1 - i)));
  }
}

std::uint64_t ReadBigEndian(const unsigned char* data, unsigned int count) {
  std::uint64_t number = 0;
  for (unsigned int i = 0; i < count; ++i) {
    number = number << 8 | data[i];
  }
  return number;
}

// The one-octet form of a double: rounded half away from zero, clamped to
// 0..255; NaN gives 0.
std::uint8_t DoubleToOctet(double number) {
  if (!(number > 0.0)) {
    return 0;
  }
  if (number >= 255.0) {
    return 255;
  }
  return static_cast<std::uint8_t>(std::lround(number));
}

// IEEE single precision; beyond float's range the result is an infinity of
// the same sign (the conversion itself would be undefined behaviour).
std::uint32_t FloatBits(double number) {
  float narrowed = 0.0f;
  if (std::isfinite(number) && std::fabs(number) > std::numeric_limits<float>::max()) {
    const float infinity = std::numeric_limits<float>::infinity();
    narrowed = std::signbit(number) ? -infinity : infinity;
  } else {
    narrowed = static_cast<float>(number);
  }
  std::uint32_t bits = 0;
  std::memcpy(&bits, &narrowed, sizeof bits);
  return bits;
}

std::uint64_t DoubleBits(double number) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &number, sizeof bits);
  return bits;
}

double FloatFromBits(std::uint32_t bits) {
  float number = 0.0f;
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

double DoubleFromBits(std::uint64_t bits) {
  double number = 0.0;
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

// Octets of the double form for a buffer of `capacity` octets: 1, 4 or 8;
// 0 when the form does not fit (0, 2 or 3).
unsigned int DoubleOctets(unsigned int capacity) {
  if (capacity >= 8) {
    return 8;
  }
  if (capacity >= 4) {
    return 4;
  }
  return capacity == 1 ? 1 : 0;
}

}  // namespace

bool TavValueToByteArray(const TAVVALUE& value, unsigned char* buffer, unsigned int& length) {
  const unsigned int capacity = length;
  unsigned int count = 0;
  std::uint64_t number = 0;
  switch (KindOf(value.ivt)) {
    case ValueKind::NoPayload:
    case ValueKind::Unknown: return false;
    case ValueKind::Bool:
      count = 1;
      number = value.GetBool() ? 1 : 0;
      break;
    case ValueKind::Octet:
      count = 1;
      number = value.GetByte();
      break;
    case ValueKind::Word:
      count = 2;
      number = value.GetWord();
      break;
    case ValueKind::Int32:
    case ValueKind::UInt32:
      count = 4;
      number = value.GetDWord();  // the same 32 bits, two's complement
      break;
    case ValueKind::Double:
      count = DoubleOctets(capacity);
      number = count == 1   ? DoubleToOctet(value.GetDouble())
               : count == 4 ? FloatBits(value.GetDouble())
                            : DoubleBits(value.GetDouble());
      break;
    case ValueKind::String:
    case ValueKind::Binary: {
      const std::string& octets = value.GetString();
      count = octets.size() < capacity ? static_cast<unsigned int>(octets.size()) : capacity;
      if (count > 0) {
        std::memcpy(buffer, octets.data(), count);
      }
      length = count;
      return true;
    }
    case ValueKind::Time: {
      if (capacity < kTimeOctets) {
        return false;
      }
      const TAVTIME& t = value.GetTime();
      WriteBigEndian(t.year, 2, buffer);
      buffer[2] = t.month;
      buffer[3] = t.day;
      buffer[4] = t.hour;
      buffer[5] = t.minute;
      buffer[6] = t.second;
      length = kTimeOctets;
      return true;
    }
  }
  if (count == 0 || count > capacity) {
    return false;
  }
  WriteBigEndian(number, count, buffer);
  length = count;
  return true;
}

bool ByteArrayToTavValue(const unsigned char* data, unsigned int length, TAVVALUE& value,
                         bool bitSized) {
  if (bitSized) {
    if (length < 1) {
      return false;
    }
    value.SetBool((data[0] & 0x01) != 0);
    return true;
  }
  switch (KindOf(value.ivt)) {
    case ValueKind::NoPayload:
    case ValueKind::Unknown: return false;
    case ValueKind::Bool:
      if (length < 1) {
        return false;
      }
      value.SetBool(data[0] != 0);
      return true;
    case ValueKind::Octet:
      if (length < 1) {
        return false;
      }
      value.SetByte(data[0]);
      return true;
    case ValueKind::Word:
      if (length < 2) {
        return false;
      }
      value.SetWord(static_cast<std::uint16_t>(ReadBigEndian(data, 2)));
      return true;
    case ValueKind::Int32:
    case ValueKind::UInt32:
      if (length < 4) {
        return false;
      }
      value.SetDWord(static_cast<std::uint32_t>(ReadBigEndian(data, 4)));
      return true;
    case ValueKind::Double:
      switch (DoubleOctets(length)) {
        case 1: value.SetDouble(data[0]); return true;
        case 4:
          value.SetDouble(FloatFromBits(static_cast<std::uint32_t>(ReadBigEndian(data, 4))));
          return true;
        case 8: value.SetDouble(DoubleFromBits(ReadBigEndian(data, 8))); return true;
        default: return false;
      }
    case ValueKind::String:
    case ValueKind::Binary:
      value.SetString(length > 0 ? std::string(reinterpret_cast<const char*>(data), length)
                                 : std::string());
      return true;
    case ValueKind::Time: {
      if (length < kTimeOctets) {
        return false;
      }
      // The byte form carries neither milliseconds nor flags: the flags stay
      // as the value had them, the weekday mask follows from the date.
      const bool utc = value.GetTime().utc;
      const bool dst = value.GetTime().dst;
      const auto year = static_cast<std::uint16_t>(ReadBigEndian(data, 2));
      TAVTIME t;
      if (year == 0 && data[2] == 0 && data[3] == 0) {  // no date
        if (!TAVTIME::IsValidTime(data[4], data[5], data[6])) {
          return false;
        }
        t.Clear(utc);
        t.hour = data[4];
        t.minute = data[5];
        t.second = data[6];
      } else if (!t.SetDateTime(year, data[2], data[3], data[4], data[5], data[6], utc)) {
        return false;
      }
      t.dst = dst;
      value.SetTime(t);
      return true;
    }
  }
  return false;
}
