// KNXDPT: a KNX datapoint type with the size of its values.
#pragma once

#include <cstdint>
#include <ostream>

// Written main "." sub in messages (9.1); main 0 means unknown, sub 0 the
// main number's general type ("9.x" in the DPT table). A plain record in
// the global namespace, like the platform's TAVVALUE it travels with: its
// name is part of every converter's exported signature.
struct KNXDPT {
  std::uint8_t bitSize = 0;
  std::uint16_t mainNumber = 0;
  std::uint16_t subNumber = 0;
};

namespace Zel {

using ::KNXDPT;

// The DPT code: main * 65536 + sub (9.001 is 589825), as the conversions by
// code and the object model's mapping take it. The arithmetic is here and
// nowhere else.
constexpr unsigned long DptCode(const KNXDPT& dpt) {
  return (static_cast<unsigned long>(dpt.mainNumber) << 16) | dpt.subNumber;
}
constexpr unsigned long MainOfCode(unsigned long code) {
  return code >> 16;
}
constexpr std::uint16_t SubOfCode(unsigned long code) {
  return static_cast<std::uint16_t>(code & 0xFFFFu);
}
// The DPT of a code that fits 32 bits, with the given size.
constexpr KNXDPT DptOfCode(std::uint32_t code, std::uint8_t bits) {
  return KNXDPT{bits, static_cast<std::uint16_t>(MainOfCode(code)), SubOfCode(code)};
}

// Streams "main.sub" in decimal.
struct DptText {
  const KNXDPT& dpt;
};
inline std::ostream& operator<<(std::ostream& os, DptText text) {
  return os << text.dpt.mainNumber << '.' << text.dpt.subNumber;
}

// Streams main "." sub of a code.
struct CodeText {
  unsigned long code;
};
inline std::ostream& operator<<(std::ostream& os, CodeText text) {
  return os << MainOfCode(text.code) << '.' << SubOfCode(text.code);
}

}  // namespace Zel
