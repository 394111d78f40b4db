// The KNX stack's group value: the octets of a datapoint and its size in
// bits, with typed accessors in the encodings of the KNX standard.
//
// Decisions where the KNX standard leaves the API open:
// - Setters never throw. Each writes the octets of its encoding and sets
//   the defined size (1, 2, 4, 8, 16, 24, 32 or 112 bits).
// - Sub-byte fields (1, 2, 3, 4 bits) sit right-aligned in one octet; the
//   setters keep only the field's low bits. Their getters read the low bits
//   of the first octet whatever the defined size, so the 6-bit short form of
//   a telegram and an 8-bit value both work.
// - Multi-octet integers are big-endian two's complement. The 32-bit
//   accessors keep exactly 32 bits: GetAsSigned32 of ff ff ff ff is -1.
// - 2-octet float (DPT 9): 0.01 * M * 2^E, M a 12-bit two's complement
//   mantissa (sign in bit 15, 11 bits in bits 10..0), E in bits 14..11. The
//   encoder takes the smallest exponent whose rounded mantissa fits
//   (rounding to nearest, halves away from zero). 0x7FFF is the KNX
//   invalid-data word: SetAsFloat16 writes it for 32767.0 (the platform's
//   "no value") and for NaN. Numbers above 670433.28 (the largest one other
//   than 0x7FFF) are clamped to 0x7FFE; numbers below -671088.64 to 0xF800.
//   GetAsFloat16 decodes every word arithmetically, 0x7FFF included.
// - 4-octet float (DPT 14): IEEE 754 single precision, big-endian.
// - 14-octet string (DPT 16): Latin-1 octets padded with NUL; a longer
//   string is cut to 14 octets. GetAsString14 needs all 14 octets and
//   stops at the first NUL.
// - Date (DPT 11): day (bits 4..0), month (bits 3..0), year (bits 6..0, 0..99;
//   90..99 mean 1990..1999, 0..89 mean 2000..2089). A year outside
//   1990..2089 is stored modulo 100; day and month are masked to their
//   widths. The argument order is (day, month, year) both ways; GetAsDate
//   returns the full year, ignores the reserved bits, and reads the year
//   octets 100..127 (no KNX year) as 2100..2127 so that range checks refuse
//   them. It does not check the date itself.
// - Time of day (DPT 10): weekday in bits 7..5 and hour in bits 4..0 of the
//   first octet, then minute and second (6 bits each). SetAsTimeOfDay masks
//   each field to its width (hour 33 is stored as 1); it does not refuse.
//   GetAsTimeOfDay writes all four fields and returns false when hour > 23
//   or minute or second > 59, so callers can report what arrived.
// - Getters throw GroupValueException only when the buffer holds too few
//   octets for the encoding (what() names the accessor and the octets needed
//   and held); they never read past the buffer. Extra octets are ignored.
// - Pointer arguments of GetAsDate and GetAsTimeOfDay must not be null.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace KnxStack {

class GroupValueException : public std::runtime_error {
 public:
  explicit GroupValueException(const std::string& what) : std::runtime_error(what) {}
};

// A byte buffer. Up to kInlineCapacity octets live inside the object, so a
// KNX payload never allocates; longer buffers go to the heap (and stay
// there if the buffer later shrinks). Copies never share storage.
class BinaryData {
 public:
  static constexpr std::size_t kInlineCapacity = 14;

  BinaryData() = default;
  BinaryData(const std::uint8_t* data, std::size_t length);
  BinaryData(const BinaryData& other);
  BinaryData& operator=(const BinaryData& other);
  virtual ~BinaryData() = default;

  std::size_t GetLength() const { return m_length; }
  const std::uint8_t* GetData() const;

  // Octet access; throw GroupValueException when `index` (and the octets
  // after it that the call needs) lie outside the buffer. SetUInt8Value
  // grows the buffer to index + 1 octets, filling with zero.
  std::uint8_t GetUInt8Value(std::size_t index) const;
  void SetUInt8Value(std::size_t index, std::uint8_t value);
  // Three octets from `index`, big-endian.
  std::uint32_t GetUInt24Value(std::size_t index) const;
  // Up to four octets from `index` (fewer where the buffer ends first),
  // big-endian, right-aligned: on a 3-octet buffer GetUInt32Value(0) is the
  // 24-bit number. Throws when `index` is past the end.
  std::uint32_t GetUInt32Value(std::size_t index) const;

  // The octets in lowercase hex, separated by blanks: "0c 33"; "" if empty.
  std::string ToString() const;

  friend bool operator==(const BinaryData& a, const BinaryData& b);
  friend bool operator!=(const BinaryData& a, const BinaryData& b) { return !(a == b); }

 private:
  std::uint8_t* MutableData();
  void Resize(std::size_t length);

  std::size_t m_length = 0;
  std::uint8_t m_inline[kInlineCapacity] = {};
  std::unique_ptr<std::uint8_t[]> m_heap;
  std::size_t m_heapCapacity = 0;
};

class GroupValue {
 public:
  // 0 means no day; 1..7 are Monday..Sunday.
  enum DayOfWeek : std::uint8_t {
    NoDay = 0,
    Monday = 1,
    Tuesday = 2,
    Wednesday = 3,
    Thursday = 4,
    Friday = 5,
    Saturday = 6,
    Sunday = 7,
  };

  GroupValue() = default;
  // The octets of `data`, taken as a value of `definedSizeInBits`.
  GroupValue(const BinaryData& data, std::uint32_t definedSizeInBits);
  virtual ~GroupValue() = default;
  GroupValue(const GroupValue&) = default;
  GroupValue& operator=(const GroupValue&) = default;

  std::uint32_t GetDefinedSize() const { return m_definedSize; }
  const BinaryData& GetRawData() const { return m_data; }
  // Replaces the octets; the defined size becomes 8 bits per octet.
  void SetRawData(const BinaryData& data);

  bool GetAsBoolean() const;
  void SetAsBoolean(bool value);
  std::uint8_t GetAsUnsigned2() const;
  void SetAsUnsigned2(std::uint8_t value);
  std::uint8_t GetAsUnsigned3() const;
  std::uint8_t GetAsUnsigned4() const;
  void SetAsUnsigned4(std::uint8_t value);

  std::uint8_t GetAsUnsigned8() const;
  void SetAsUnsigned8(std::uint8_t value);
  std::int8_t GetAsSigned8() const;
  void SetAsSigned8(std::int8_t value);
  void SetAsChar(char value);

  std::uint16_t GetAsUnsigned16() const;
  void SetAsUnsigned16(std::uint16_t value);
  std::int16_t GetAsSigned16() const;
  void SetAsSigned16(std::int16_t value);

  // The platform declares the 32-bit setters with `unsigned long` and
  // `long` (32 bits on the device). On a 64-bit host a value that does not
  // fit 32 bits throws GroupValueException rather than being cut.
  std::uint32_t GetAsUnsigned32() const;
  void SetAsUnsigned32(unsigned long value);
  std::int32_t GetAsSigned32() const;
  void SetAsSigned32(long value);

  double GetAsFloat16() const;
  void SetAsFloat16(double value);
  float GetAsFloat32() const;
  void SetAsFloat32(float value);

  std::string GetAsString14() const;
  void SetAsString14(const std::string& latin1);

  void GetAsDate(int* day, int* month, int* year) const;
  void SetAsDate(int day, int month, int year);

  bool GetAsTimeOfDay(int* hour, int* minute, int* second, DayOfWeek* day) const;
  void SetAsTimeOfDay(int hour, int minute, int second, DayOfWeek day);

  friend bool operator==(const GroupValue& a, const GroupValue& b) {
    return a.m_definedSize == b.m_definedSize && a.m_data == b.m_data;
  }
  friend bool operator!=(const GroupValue& a, const GroupValue& b) { return !(a == b); }

 private:
  void Set(const std::uint8_t* octets, std::size_t count, std::uint32_t bits);
  const std::uint8_t* Need(std::size_t octets, const char* accessor) const;

  BinaryData m_data;
  std::uint32_t m_definedSize = 0;
};

}  // namespace KnxStack
