// Short builders of platform values, group values and DPTs for the tests.
#pragma once

#include "Zel/KnxDpt.h"

#include "BasePlatform/TavValue.h"
#include "KnxStack/GroupValue.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Zel {
namespace Tests {

using Octets = std::vector<std::uint8_t>;

inline KNXDPT Dpt(std::uint16_t main, std::uint16_t sub, std::uint8_t bits = 0) {
  return KNXDPT{bits, main, sub};
}
inline constexpr std::uint32_t Code(std::uint32_t main, std::uint32_t sub) {
  return static_cast<std::uint32_t>(
      DptCode(KNXDPT{0, static_cast<std::uint16_t>(main), static_cast<std::uint16_t>(sub)}));
}

inline KnxStack::GroupValue Group(const Octets& octets, std::uint32_t bits) {
  return KnxStack::GroupValue(KnxStack::BinaryData(octets.data(), octets.size()), bits);
}
inline Octets OctetsOf(const KnxStack::GroupValue& group) {
  const KnxStack::BinaryData& data = group.GetRawData();
  return Octets(data.GetData(), data.GetData() + data.GetLength());
}

inline TAVVALUE Typed(TavValueType type) {
  TAVVALUE v;
  v.ivt = type;
  return v;
}
// A value of a type kept in the 32-bit integer storage.
inline TAVVALUE Bits(TavValueType type, std::uint32_t bits) {
  TAVVALUE v = Typed(type);
  v.SetDWord(bits);
  return v;
}
inline TAVVALUE Real(double d, TavValueType type = ivtFloat) {
  TAVVALUE v = Typed(type);
  v.SetDouble(d);
  return v;
}
inline TAVVALUE Text(const std::string& s) {
  TAVVALUE v = Typed(ivtString);
  v.SetString(s);
  return v;
}
// A value of a TAVTIME type, local time.
inline TAVVALUE Time(TavValueType type, int y, int mo, int d, int h, int mi, int s,
                     std::uint32_t weekDays) {
  TAVVALUE v = Typed(type);
  TAVTIME& t = v.GetTime();
  t.Clear(false);
  t.year = static_cast<std::uint16_t>(y);
  t.month = static_cast<std::uint8_t>(mo);
  t.day = static_cast<std::uint8_t>(d);
  t.hour = static_cast<std::uint8_t>(h);
  t.minute = static_cast<std::uint8_t>(mi);
  t.second = static_cast<std::uint8_t>(s);
  t.weekDays = weekDays;
  return v;
}

}  // namespace Tests
}  // namespace Zel
