#include "Zel/KnxConverter.h"

#include "KnxLayout.h"
#include "NumericCast.h"
#include "Zel/TimeOfDay.h"

#include "ZelKnxHelper/KnxStrings.h"
#include "Zel/Log.h"

#include <utf8.h>

#include <cmath>
#include <cstdint>
#include <exception>
#include <sstream>

#define ZEL_LOG_SOURCE "ZelObjectModel/KnxConverter"

namespace Zel {
namespace {

// The trace lines of the converter pattern, written by each operation (so
// that each entry carries its operation's name):
//   "DPT is used. DPT = m.s ivt=<type> val=<value>"              (encoding)
//   "DPT is used. DPT = m.s grp.size=<bits> grp.val=<octets>"    (decoding)
struct EncodeTrace {
  EncodeTrace(const KNXDPT& d, const TAVVALUE& v) : dpt(d), value(v) {}
  const KNXDPT& dpt;
  const TAVVALUE& value;
};
std::ostream& operator<<(std::ostream& os, const EncodeTrace& trace) {
  return os << "DPT is used. DPT = " << DptText{trace.dpt} << " ivt=" << trace.value.ivt
            << " val=" << trace.value.ToString();
}
struct DecodeTrace {
  DecodeTrace(const KNXDPT& d, const KnxStack::GroupValue& g) : dpt(d), group(g) {}
  const KNXDPT& dpt;
  const KnxStack::GroupValue& group;
};
std::ostream& operator<<(std::ostream& os, const DecodeTrace& trace) {
  return os << "DPT is used. DPT = " << DptText{trace.dpt}
            << " grp.size=" << trace.group.GetDefinedSize()
            << " grp.val=" << trace.group.GetRawData().ToString();
}

// The first pair of a range, inclusive at both ends.
template <class Range, class T>
bool InFirstPair(const Range& range, T value) {
  return range.m_internalLower <= value && value <= range.m_internalUpper;
}
bool InFirstPair(const FloatRange& range, double value) {
  return range.m_firstLower <= value && value <= range.m_firstUpper;
}

unsigned Number(std::uint8_t octet) {
  return octet;
}

}  // namespace

// ---------------------------------------------------------------------------
// Ranges

IntegerRange::IntegerRange(std::int32_t internalLower, std::int32_t internalUpper,
                           std::int32_t externalLower, std::int32_t externalUpper)
    : m_internalLower(internalLower),
      m_internalUpper(internalUpper),
      m_externalLower(externalLower),
      m_externalUpper(externalUpper),
      m_scaleFactor(1.0) {
  CalculateScaleFactor();
}

// IntegerRange and LongIntegerRange compute alike. Spans are taken in 64-bit
// arithmetic, so the full 32-bit span does not overflow. The entries are
// written as the calling member's (`function`, `signature`); `factor` is
// changed only on success.
namespace {
template <class T>
void CalculateIntegerScaleFactor(T internalLower, T internalUpper, T externalLower, T externalUpper,
                                 double& factor, const char* function, const char* signature) {
  const std::int64_t internalSpan = static_cast<std::int64_t>(internalUpper) - internalLower;
  if (internalSpan == 0) {
    ZEL_LOG_AT_FUNCTION(log4cplus::ERROR_LOG_LEVEL, ZEL_LOG_SOURCE, function, signature,
                        "Failed to calculate the scale factor because of invalid internal range ["
                            << internalLower << ", " << internalUpper << "].");
    return;
  }
  const std::int64_t externalSpan = static_cast<std::int64_t>(externalUpper) - externalLower;
  if (externalSpan == 0) {
    ZEL_LOG_AT_FUNCTION(log4cplus::ERROR_LOG_LEVEL, ZEL_LOG_SOURCE, function, signature,
                        "Failed to calculate the scale factor because of invalid external range ["
                            << externalLower << ", " << externalUpper << "].");
    return;
  }
  const double quotient = static_cast<double>(externalSpan) / static_cast<double>(internalSpan);
  if (quotient == 0.0) {
    ZEL_LOG_AT_FUNCTION(log4cplus::ERROR_LOG_LEVEL, ZEL_LOG_SOURCE, function, signature,
                        "Failed to calculate the scale factor because of invalid internal range ["
                            << internalLower << ", " << internalUpper
                            << "] or because of invalid external range [" << externalLower << ", "
                            << externalUpper << "].");
    return;
  }
  factor = quotient;
}
}  // namespace

void IntegerRange::CalculateScaleFactor() {
  CalculateIntegerScaleFactor(m_internalLower, m_internalUpper, m_externalLower, m_externalUpper,
                              m_scaleFactor, __func__, __PRETTY_FUNCTION__);
}

LongIntegerRange::LongIntegerRange(std::int64_t internalLower, std::int64_t internalUpper,
                                   std::int64_t externalLower, std::int64_t externalUpper)
    : m_internalLower(internalLower),
      m_internalUpper(internalUpper),
      m_externalLower(externalLower),
      m_externalUpper(externalUpper),
      m_scaleFactor(1.0) {
  CalculateScaleFactor();
}

void LongIntegerRange::CalculateScaleFactor() {
  CalculateIntegerScaleFactor(m_internalLower, m_internalUpper, m_externalLower, m_externalUpper,
                              m_scaleFactor, __func__, __PRETTY_FUNCTION__);
}

FloatIntegerRange::FloatIntegerRange()
    : FloatIntegerRange(INT32_MIN, INT32_MAX, -671088.64, 670760.96) {}

FloatIntegerRange::FloatIntegerRange(std::int32_t integerLower, std::int32_t integerUpper,
                                     double doubleLower, double doubleUpper)
    : m_doubleLower(doubleLower),
      m_doubleUpper(doubleUpper),
      m_integerLower(integerLower),
      m_integerUpper(integerUpper),
      m_scaleFactor(1.0) {
  CalculateScaleFactor();
}

void FloatIntegerRange::CalculateScaleFactor() {
  const double doubleSpan = m_doubleUpper - m_doubleLower;
  if (doubleSpan == 0.0) {
    ZEL_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_doubleLower << ", " << m_doubleUpper << "].");
    return;
  }
  const std::int64_t integerSpan = static_cast<std::int64_t>(m_integerUpper) - m_integerLower;
  if (integerSpan == 0) {
    ZEL_LOG_ERROR("Failed to calculate the scale factor because of invalid integer range ["
                  << m_integerLower << ", " << m_integerUpper << "].");
    return;
  }
  const double factor = static_cast<double>(integerSpan) / doubleSpan;
  if (factor == 0.0) {
    // "because invalid integer range" (no "of") is the device's established text.
    ZEL_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_doubleLower << ", " << m_doubleUpper
                  << "] or because invalid integer range [" << m_integerLower << ", "
                  << m_integerUpper << "].");
    return;
  }
  m_scaleFactor = factor;
}

FloatRange::FloatRange(double firstLower, double firstUpper, double secondLower, double secondUpper)
    : m_firstLower(firstLower),
      m_firstUpper(firstUpper),
      m_secondLower(secondLower),
      m_secondUpper(secondUpper),
      m_scaleFactor(1.0) {
  CalculateScaleFactor();
}

void FloatRange::CalculateScaleFactor() {
  const double firstSpan = std::fabs(m_firstUpper - m_firstLower);
  if (firstSpan == 0.0) {
    ZEL_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_firstLower << ", " << m_firstUpper << "].");
    return;
  }
  const double secondSpan = std::fabs(m_secondUpper - m_secondLower);
  if (secondSpan == 0.0) {
    ZEL_LOG_ERROR("Failed to calculate the scale factor because of invalid external range ["
                  << m_secondLower << ", " << m_secondUpper << "].");
    return;
  }
  const double factor = secondSpan / firstSpan;
  if (factor == 0.0) {
    // "because invalid external range" (no "of") is the device's established text.
    ZEL_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_firstLower << ", " << m_firstUpper << "] or because invalid external range ["
                  << m_secondLower << ", " << m_secondUpper << "].");
    return;
  }
  m_scaleFactor = factor;
}

namespace {
template <class A, class B>
std::string RangeText(const char* label, A a, A b, B c, B d) {
  std::ostringstream os;
  os << label << '(' << a << ", " << b << ", " << c << ", " << d << ')';
  return os.str();
}
}  // namespace

std::string ToString(const IntegerRange& r) {
  return RangeText("IntegerRange", r.m_internalLower, r.m_internalUpper, r.m_externalLower,
                   r.m_externalUpper);
}
// The 64-bit range prints the 32-bit range's label (intended).
std::string ToString(const LongIntegerRange& r) {
  return RangeText("IntegerRange", r.m_internalLower, r.m_internalUpper, r.m_externalLower,
                   r.m_externalUpper);
}
std::string ToString(const FloatIntegerRange& r) {
  return RangeText("FloatIntegerRange", r.m_doubleLower, r.m_doubleUpper, r.m_integerLower,
                   r.m_integerUpper);
}
std::string ToString(const FloatRange& r) {
  return RangeText("FloatRange", r.m_firstLower, r.m_firstUpper, r.m_secondLower, r.m_secondUpper);
}

// ---------------------------------------------------------------------------
// Default converter

bool KnxConverterDefault::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                     KnxStack::GroupValue& group) {
  // Bytes needed for the bit size; the size is one octet, so taken modulo 256.
  unsigned int count = dpt.bitSize / 8u + (dpt.bitSize % 8u != 0 ? 1u : 0u);
  unsigned char buffer[24] = {};
  if (value.ivt == ivtPercent || value.ivt == ivtDimming) {
    count = 1;
    if (!TavValueToByteArray(value, buffer, count)) {
      ZEL_LOG_ERROR("TavValueToByteArray failed. DPT=" << DptText{dpt});
      return false;
    }
    group.SetAsUnsigned8(buffer[0]);
    return true;
  }
  if (value.ivt == ivtBool) {
    if (dpt.mainNumber == 1) {
      group.SetAsBoolean(value.GetByte() != 0);
    } else if (dpt.mainNumber == 2) {
      // Meant as "control set, value from the boolean"; the 2-bit setter keeps
      // only the low two bits of 0x11 / 0x10.
      group.SetAsUnsigned2(value.GetByte() != 0 ? 0x11 : 0x10);
    }
    // Any other main number: nothing written and still success (intended).
    return true;
  }
  if (count - 1u > 22u) {  // 0 or more than 23 octets: the whole buffer
    count = sizeof buffer;
  }
  if (!TavValueToByteArray(value, buffer, count)) {
    ZEL_LOG_ERROR("TavValueToByteArray failed. DPT=" << DptText{dpt} << " data size =" << count);
    return false;
  }
  if (count <= 1) {
    group.SetAsUnsigned8(buffer[0]);
  } else {
    group.SetRawData(KnxStack::BinaryData(buffer, count));
  }
  return true;
}

bool KnxConverterDefault::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                       TAVVALUE& value) {
  const KnxStack::BinaryData& data = group.GetRawData();
  const auto length = static_cast<unsigned int>(data.GetLength());
  if (ByteArrayToTavValue(data.GetData(), length, value, group.GetDefinedSize() == 1)) {
    return true;
  }
  value = TAVVALUE();
  ZEL_LOG_ERROR("ByteArrayToTavValue failed. DPT=" << DptText{dpt} << " data size =" << length);
  return false;
}

// ---------------------------------------------------------------------------
// Bit converters

bool KnxConverter1Bit::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                  KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 1 || value.ivt != ivtBool) {
    return false;  // refused without a log entry (intended)
  }
  group.SetAsBoolean(value.GetByte() != 0);
  return true;
}

bool KnxConverter1Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                    TAVVALUE& value) {
  if (dpt.mainNumber != 1) {
    return false;  // refused without a log entry (intended)
  }
  // The value type stays as the caller prepared it from the DPT table.
  value.SetByte(group.GetAsBoolean() ? 1 : 0);
  return true;
}

bool KnxConverter2Bit::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                  KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 2 || value.ivt != ivtByte) {
    ZEL_LOG_ERROR("Wrong tav value type (ivtByte) or DPT main number (2.x)!");
    return false;
  }
  group.SetAsUnsigned2(value.GetByte());
  return true;
}

bool KnxConverter2Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                    TAVVALUE& value) {
  if (dpt.mainNumber != 2) {
    ZEL_LOG_ERROR("Wrong DPT main number (2.x)!");
    return false;
  }
  value.ivt = ivtByte;
  value.SetByte(group.GetAsUnsigned2());
  return true;
}

bool KnxConverter4Bit::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                  KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 3 || value.ivt != ivtByte) {
    ZEL_LOG_ERROR("Wrong tav value type (ivtByte) or DPT main number (3.x)!");
    return false;
  }
  if (value.GetByte() >= 16) {
    ZEL_LOG_ERROR("Value out of raw range [0..15]:" << Number(value.GetByte()));
    return false;
  }
  group.SetAsUnsigned4(value.GetByte());
  return true;
}

bool KnxConverter4Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                    TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 3) {
    ZEL_LOG_ERROR("Wrong DPT main number (3.x)!");
    return false;
  }
  // The value type stays as the caller prepared it from the DPT table.
  value.SetByte(group.GetAsUnsigned4());
  return true;
}

// ---------------------------------------------------------------------------
// Characters and strings

namespace {
// The one character of a 4.x value: its code point, or -1 when the text is
// not exactly one valid UTF-8 character. An empty text is NUL.
std::int64_t SingleCodePoint(const std::string& text) {
  if (text.empty()) {
    return 0;
  }
  if (!utf8::is_valid(text.begin(), text.end())) {
    return -1;
  }
  auto it = text.begin();
  const std::uint32_t codePoint = utf8::next(it, text.end());
  return it == text.end() ? std::int64_t{codePoint} : -1;
}
}  // namespace

bool KnxConverter8BitString::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                        KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 4 || value.ivt != ivtString) {
    ZEL_LOG_ERROR("Wrong tav value type (ivtString) or DPT main number (4.x)!");
    return false;
  }
  const std::int64_t codePoint = SingleCodePoint(value.GetString());
  if (codePoint < 0 || !InFirstPair(m_range, codePoint)) {
    // One text for every row; the value shows what was refused.
    ZEL_LOG_ERROR("Value out of raw range [0..127] for DPT 4.001:" << value.ToString());
    return false;
  }
  group.SetAsChar(static_cast<char>(codePoint));
  return true;
}

bool KnxConverter8BitString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                          TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 4) {
    ZEL_LOG_ERROR("Wrong DPT main number (4.x)!");
    return false;
  }
  const std::uint8_t octet = group.GetAsUnsigned8();
  if (!InFirstPair(m_range, static_cast<std::int32_t>(octet))) {
    ZEL_LOG_ERROR("Value out of raw range [0..127] for DPT 4.001:" << Number(octet));
    return false;
  }
  value.ivt = ivtString;
  // NUL is the empty text, as an empty text encodes to NUL.
  value.SetString(
      octet == 0 ? std::string()
                 : getUTF8FromLatin1(KnxStyleString(std::string(1, static_cast<char>(octet)))));
  return true;
}

namespace {
// The Latin-1 octets of `text` that a 14-octet value carries: characters
// within [0, upper] as they are; each character above `upper`, and each
// invalid UTF-8 sequence (counted as utfcpp's replace_invalid counts
// them), as '_'; cut after 14 octets, as the group value would cut them.
// Sets `replaced` when anything in the whole text was replaced. Allocates
// nothing: the result fits the string's own buffer.
std::string ToLatin1Within(const std::string& text, std::int32_t upper, bool& replaced) {
  char octets[14];
  std::size_t count = 0;
  const auto put = [&octets, &count](char octet) {
    if (count < sizeof octets) {
      octets[count++] = octet;
    }
  };
  replaced = false;
  auto it = text.begin();
  const auto end = text.end();
  while (it != end) {
    const auto sequence = it;
    std::uint32_t codePoint = 0;
    const utf8::internal::utf_error error = utf8::internal::validate_next(it, end, codePoint);
    if (error == utf8::internal::UTF8_OK) {
      const bool fits = codePoint <= static_cast<std::uint32_t>(upper);
      replaced = replaced || !fits;
      put(fits ? static_cast<char>(codePoint) : '_');
      continue;
    }
    replaced = true;
    put('_');
    if (error == utf8::internal::NOT_ENOUGH_ROOM) {
      it = end;
    } else {
      it = sequence + 1;
      if (error != utf8::internal::INVALID_LEAD) {
        while (it != end && utf8::internal::is_trail(*it)) {
          ++it;  // one mark for the whole sequence
        }
      }
    }
  }
  return std::string(octets, count);
}
}  // namespace

// Replacements are logged at WARN: the value is still sent, with "_" in
// place of what the DPT cannot carry. Text beyond 14 octets is cut by the
// group value, as KNX tools do.
bool KnxConverter14ByteString::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                          KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 16 || value.ivt != ivtString) {
    ZEL_LOG_ERROR("Wrong DPT main number (16.x) or tav value type (ivtString)!");
    return false;
  }
  bool replaced = false;
  const std::string latin1 = ToLatin1Within(value.GetString(), m_range.m_internalUpper, replaced);
  if (replaced) {
    ZEL_LOG_WARN("Invalid characters for DPT " << DptText{dpt} << " has been replaced with _.");
  }
  group.SetAsString14(latin1);
  return true;
}

bool KnxConverter14ByteString::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                            TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 16) {
    ZEL_LOG_ERROR("Wrong DPT main number (16.x)!");
    return false;
  }
  std::string latin1 = group.GetAsString14();
  bool replaced = false;
  for (char& c : latin1) {
    if (static_cast<std::uint8_t>(c) > m_range.m_internalUpper) {
      c = '_';
      replaced = true;
    }
  }
  if (replaced) {
    ZEL_LOG_WARN("Invalid characters for DPT " << DptText{dpt} << " has been replaced with _.");
  }
  value.ivt = ivtString;
  value.SetString(getUTF8FromLatin1(KnxStyleString(std::move(latin1))));
  return true;
}

// ---------------------------------------------------------------------------
// 8-bit converters

bool KnxConverterByte8BitUnsigned::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                              KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (value.ivt != ivtByte) {
    ZEL_LOG_ERROR("Wrong tav value type (ivtByte)!");
    return false;
  }
  // Only 5.006 is range-tested when encoding (intended).
  if (dpt.mainNumber == 5 && dpt.subNumber == 6 &&
      !InFirstPair(m_range, static_cast<std::int32_t>(value.GetByte()))) {
    ZEL_LOG_ERROR("Value out of raw range [0..254] for DPT 5.006:" << Number(value.GetByte()));
    return false;
  }
  group.SetAsUnsigned8(value.GetByte());
  return true;
}

bool KnxConverterByte8BitUnsigned::FromKnxValue(const KNXDPT& dpt,
                                                const KnxStack::GroupValue& group,
                                                TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  // No main number test: the range alone decides (intended).
  const std::uint8_t octet = group.GetAsUnsigned8();
  if (!InFirstPair(m_range, static_cast<std::int32_t>(octet))) {
    ZEL_LOG_ERROR("Value out of raw range " << ToString(m_range) << " for DPT " << DptText{dpt}
                                            << "; value was " << Number(octet));
    return false;
  }
  value.ivt = ivtByte;
  value.SetByte(octet);
  return true;
}

bool KnxConverterInteger8BitSigned::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                               KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 6 || value.ivt != ivtInteger) {
    ZEL_LOG_ERROR("Wrong tav value type (ivtInteger) or DPT main number (6.x)!");
    return false;
  }
  // No range test: a wider number is cut to its low octet (intended).
  group.SetAsSigned8(static_cast<std::int8_t>(static_cast<std::uint8_t>(value.GetDWord())));
  return true;
}

bool KnxConverterInteger8BitSigned::FromKnxValue(const KNXDPT& dpt,
                                                 const KnxStack::GroupValue& group,
                                                 TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  value.ivt = ivtInteger;
  value.SetInteger(group.GetAsSigned8());
  return true;
}

namespace {
bool IsOneHotMode(unsigned mode) {
  return mode == 1 || mode == 2 || mode == 4;
}
}  // namespace

bool KnxConverterStatus8Bit::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                        KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  // Any one of the three conditions suffices (intended).
  if (dpt.mainNumber != 6 && dpt.subNumber != 20 && value.ivt != ivtByte) {
    ZEL_LOG_ERROR("Wrong tav value type (ivtByte) or DPT main number (6.020)!");
    return false;
  }
  // Written before the mode is checked: a refused octet stays in `group`.
  group.SetAsUnsigned8(value.GetByte());
  const unsigned mode = group.GetAsUnsigned3();
  if (!IsOneHotMode(mode)) {
    ZEL_LOG_ERROR("The internal value of DPT=" << DptText{dpt} << ", f=" << mode
                                               << " is out of the allowed range.");
    return false;
  }
  return true;
}

bool KnxConverterStatus8Bit::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                          TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 6 && dpt.subNumber != 20) {
    ZEL_LOG_ERROR("Wrong DPT main number (6.020)!");
    return false;
  }
  const unsigned mode = static_cast<std::uint8_t>(group.GetAsSigned8()) & 0x07u;
  if (!IsOneHotMode(mode)) {
    ZEL_LOG_ERROR("The internal value of DPT=" << DptText{dpt} << ", f=" << mode
                                               << " is out of the allowed range.");
    return false;
  }
  value.ivt = ivtByte;
  value.SetByte(group.GetAsUnsigned8());
  return true;
}

// ---------------------------------------------------------------------------
// 16-bit and 32-bit integers

bool KnxConverterInteger16BitUnsigned::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                                  KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 7 && value.ivt != ivtWord) {
    ZEL_LOG_ERROR("Wrong DPT main number (7.x) or tav value type (ivtWord)!");
    return false;
  }
  // No range test: a wider number is cut to its low 16 bits (intended).
  group.SetAsUnsigned16(static_cast<std::uint16_t>(value.GetDWord()));
  return true;
}

bool KnxConverterInteger16BitUnsigned::FromKnxValue(const KNXDPT& dpt,
                                                    const KnxStack::GroupValue& group,
                                                    TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 7) {
    ZEL_LOG_ERROR("Wrong DPT main number (7.x)!");
    return false;
  }
  value.ivt = ivtWord;
  value.SetDWord(group.GetAsUnsigned16());
  return true;
}

bool KnxConverterInteger16BitSigned::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                                KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 8 && value.ivt != ivtInteger) {
    ZEL_LOG_ERROR("Wrong DPT main number (8.x) or tav value type (ivtInteger)!");
    return false;
  }
  // No range test: 40000 is sent as -25536 (intended).
  group.SetAsSigned16(static_cast<std::int16_t>(static_cast<std::uint16_t>(value.GetDWord())));
  return true;
}

bool KnxConverterInteger16BitSigned::FromKnxValue(const KNXDPT& dpt,
                                                  const KnxStack::GroupValue& group,
                                                  TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 8) {
    ZEL_LOG_ERROR("Wrong DPT main number (8.x)!");
    return false;
  }
  value.ivt = ivtInteger;
  value.SetInteger(group.GetAsSigned16());
  return true;
}

bool KnxConverterInteger24BitUnsigned::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                                  KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (value.ivt != ivtDWord) {
    ZEL_LOG_ERROR("Wrong tav value type (ivtDWord)!");
    return false;
  }
  const std::uint32_t u = value.GetDWord();
  if (!InFirstPair(m_range, static_cast<std::int64_t>(u))) {
    ZEL_LOG_ERROR("The internal value of DPT=" << DptText{dpt} << ", ivt=" << value.ivt
                                               << " is out of range: " << u);
    return false;
  }
  group = Layout::WriteUnsigned24(u);
  return true;
}

bool KnxConverterInteger24BitUnsigned::FromKnxValue(const KNXDPT& dpt,
                                                    const KnxStack::GroupValue& group,
                                                    TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  const std::uint32_t u = Layout::ReadRaw32(group);
  if (!InFirstPair(m_range, static_cast<std::int64_t>(u))) {
    ZEL_LOG_ERROR("The internal value of DPT=" << DptText{dpt} << ", ivt=" << value.ivt
                                               << " is out of range: " << u);
    return false;
  }
  value.ivt = ivtDWord;
  value.SetDWord(u);
  return true;
}

bool KnxConverterInteger32BitUnsigned::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                                  KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  // The value type alone decides, never the main number (intended).
  if (value.ivt != ivtDWord) {
    ZEL_LOG_ERROR("Wrong tav value type (ivtDWord)!");
    return false;
  }
  const std::uint32_t u = value.GetDWord();
  if (!InFirstPair(m_range, static_cast<std::int64_t>(u))) {
    ZEL_LOG_ERROR("The internal value of DPT=" << DptText{dpt} << ", ivt=" << value.ivt
                                               << " is out of range: " << u);
    return false;
  }
  group.SetAsUnsigned32(u);
  return true;
}

bool KnxConverterInteger32BitUnsigned::FromKnxValue(const KNXDPT& dpt,
                                                    const KnxStack::GroupValue& group,
                                                    TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  const std::uint32_t u = group.GetAsUnsigned32();
  if (!InFirstPair(m_range, static_cast<std::int64_t>(u))) {
    ZEL_LOG_ERROR("The internal value of DPT=" << DptText{dpt} << ", ivt=" << value.ivt
                                               << " is out of range: " << u);
    return false;
  }
  value.SetDWord(u);
  value.ivt = ivtDWord;
  return true;
}

namespace {
// Application value <-> raw field through the range: the external pair maps
// linearly onto the internal one. Rounded half away from zero, as KNX tools
// round scaled values; with identical pairs (13.x) this is the identity.
std::int64_t ScaleToRaw(const IntegerRange& r, std::int64_t external) {
  return r.m_internalLower +
         std::llround(static_cast<double>(external - r.m_externalLower) / r.m_scaleFactor);
}
std::int64_t ScaleFromRaw(const IntegerRange& r, std::int64_t raw) {
  return r.m_externalLower +
         std::llround(static_cast<double>(raw - r.m_internalLower) * r.m_scaleFactor);
}
}  // namespace

bool KnxConverterInteger32BitSigned::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                                KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 13 && value.ivt != ivtInteger) {
    ZEL_LOG_ERROR("Wrong DPT main number (13.x) or tav value type (ivtInteger)!");
    return false;
  }
  const std::int32_t v = value.GetInteger();
  const std::int64_t raw = ScaleToRaw(m_range, v);
  if (!InFirstPair(m_range, v) || !InFirstPair(m_range, raw)) {
    ZEL_LOG_ERROR("The internal value of DPT=" << DptText{dpt} << ", ivt=" << value.ivt
                                               << " is out of range: " << v);
    return false;
  }
  group.SetAsSigned32(static_cast<std::int32_t>(raw));
  return true;
}

bool KnxConverterInteger32BitSigned::FromKnxValue(const KNXDPT& dpt,
                                                  const KnxStack::GroupValue& group,
                                                  TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 13) {
    ZEL_LOG_ERROR("Wrong DPT main number (13.x)!");
    return false;
  }
  const std::int32_t raw = group.GetAsSigned32();
  const std::int64_t external = ScaleFromRaw(m_range, raw);
  if (!InFirstPair(m_range, raw) || external < INT32_MIN || external > INT32_MAX) {
    ZEL_LOG_ERROR("The group value of DPT=" << DptText{dpt} << " is out of range: " << raw);
    return false;
  }
  value.ivt = ivtInteger;
  value.SetInteger(static_cast<std::int32_t>(external));
  return true;
}

// ---------------------------------------------------------------------------
// Floats

bool KnxConverterFloat16BitFloat::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                             KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  // Any one of the three conditions suffices (intended).
  if (dpt.mainNumber != 9 && value.ivt != ivtFloat && value.ivt != ivtNone) {
    ZEL_LOG_ERROR("Wrong DPT main number (9.x) or tav value type (ivtFloat)!");
    return false;
  }
  if (value.ivt == ivtNone) {
    // The platform's encoding of "no value"; the stack writes 0x7FFF for it.
    group.SetAsFloat16(32767.0);
    return true;
  }
  const double f = value.GetDouble();
  if (!InFirstPair(m_range, f)) {  // a NaN fails here too
    ZEL_LOG_ERROR("The internal value of DPT=" << DptText{dpt} << ", f=" << f
                                               << " is out of the allowed range.");
    return false;
  }
  group.SetAsFloat16(f);
  return true;
}

bool KnxConverterFloat16BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                               TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (group.GetAsUnsigned16() == 0x7FFF) {  // KNX invalid data: no value
    value.ivt = ivtNone;
    return true;
  }
  // The value type stays as the caller prepared it from the DPT table; a
  // refused number stays stored in the value.
  const double f = group.GetAsFloat16();
  value.SetDouble(f);
  if (!InFirstPair(m_range, f)) {
    ZEL_LOG_ERROR("The internal value of DPT=" << DptText{dpt} << ", f=" << f
                                               << " is out of the allowed range.");
    return false;
  }
  return true;
}

bool KnxConverterFloat32BitFloat::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                             KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 14 && value.ivt != ivtFloat && value.ivt != ivtNone) {
    ZEL_LOG_ERROR("Wrong DPT main number (14.x) or tav value type (ivtFloat)!");
    return false;
  }
  if (value.ivt == ivtNone) {
    group.SetAsFloat32(std::numeric_limits<float>::quiet_NaN());  // 0x7FC00000: no value
    return true;
  }
  // No range test in this direction (intended): 1e39 is sent as infinity.
  group.SetAsFloat32(NarrowToFloat(value.GetDouble()));
  return true;
}

bool KnxConverterFloat32BitFloat::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                               TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 14) {
    ZEL_LOG_ERROR("Wrong DPT main number (14.x)!");
    return false;
  }
  const double f = group.GetAsFloat32();
  value.SetDouble(f);
  value.ivt = std::isnan(f) ? ivtNone : ivtFloat;
  return true;
}

// ---------------------------------------------------------------------------
// Scenes. The DPT table registers 17.x and 18.x with the integer type while
// these converters test and set the byte type; the mismatch is intended
// (a value of the integer type is refused on 18.001).

bool KnxConverterSceneNumber::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                         KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  // Any one of the three conditions suffices (intended).
  if (dpt.mainNumber != 17 && dpt.subNumber != 1 && value.ivt != ivtByte) {
    ZEL_LOG_ERROR("Wrong DPT main number (17.001) or tav value type (ivtByte)!");
    return false;
  }
  const std::int32_t n = value.GetInteger();
  if (!InFirstPair(m_range, n)) {
    ZEL_LOG_ERROR("Scene number is out of range (>63) for SceneNumber: " << n);
    return false;
  }
  group.SetAsUnsigned8(static_cast<std::uint8_t>(n));
  return true;
}

bool KnxConverterSceneNumber::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                           TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 17 && dpt.subNumber != 1) {
    ZEL_LOG_ERROR("Wrong DPT main number (17.001)!");
    return false;
  }
  const std::int32_t n = group.GetAsUnsigned8();
  value.SetInteger(n);  // stored before the range test: a refused number stays
  if (!InFirstPair(m_range, n)) {
    ZEL_LOG_ERROR("Scene number is out of range (>63) for SceneNumber: " << n);
    return false;
  }
  value.ivt = ivtByte;
  return true;
}

bool KnxConverterSceneControl::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                          KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  // All three conditions, unlike the other converters (intended).
  if (dpt.mainNumber != 18 || dpt.subNumber != 1 || value.ivt != ivtByte) {
    ZEL_LOG_ERROR("Wrong DPT for Scene number (18.001) or tav value type (ivtByte).");
    return false;
  }
  const std::uint8_t b = value.GetByte();
  if ((b & 0x40u) != 0) {
    ZEL_LOG_ERROR("Scene number is out of range (>63) for SceneControl: " << (b & 0x7Fu));
    return false;
  }
  group.SetAsUnsigned8(b);  // bit 7, the learn bit, passes through
  return true;
}

bool KnxConverterSceneControl::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                            TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 18 || dpt.subNumber != 1) {
    ZEL_LOG_ERROR("Wrong DPT for Scene number, only 18.001 is valid.");
    return false;
  }
  if ((group.GetAsUnsigned8() & 0x40u) != 0) {
    ZEL_LOG_ERROR("Reserved bit is used for scene number in DPT scene control!");
    return false;
  }
  value.SetByte(group.GetAsUnsigned8());  // value type left to the caller
  return true;
}

bool KnxConverterSceneInfo::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                       KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 26 || dpt.subNumber != 1 || value.ivt != ivtByte) {
    ZEL_LOG_ERROR("Wrong DPT for Scene number (26.001) or tav value type (ivtByte).");
    return false;
  }
  if ((value.GetByte() & 0x80u) != 0) {
    ZEL_LOG_ERROR("Reserved bit 8 is set for SceneInfo; skipped.");
    return false;
  }
  group.SetAsUnsigned8(value.GetByte());
  return true;
}

bool KnxConverterSceneInfo::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                         TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 26 || dpt.subNumber != 1) {
    ZEL_LOG_ERROR("Wrong DPT for Scene number, only 26.001 is valid.");
    return false;
  }
  const std::uint8_t octet = group.GetAsUnsigned8();
  if ((octet & 0x80u) != 0) {
    // The scene-control text is reused here (intended).
    ZEL_LOG_ERROR("Reserved bit is used for scene number in DPT scene control!");
    return false;
  }
  value.SetByte(octet);  // value type left to the caller
  return true;
}

// ---------------------------------------------------------------------------
// Time of day, date, date and time

namespace {

std::uint8_t Octet(const KnxStack::GroupValue& group, std::size_t index) {
  return group.GetRawData().GetUInt8Value(index);
}

// "Cannot convert invalid date and time: year=... second=..."
struct InvalidDateTime {
  InvalidDateTime(std::int64_t y, unsigned mo, unsigned d, unsigned h, unsigned mi, unsigned s)
      : year(y), month(mo), day(d), hour(h), minute(mi), second(s) {}
  std::int64_t year;
  unsigned month, day, hour, minute, second;
};
std::ostream& operator<<(std::ostream& os, const InvalidDateTime& t) {
  return os << "Cannot convert invalid date and time: year=" << t.year << ", month=" << t.month
            << ", day=" << t.day << ", hour=" << t.hour << ", minute=" << t.minute
            << ", second=" << t.second;
}

}  // namespace

bool KnxConverterTimeOfDay::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                       KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  // Any one of the three conditions suffices (intended).
  if (dpt.mainNumber != 10 && dpt.subNumber != 1 && value.ivt != ivtDayTime) {
    ZEL_LOG_ERROR("Wrong DPT main number (10.001) or tav value type (ivtDayTime)!");
    return false;
  }
  const boost::optional<ZelApp::TimeOfDay> time = ZelApp::FromTavTime(value.GetTime());
  if (!time) {
    ZEL_LOG_ERROR("No valid TimeOfDay (10.001)!");
    return false;
  }
  Layout::WriteTimeOfDay(*time, group);
  return true;
}

bool KnxConverterTimeOfDay::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                         TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 10) {
    ZEL_LOG_ERROR("Wrong DPT main number (10.001)!");
    return false;
  }
  if ((Octet(group, 1) & 0xC0u) != 0 || (Octet(group, 2) & 0xC0u) != 0) {
    ZEL_LOG_ERROR("No valid TimeOfDay datagram, reserved fields are not zero!");
    return false;
  }
  int hour = 0;
  int minute = 0;
  int second = 0;
  KnxStack::GroupValue::DayOfWeek day = KnxStack::GroupValue::NoDay;
  if (!group.GetAsTimeOfDay(&hour, &minute, &second, &day)) {
    ZEL_LOG_ERROR("No valid TimeOfDay (10.001)!");
    return false;
  }
  // The value type stays as the caller prepared it from the DPT table; the
  // weekday goes into the time's weekday mask.
  TAVTIME time;
  time.Clear(false);
  time.hour = static_cast<std::uint8_t>(hour);
  time.minute = static_cast<std::uint8_t>(minute);
  time.second = static_cast<std::uint8_t>(second);
  time.weekDays = ZelApp::ToTavWeekday(static_cast<ZelApp::DayOfWeek>(day));
  value.SetTime(time);
  return true;
}

bool KnxConverterDate::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                  KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  // Any one of the three conditions suffices, and the refusal deliberately
  // shares the time-of-day converter's text.
  if (dpt.mainNumber != 11 && dpt.subNumber != 1 && value.ivt != ivtDate) {
    ZEL_LOG_ERROR("Wrong DPT main number (10.001) or tav value type (ivtDayTime)!");
    return false;
  }
  const TAVTIME& t = value.GetTime();
  if (!TAVTIME::IsValidDate(t.year, t.month, t.day)) {
    ZEL_LOG_ERROR("Cannot convert invalid date: year=" << t.year << ", month=" << Number(t.month)
                                                       << ", day=" << Number(t.day));
    return false;
  }
  if (t.year < 1990 || t.year > 2089) {
    ZEL_LOG_ERROR("Cannot convert the date outside of the range [1990...2089]: year="
                  << t.year << ", month=" << Number(t.month) << ", day=" << Number(t.day));
    return false;
  }
  group.SetAsDate(t.day, t.month, t.year);
  return true;
}

bool KnxConverterDate::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                    TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 11) {
    ZEL_LOG_ERROR("Wrong DPT main number (11.001)!");
    return false;
  }
  if ((Octet(group, 0) & 0xE0u) != 0 || (Octet(group, 1) & 0xF0u) != 0 ||
      (Octet(group, 2) & 0x80u) != 0) {
    ZEL_LOG_ERROR("No valid Date datagram, reserved fields are not zero!");
    return false;
  }
  int day = 0;
  int month = 0;
  int year = 0;
  group.GetAsDate(&day, &month, &year);
  if (Octet(group, 2) > 99) {
    ZEL_LOG_ERROR("Cannot convert the date outside of the range [1990...2089]: year="
                  << year << ", month=" << month << ", day=" << day);
    return false;
  }
  try {
    // The calendar's own error names what is wrong.
    Layout::CheckCalendarDate(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
  } catch (const std::exception& e) {
    ZEL_LOG_ERROR("Exception caught during conversion of date:" << e.what());
    return false;
  }
  TAVTIME time;
  time.SetDate(static_cast<std::uint16_t>(year), static_cast<std::uint8_t>(month),
               static_cast<std::uint8_t>(day), false);
  value.ivt = ivtDate;
  value.SetTime(time);
  return true;
}

// DPT 19.001, eight octets (see Layout::DateTimeFields). What this converter
// does with the flags:
// - Encoding writes NWD (working day unknown: the platform does not keep
//   it), NDoW when the time's weekday mask is not exactly one day, SUTI
//   from the daylight-saving flag, and a zero clock-quality octet.
// - Decoding refuses a value with F (fault) set, and one with NY, ND or NT
//   set (TAVTIME cannot say that a part is missing); it takes the weekday
//   unless NDoW is set, and daylight saving from SUTI. WD/NWD and the
//   clock-quality octet are not kept. 24:00:00, the standard's end of the
//   day, is midnight at the start of the next day (and its weekday), which
//   is how the platform holds it.

bool KnxConverterDateTime::ToKnxValue(const KNXDPT& dpt, const TAVVALUE& value,
                                      KnxStack::GroupValue& group) {
  ZEL_LOG_DEBUG(EncodeTrace(dpt, value));
  if (dpt.mainNumber != 19 && value.ivt != ivtDateTime) {
    ZEL_LOG_ERROR("Wrong DPT main number (19.001) or tav value type (ivtDateTime)!");
    return false;
  }
  const TAVTIME& t = value.GetTime();
  if (!TAVTIME::IsValidDate(t.year, t.month, t.day) ||
      !TAVTIME::IsValidTime(t.hour, t.minute, t.second) || t.year < 1900 || t.year > 2155) {
    ZEL_LOG_ERROR(InvalidDateTime(t.year, t.month, t.day, t.hour, t.minute, t.second));
    return false;
  }
  const boost::optional<ZelApp::TimeOfDay> timeOfDay = ZelApp::FromTavTime(t);
  const ZelApp::DayOfWeek day = timeOfDay ? timeOfDay->GetWeekday() : ZelApp::NoDay;
  std::uint8_t flags = Layout::kDateTimeNoWorkingDay;
  if (day == ZelApp::NoDay) {
    flags |= Layout::kDateTimeNoDayOfWeek;
  }
  if (t.dst) {
    flags |= Layout::kDateTimeSummerTime;
  }
  group = Layout::WriteDateTime(
      {t.year, t.month, t.day, static_cast<unsigned>(day), t.hour, t.minute, t.second, flags});
  return true;
}

bool KnxConverterDateTime::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                        TAVVALUE& value) {
  ZEL_LOG_DEBUG(DecodeTrace(dpt, group));
  if (dpt.mainNumber != 19) {
    ZEL_LOG_ERROR("Wrong DPT main number (19.001)!");
    return false;
  }
  Layout::DateTimeFields f = Layout::ReadDateTime(group);
  const bool endOfDay = f.hour == 24 && f.minute == 0 && f.second == 0;
  constexpr std::uint8_t kRefusedFlags = Layout::kDateTimeFault | Layout::kDateTimeNoYear |
                                         Layout::kDateTimeNoDate | Layout::kDateTimeNoTime;
  if ((f.flags & kRefusedFlags) != 0 ||
      (!endOfDay &&
       !TAVTIME::IsValidTime(static_cast<std::uint8_t>(f.hour), static_cast<std::uint8_t>(f.minute),
                             static_cast<std::uint8_t>(f.second)))) {
    ZEL_LOG_ERROR(InvalidDateTime(f.year, f.month, f.day, f.hour, f.minute, f.second));
    return false;
  }
  try {
    Layout::CheckCalendarDate(f.year, f.month, f.day);
  } catch (const std::exception& e) {
    ZEL_LOG_ERROR("Exception caught during conversion of date and time:" << e.what());
    return false;
  }
  if (endOfDay) {
    const Layout::CarriedDateTime next = Layout::CarryDateTime(f.year, f.month, f.day, 24, 0, 0);
    f.year = next.date.year;
    f.month = next.date.month;
    f.day = next.date.day;
    f.hour = next.hour;
    f.weekday = f.weekday == 0 ? 0 : f.weekday % 7 + 1;
  }
  TAVTIME time;
  time.SetDateTime(static_cast<std::uint16_t>(f.year), static_cast<std::uint8_t>(f.month),
                   static_cast<std::uint8_t>(f.day), static_cast<std::uint8_t>(f.hour),
                   static_cast<std::uint8_t>(f.minute), static_cast<std::uint8_t>(f.second), false);
  time.weekDays = (f.flags & Layout::kDateTimeNoDayOfWeek) != 0
                      ? 0u
                      : ZelApp::ToTavWeekday(static_cast<ZelApp::DayOfWeek>(f.weekday));
  time.dst = (f.flags & Layout::kDateTimeSummerTime) != 0;
  value.ivt = ivtDateTime;
  value.SetTime(time);
  return true;
}

// ---------------------------------------------------------------------------
// Construction and Clone: a member-wise copy.

KnxConverter::~KnxConverter() = default;

KnxConverter* KnxConverterDefault::Clone() const {
  return new KnxConverterDefault(*this);
}

KnxConverter* KnxConverter1Bit::Clone() const {
  return new KnxConverter1Bit(*this);
}

KnxConverter* KnxConverter2Bit::Clone() const {
  return new KnxConverter2Bit(*this);
}

KnxConverter4Bit::KnxConverter4Bit(const FloatIntegerRange& range) : m_range(range) {}
KnxConverter* KnxConverter4Bit::Clone() const {
  return new KnxConverter4Bit(*this);
}

KnxConverter8BitString::KnxConverter8BitString(const IntegerRange& range) : m_range(range) {}
KnxConverter* KnxConverter8BitString::Clone() const {
  return new KnxConverter8BitString(*this);
}

KnxConverterByte8BitUnsigned::KnxConverterByte8BitUnsigned(const IntegerRange& range)
    : m_range(range) {}
KnxConverter* KnxConverterByte8BitUnsigned::Clone() const {
  return new KnxConverterByte8BitUnsigned(*this);
}

KnxConverterInteger8BitSigned::KnxConverterInteger8BitSigned(const IntegerRange& range)
    : m_range(range) {}
KnxConverter* KnxConverterInteger8BitSigned::Clone() const {
  return new KnxConverterInteger8BitSigned(*this);
}

KnxConverterStatus8Bit::KnxConverterStatus8Bit(const IntegerRange& range) : m_range(range) {}
KnxConverter* KnxConverterStatus8Bit::Clone() const {
  return new KnxConverterStatus8Bit(*this);
}

KnxConverterInteger16BitUnsigned::KnxConverterInteger16BitUnsigned(const IntegerRange& range)
    : m_range(range) {}
KnxConverter* KnxConverterInteger16BitUnsigned::Clone() const {
  return new KnxConverterInteger16BitUnsigned(*this);
}

KnxConverterInteger16BitSigned::KnxConverterInteger16BitSigned(const IntegerRange& range)
    : m_range(range) {}
KnxConverter* KnxConverterInteger16BitSigned::Clone() const {
  return new KnxConverterInteger16BitSigned(*this);
}

KnxConverterFloat16BitFloat::KnxConverterFloat16BitFloat(const FloatRange& range)
    : m_range(range) {}
KnxConverter* KnxConverterFloat16BitFloat::Clone() const {
  return new KnxConverterFloat16BitFloat(*this);
}

KnxConverterFloat32BitFloat::KnxConverterFloat32BitFloat(const FloatRange& range)
    : m_range(range) {}
KnxConverter* KnxConverterFloat32BitFloat::Clone() const {
  return new KnxConverterFloat32BitFloat(*this);
}

KnxConverterInteger24BitUnsigned::KnxConverterInteger24BitUnsigned(const LongIntegerRange& range)
    : m_range(range) {}
KnxConverter* KnxConverterInteger24BitUnsigned::Clone() const {
  return new KnxConverterInteger24BitUnsigned(*this);
}

KnxConverterInteger32BitUnsigned::KnxConverterInteger32BitUnsigned(const LongIntegerRange& range)
    : m_range(range) {}
KnxConverter* KnxConverterInteger32BitUnsigned::Clone() const {
  return new KnxConverterInteger32BitUnsigned(*this);
}

KnxConverterInteger32BitSigned::KnxConverterInteger32BitSigned(const IntegerRange& range)
    : m_range(range) {}
KnxConverter* KnxConverterInteger32BitSigned::Clone() const {
  return new KnxConverterInteger32BitSigned(*this);
}

KnxConverter14ByteString::KnxConverter14ByteString(const IntegerRange& range) : m_range(range) {}
KnxConverter* KnxConverter14ByteString::Clone() const {
  return new KnxConverter14ByteString(*this);
}

KnxConverter* KnxConverterTimeOfDay::Clone() const {
  return new KnxConverterTimeOfDay(*this);
}

KnxConverter* KnxConverterDate::Clone() const {
  return new KnxConverterDate(*this);
}

KnxConverter* KnxConverterDateTime::Clone() const {
  return new KnxConverterDateTime(*this);
}

KnxConverterSceneNumber::KnxConverterSceneNumber(const IntegerRange& range) : m_range(range) {}
KnxConverter* KnxConverterSceneNumber::Clone() const {
  return new KnxConverterSceneNumber(*this);
}

KnxConverterSceneControl::KnxConverterSceneControl(const IntegerRange& range) : m_range(range) {}
KnxConverter* KnxConverterSceneControl::Clone() const {
  return new KnxConverterSceneControl(*this);
}

KnxConverterSceneInfo::KnxConverterSceneInfo(const IntegerRange& range) : m_range(range) {}
KnxConverter* KnxConverterSceneInfo::Clone() const {
  return new KnxConverterSceneInfo(*this);
}

}  // namespace Zel
