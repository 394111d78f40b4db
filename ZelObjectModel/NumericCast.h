// Conversions between numeric types that are defined for every input.
#pragma once

#include <cfloat>
#include <cmath>
#include <limits>

namespace Zel {

// `value` rounded to the nearest float as IEEE narrowing does, without the
// undefined behaviour of a cast from a double outside the float's range:
// finite numbers beyond the largest float round to it or, from half an ulp
// above it on, to infinity.
inline float NarrowToFloat(double value) {
  // FLT_MAX plus half of its ulp: from here on IEEE rounding gives infinity.
  constexpr double kOverflow = static_cast<double>(FLT_MAX) + 0x1p103;
  if (std::isnan(value)) {
    return std::numeric_limits<float>::quiet_NaN();
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
