// Conversions between numeric types that are defined for every input.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Zel {

// Object-model ids, DPT codes and bit sizes cross the interface as
// `unsigned long`, the type the platform declares them with: 32 bits on the
// device, 64 on a development host. The arithmetic is 32-bit unsigned
// everywhere. A value above 0xFFFFFFFF cannot reach the device's library;
// on a 64-bit host it takes the function's ordinary failure path (false, no
// row, no id, an empty optional) with its ordinary message, never a
// success on its truncated low bits. This is the one place that decides it.
inline bool Fits32(unsigned long value) {
  return static_cast<std::uint64_t>(value) <= std::numeric_limits<std::uint32_t>::max();
}

// `value` rounded to the nearest float as IEEE narrowing does, without the
// undefined behaviour of a cast from a double outside the float's range:
// finite numbers beyond the largest float round to it or, from half an ulp
// above it on, to infinity. A NaN keeps its sign and the payload bits that
// fit, so a received 4-octet NaN goes back out as it came.
inline float NarrowToFloat(double value) {
  // FLT_MAX plus half of its ulp: from here on IEEE rounding gives infinity.
  constexpr double kOverflow = static_cast<double>(FLT_MAX) + 0x1p103;
  if (std::isnan(value)) {
    return static_cast<float>(value);
  }
  if (std::fabs(value) >= kOverflow) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    return value > 0 ? kInfinity : -kInfinity;
  }
  if (std::fabs(value) > static_cast<double>(FLT_MAX)) {
    return value > 0 ? FLT_MAX : -FLT_MAX;
  }
  return static_cast<float>(value);
}

}  // namespace Zel
