#include "KnxStack/GroupValue.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace KnxStack {
namespace {

static_assert(std::numeric_limits<float>::is_iec559 && sizeof(float) == 4,
              "the 4-octet float is IEEE 754 single precision");

constexpr std::size_t kString14Octets = 14;
constexpr std::uint16_t kFloat16Invalid = 0x7FFF;
constexpr std::uint16_t kFloat16Largest = 0x7FFE;   // 670433.28
constexpr std::uint16_t kFloat16Smallest = 0xF800;  // -671088.64
constexpr double kFloat16Max = 670433.28;
constexpr double kFloat16Min = -671088.64;
// The platform's "no value"; it goes on the wire as the invalid-data word.
constexpr double kPlatformNoValue = 32767.0;

std::uint16_t EncodeFloat16(double value) {
  if (std::isnan(value) || value == kPlatformNoValue)
    return kFloat16Invalid;
  if (value > kFloat16Max)
    return kFloat16Largest;
  if (value < kFloat16Min)
    return kFloat16Smallest;
  const double hundredths = value * 100.0;
  for (int exponent = 0; exponent <= 15; ++exponent) {
    const double mantissa = std::round(std::ldexp(hundredths, -exponent));
    if (mantissa >= -2048.0 && mantissa <= 2047.0) {
      const auto m = static_cast<std::int32_t>(mantissa);
      return static_cast<std::uint16_t>((m < 0 ? 0x8000u : 0u) |
                                        (static_cast<std::uint32_t>(exponent) << 11) |
                                        (static_cast<std::uint32_t>(m) & 0x7FFu));
    }
  }
  // Not reached for values inside the span; every path still returns a word.
  return value > 0 ? kFloat16Largest : kFloat16Smallest;
}

double DecodeFloat16(std::uint16_t word) {
  std::int32_t mantissa = word & 0x7FF;
  if (word & 0x8000)
    mantissa -= 2048;
  const int exponent = (word >> 11) & 0xF;
  // Dividing the exact integer by 100 gives the double nearest to the
  // decimal value (21.5, 0.01), which 0.01 * M * 2^E would not always do.
  return std::ldexp(static_cast<double>(mantissa), exponent) / 100.0;
}

std::uint32_t ReadBigEndian(const std::uint8_t* octets, std::size_t count) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < count; ++i)
    value = (value << 8) | octets[i];
  return value;
}

}  // namespace

GroupValue::GroupValue(const BinaryData& data, std::uint32_t definedSizeInBits)
    : m_data(data), m_definedSize(definedSizeInBits) {}

void GroupValue::SetRawData(const BinaryData& data) {
  m_data = data;
  m_definedSize = static_cast<std::uint32_t>(data.GetLength() * 8);
}

void GroupValue::Set(const std::uint8_t* octets, std::size_t count, std::uint32_t bits) {
  m_data = BinaryData(octets, count);
  m_definedSize = bits;
}

const std::uint8_t* GroupValue::Need(std::size_t octets, const char* accessor) const {
  if (m_data.GetLength() < octets) {
    throw GroupValueException(std::string("GroupValue::") + accessor + " needs " +
                              std::to_string(octets) + " octet(s), the group value holds " +
                              std::to_string(m_data.GetLength()));
  }
  return m_data.GetData();
}

bool GroupValue::GetAsBoolean() const {
  return (Need(1, "GetAsBoolean")[0] & 0x01) != 0;
}
void GroupValue::SetAsBoolean(bool value) {
  const std::uint8_t octet = value ? 1 : 0;
  Set(&octet, 1, 1);
}

std::uint8_t GroupValue::GetAsUnsigned2() const {
  return Need(1, "GetAsUnsigned2")[0] & 0x03;
}
void GroupValue::SetAsUnsigned2(std::uint8_t value) {
  const std::uint8_t octet = value & 0x03;
  Set(&octet, 1, 2);
}

std::uint8_t GroupValue::GetAsUnsigned3() const {
  return Need(1, "GetAsUnsigned3")[0] & 0x07;
}

std::uint8_t GroupValue::GetAsUnsigned4() const {
  return Need(1, "GetAsUnsigned4")[0] & 0x0F;
}
void GroupValue::SetAsUnsigned4(std::uint8_t value) {
  const std::uint8_t octet = value & 0x0F;
  Set(&octet, 1, 4);
}

std::uint8_t GroupValue::GetAsUnsigned8() const {
  return Need(1, "GetAsUnsigned8")[0];
}
void GroupValue::SetAsUnsigned8(std::uint8_t value) {
  Set(&value, 1, 8);
}

std::int8_t GroupValue::GetAsSigned8() const {
  return static_cast<std::int8_t>(Need(1, "GetAsSigned8")[0]);
}
void GroupValue::SetAsSigned8(std::int8_t value) {
  SetAsUnsigned8(static_cast<std::uint8_t>(value));
}
void GroupValue::SetAsChar(char value) {
  SetAsUnsigned8(static_cast<std::uint8_t>(value));
}

std::uint16_t GroupValue::GetAsUnsigned16() const {
  return static_cast<std::uint16_t>(ReadBigEndian(Need(2, "GetAsUnsigned16"), 2));
}
void GroupValue::SetAsUnsigned16(std::uint16_t value) {
  const std::uint8_t octets[2] = {static_cast<std::uint8_t>(value >> 8),
                                  static_cast<std::uint8_t>(value)};
  Set(octets, 2, 16);
}

std::int16_t GroupValue::GetAsSigned16() const {
  return static_cast<std::int16_t>(ReadBigEndian(Need(2, "GetAsSigned16"), 2));
}
void GroupValue::SetAsSigned16(std::int16_t value) {
  SetAsUnsigned16(static_cast<std::uint16_t>(value));
}

std::uint32_t GroupValue::GetAsUnsigned32() const {
  return ReadBigEndian(Need(4, "GetAsUnsigned32"), 4);
}
void GroupValue::SetAsUnsigned32(unsigned long value) {
  if (static_cast<std::uint64_t>(value) > std::numeric_limits<std::uint32_t>::max()) {
    throw GroupValueException("SetAsUnsigned32: value does not fit 32 bits");
  }
  const std::uint8_t octets[4] = {
      static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
      static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
  Set(octets, 4, 32);
}

std::int32_t GroupValue::GetAsSigned32() const {
  return static_cast<std::int32_t>(ReadBigEndian(Need(4, "GetAsSigned32"), 4));
}
void GroupValue::SetAsSigned32(long value) {
  const auto wide = static_cast<std::int64_t>(value);
  if (wide < std::numeric_limits<std::int32_t>::min() ||
      wide > std::numeric_limits<std::int32_t>::max()) {
    throw GroupValueException("SetAsSigned32: value does not fit 32 bits");
  }
  SetAsUnsigned32(static_cast<std::uint32_t>(value));
}

double GroupValue::GetAsFloat16() const {
  return DecodeFloat16(static_cast<std::uint16_t>(ReadBigEndian(Need(2, "GetAsFloat16"), 2)));
}
void GroupValue::SetAsFloat16(double value) {
  SetAsUnsigned16(EncodeFloat16(value));
}

float GroupValue::GetAsFloat32() const {
  const std::uint32_t bits = ReadBigEndian(Need(4, "GetAsFloat32"), 4);
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}
void GroupValue::SetAsFloat32(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  SetAsUnsigned32(bits);
}

std::string GroupValue::GetAsString14() const {
  const std::uint8_t* octets = Need(kString14Octets, "GetAsString14");
  std::size_t length = 0;
  while (length < kString14Octets && octets[length] != 0)
    ++length;
  return std::string(reinterpret_cast<const char*>(octets), length);
}
void GroupValue::SetAsString14(const std::string& latin1) {
  std::uint8_t octets[kString14Octets] = {};
  std::memcpy(octets, latin1.data(), std::min(latin1.size(), kString14Octets));
  Set(octets, kString14Octets, 112);
}

void GroupValue::GetAsDate(int* day, int* month, int* year) const {
  const std::uint8_t* octets = Need(3, "GetAsDate");
  *day = octets[0] & 0x1F;
  *month = octets[1] & 0x0F;
  const int yy = octets[2] & 0x7F;
  // 100..127 are no KNX years; 2100..2127 lets callers' range checks refuse them.
  *year = (yy >= 90 && yy <= 99) ? 1900 + yy : 2000 + yy;
}
void GroupValue::SetAsDate(int day, int month, int year) {
  const std::uint8_t octets[3] = {static_cast<std::uint8_t>(day & 0x1F),
                                  static_cast<std::uint8_t>(month & 0x0F),
                                  static_cast<std::uint8_t>(((year % 100) + 100) % 100)};
  Set(octets, 3, 24);
}

bool GroupValue::GetAsTimeOfDay(int* hour, int* minute, int* second, DayOfWeek* day) const {
  const std::uint8_t* octets = Need(3, "GetAsTimeOfDay");
  *day = static_cast<DayOfWeek>(octets[0] >> 5);
  *hour = octets[0] & 0x1F;
  *minute = octets[1] & 0x3F;
  *second = octets[2] & 0x3F;
  return *hour <= 23 && *minute <= 59 && *second <= 59;
}
void GroupValue::SetAsTimeOfDay(int hour, int minute, int second, DayOfWeek day) {
  const std::uint8_t octets[3] = {static_cast<std::uint8_t>(((day & 0x07) << 5) | (hour & 0x1F)),
                                  static_cast<std::uint8_t>(minute & 0x3F),
                                  static_cast<std::uint8_t>(second & 0x3F)};
  Set(octets, 3, 24);
}

}  // namespace KnxStack
