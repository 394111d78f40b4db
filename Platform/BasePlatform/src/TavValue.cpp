#include "BasePlatform/TavValue.h"

#include "TavValueKind.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>
#include <system_error>

namespace BasePlatform {
namespace {

struct TypeRow {
  TavValueType type;
  const char* name;
  ValueKind kind;
};

constexpr TypeRow kTypes[] = {
    {ivtNone, "ivtNone", ValueKind::NoPayload},
    {ivtEmpty, "Empty", ValueKind::NoPayload},
    {ivtBool, "ivtBool", ValueKind::Bool},
    {ivtFloat, "ivtFloat", ValueKind::Double},
    {ivtInteger, "ivtInteger", ValueKind::Int32},
    {ivtChar, "ivtChar", ValueKind::Octet},
    {ivtByte, "ivtByte", ValueKind::Octet},
    {ivtWord, "ivtWord", ValueKind::Word},
    {ivtDWord, "ivtDWord", ValueKind::UInt32},
    {ivtBinary, "ivtBinary", ValueKind::Binary},
    {ivtString, "ivtString", ValueKind::String},
    {ivtDate, "ivtDate", ValueKind::Time},
    {ivtTime, "ivtTime", ValueKind::Time},
    {ivtDateTime, "ivtDateTime", ValueKind::Time},
    {ivtTimePeriod, "ivtTimePeriod", ValueKind::Int32},
    {ivtDayTime, "ivtDayTime", ValueKind::Time},
    {ivtCounter, "ivtCounter", ValueKind::UInt32},
    {ivtDateTimeUtc, "ivtDateTimeUtc", ValueKind::Time},
    {ivtTimeUtc, "ivtTimeUtc", ValueKind::Time},
    {ivtDateUtc, "ivtDateUtc", ValueKind::Time},
    {ivtTimestamp, "ivtTimestamp", ValueKind::Time},
    {ivtPercent, "ivtPercent", ValueKind::Double},
    {ivtEnumByte, "ivtEnumByte", ValueKind::Octet},
    {ivtScaling, "ivtScaling", ValueKind::Double},
    {ivtDimming, "ivtDimming", ValueKind::Double},
    {ivtAngle, "ivtAngle", ValueKind::Double},
};

const TypeRow* FindType(std::int64_t number) {
  for (const TypeRow& row : kTypes) {
    if (row.type == number) {
      return &row;
    }
  }
  return nullptr;
}

}  // namespace

ValueKind KindOf(TavValueType type) {
  const TypeRow* row = FindType(type);
  return row != nullptr ? row->kind : ValueKind::Unknown;
}

}  // namespace BasePlatform

namespace {

using BasePlatform::KindOf;
using BasePlatform::ValueKind;

constexpr const char* kInternalRevision = "7";
constexpr char kHexDigits[] = "0123456789abcdef";

template <typename T>
void AppendNumber(std::string& out, T number) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
  out.append(buffer, result.ptr);
}

void AppendDouble(std::string& out, double number) {
  if (std::isnan(number)) {
    out += "nan";  // every NaN, whatever its sign and bits
  } else if (std::isinf(number)) {
    out += number < 0 ? "-inf" : "inf";
  } else {
    AppendNumber(out, number);  // shortest text that reads back to the same double
  }
}

void AppendTime(std::string& out, const TAVTIME& t) {
  char buffer[80];
  std::snprintf(buffer, sizeof buffer, "%04u-%02u-%02u %02u:%02u:%02u.%03u w=%lu utc=%u dst=%u",
                unsigned{t.year}, unsigned{t.month}, unsigned{t.day}, unsigned{t.hour},
                unsigned{t.minute}, unsigned{t.second}, unsigned{t.millisecond},
                static_cast<unsigned long>(t.weekDays), t.utc ? 1u : 0u, t.dst ? 1u : 0u);
  out += buffer;
}

// Reads a text from left to right; every step fails without consuming
// anything useful once one step has failed.
class Reader {
 public:
  explicit Reader(std::string_view text) : m_text(text) {}

  bool AtEnd() const { return m_pos == m_text.size(); }
  std::string_view Rest() const { return m_text.substr(m_pos); }

  bool Literal(std::string_view literal) {
    if (m_text.compare(m_pos, literal.size(), literal) != 0) {
      return false;
    }
    m_pos += literal.size();
    return true;
  }

  // A decimal number of any length (no sign, blank or '+'; '-' for signed T).
  template <typename T>
  bool Number(T& out) {
    const char* first = m_text.data() + m_pos;
    const char* last = m_text.data() + m_text.size();
    const auto result = std::from_chars(first, last, out);
    if (result.ec != std::errc() || result.ptr == first) {
      return false;
    }
    m_pos += static_cast<std::size_t>(result.ptr - first);
    return true;
  }

  // Exactly `width` decimal digits, at most `max`.
  template <typename T>
  bool Digits(std::size_t width, T max, T& out) {
    if (m_text.size() - m_pos < width) {
      return false;
    }
    for (std::size_t i = 0; i < width; ++i) {
      const char c = m_text[m_pos + i];
      if (c < '0' || c > '9') {
        return false;
      }
    }
    Reader digits(m_text.substr(m_pos, width));
    if (!digits.Number(out) || out > max) {
      return false;
    }
    m_pos += width;
    return true;
  }

 private:
  std::string_view m_text;
  std::size_t m_pos = 0;
};

// The whole of `text` as one number of type T.
template <typename T>
bool ParseWhole(std::string_view text, T& out) {
  Reader reader(text);
  return reader.Number(out) && reader.AtEnd();
}

bool ParseDouble(std::string_view text, double& out) {
  double number = 0.0;
  if (!ParseWhole(text, number)) {
    return false;
  }
  out = number;
  return true;
}

bool ParseHex(std::string_view text, std::string& out) {
  if (text.size() % 2 != 0) {
    return false;
  }
  std::string octets;
  octets.reserve(text.size() / 2);
  for (std::size_t i = 0; i < text.size(); i += 2) {
    std::uint8_t octet = 0;
    const char* first = text.data() + i;
    const auto result = std::from_chars(first, first + 2, octet, 16);
    if (result.ec != std::errc() || result.ptr != first + 2) {
      return false;
    }
    octets.push_back(static_cast<char>(octet));
  }
  out = std::move(octets);
  return true;
}

// "YYYY-MM-DD HH:MM:SS.mmm w=<mask> utc=<0|1> dst=<0|1>". The date is either
// a valid one or 0000-00-00 (no date), the time a valid one.
bool ParseTime(std::string_view text, TAVTIME& out) {
  Reader reader(text);
  TAVTIME t;
  std::uint8_t utc = 0;
  std::uint8_t dst = 0;
  const bool read = reader.Digits<std::uint16_t>(4, 9999, t.year) && reader.Literal("-") &&
                    reader.Digits<std::uint8_t>(2, 12, t.month) && reader.Literal("-") &&
                    reader.Digits<std::uint8_t>(2, 31, t.day) && reader.Literal(" ") &&
                    reader.Digits<std::uint8_t>(2, 23, t.hour) && reader.Literal(":") &&
                    reader.Digits<std::uint8_t>(2, 59, t.minute) && reader.Literal(":") &&
                    reader.Digits<std::uint8_t>(2, 59, t.second) && reader.Literal(".") &&
                    reader.Digits<std::uint16_t>(3, 999, t.millisecond) && reader.Literal(" w=") &&
                    reader.Number(t.weekDays) && reader.Literal(" utc=") &&
                    reader.Digits<std::uint8_t>(1, 1, utc) && reader.Literal(" dst=") &&
                    reader.Digits<std::uint8_t>(1, 1, dst) && reader.AtEnd();
  const bool noDate = t.year == 0 && t.month == 0 && t.day == 0;
  if (!read || t.weekDays > 0x7F || !(noDate || TAVTIME::IsValidDate(t.year, t.month, t.day))) {
    return false;
  }
  t.utc = utc != 0;
  t.dst = dst != 0;
  out = t;
  return true;
}

// Reads `payload` as the payload of `type` into `value`'s storage.
bool ParsePayload(TavValueType type, std::string_view payload, TAVVALUE& value) {
  switch (KindOf(type)) {
    case ValueKind::NoPayload: return payload.empty();
    case ValueKind::Bool:
    case ValueKind::Octet: {
      std::uint8_t number = 0;
      const std::uint8_t max = KindOf(type) == ValueKind::Bool ? 1 : 255;
      if (!ParseWhole(payload, number) || number > max) {
        return false;
      }
      value.SetByte(number);
      return true;
    }
    case ValueKind::Word: {
      std::uint16_t number = 0;
      if (!ParseWhole(payload, number)) {
        return false;
      }
      value.SetWord(number);
      return true;
    }
    case ValueKind::Int32: {
      std::int32_t number = 0;
      if (!ParseWhole(payload, number)) {
        return false;
      }
      value.SetInteger(number);
      return true;
    }
    case ValueKind::UInt32: {
      std::uint32_t number = 0;
      if (!ParseWhole(payload, number)) {
        return false;
      }
      value.SetDWord(number);
      return true;
    }
    case ValueKind::Double: {
      double number = 0.0;
      if (!ParseDouble(payload, number)) {
        return false;
      }
      value.SetDouble(number);
      return true;
    }
    case ValueKind::String: value.SetString(std::string(payload)); return true;
    case ValueKind::Binary: {
      std::string octets;
      if (!ParseHex(payload, octets)) {
        return false;
      }
      value.SetString(std::move(octets));
      return true;
    }
    case ValueKind::Time: return ParseTime(payload, value.GetTime());
    case ValueKind::Unknown: break;
  }
  return false;
}

bool SameDouble(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) {
    return std::isnan(a) && std::isnan(b);
  }
  return a == b && std::signbit(a) == std::signbit(b);
}

}  // namespace

std::string TAVVALUE::ToString() const {
  std::string out;
  switch (KindOf(ivt)) {
    case ValueKind::NoPayload:
    case ValueKind::Unknown: break;
    case ValueKind::Bool: out = GetBool() ? "1" : "0"; break;
    case ValueKind::Octet: AppendNumber(out, GetByte()); break;
    case ValueKind::Word: AppendNumber(out, GetWord()); break;
    case ValueKind::Int32: AppendNumber(out, GetInteger()); break;
    case ValueKind::UInt32: AppendNumber(out, GetDWord()); break;
    case ValueKind::Double: AppendDouble(out, m_double); break;
    case ValueKind::String: out = m_string; break;
    case ValueKind::Binary:
      out.reserve(m_string.size() * 2);
      for (const char c : m_string) {
        const auto octet = static_cast<std::uint8_t>(c);
        out += kHexDigits[octet >> 4];
        out += kHexDigits[octet & 0x0F];
      }
      break;
    case ValueKind::Time: AppendTime(out, m_time); break;
  }
  return out;
}

void TAVVALUE::Serialize(std::string& out, bool internalFormat) const {
  std::string text;
  AppendNumber(text, static_cast<std::int32_t>(ivt));
  if (internalFormat) {
    text += '.';
    text += kInternalRevision;
  }
  text += ':';
  text += ToString();
  out = std::move(text);
}

bool TAVVALUE::Deserialize(const std::string& text) {
  Reader reader(text);
  std::int32_t typeNumber = 0;
  if (!reader.Number(typeNumber) ||
      KindOf(static_cast<TavValueType>(typeNumber)) == ValueKind::Unknown) {
    return false;
  }
  if (reader.Literal(".")) {
    if (!reader.Literal(kInternalRevision)) {
      return false;
    }
  }
  if (!reader.Literal(":")) {
    return false;
  }
  TAVVALUE result;
  result.ivt = static_cast<TavValueType>(typeNumber);
  if (!ParsePayload(result.ivt, reader.Rest(), result)) {
    return false;
  }
  *this = std::move(result);
  return true;
}

std::string TAVVALUE::GetNameFromValueType(TavValueType type) {
  const BasePlatform::TypeRow* row = BasePlatform::FindType(type);
  if (row != nullptr) {
    return row->name;
  }
  return "ivtUnknown(" + std::to_string(static_cast<std::int32_t>(type)) + ")";
}

bool operator==(const TAVVALUE& a, const TAVVALUE& b) {
  if (a.ivt != b.ivt) {
    return false;
  }
  switch (KindOf(a.ivt)) {
    case ValueKind::NoPayload: return true;
    case ValueKind::Bool: return a.GetBool() == b.GetBool();
    case ValueKind::Octet: return a.GetByte() == b.GetByte();
    case ValueKind::Word: return a.GetWord() == b.GetWord();
    case ValueKind::Int32:
    case ValueKind::UInt32: return a.m_bits == b.m_bits;
    case ValueKind::Double: return SameDouble(a.m_double, b.m_double);
    case ValueKind::String:
    case ValueKind::Binary: return a.m_string == b.m_string;
    case ValueKind::Time: return a.m_time == b.m_time;
    case ValueKind::Unknown: break;
  }
  return a.m_bits == b.m_bits && SameDouble(a.m_double, b.m_double) && a.m_string == b.m_string &&
         a.m_time == b.m_time;
}

namespace TavDP {

std::string GetNameFromValueSubType(TavValueSubType subType) {
  switch (subType) {
    case vstGeneric: return "Generic";
    case vstSwitch: return "Switch";
    case vstStatusMode: return "StatusMode";
    case vstDimmingStep: return "DimmingStep";
    case vstKnxFloat: return "KnxFloat";
    case vstSceneNumber: return "SceneNumber";
    case vstAscii: return "Ascii";
    case vstLatin1: return "Latin1";
  }
  return "Generic";
}

}  // namespace TavDP
