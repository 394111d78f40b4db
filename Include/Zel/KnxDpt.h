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

// Streams "main.sub" in decimal.
struct DptText {
  const KNXDPT& dpt;
};
inline std::ostream& operator<<(std::ostream& os, DptText text) {
  return os << text.dpt.mainNumber << '.' << text.dpt.subNumber;
}

}  // namespace Zel
