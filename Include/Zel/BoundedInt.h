// BoundedInt: an integer that its type restricts to [Min, Max]. Tag keeps
// bounded integers of the same range but different meaning apart.
#pragma once

#include "ZelLog/Logging.h"

namespace Zel {

template <class T, T Min, T Max, class Tag>
class BoundedInt {
  static_assert(Min <= Max, "empty range");

 public:
  static constexpr T kMin = Min;
  static constexpr T kMax = Max;

  // REQUIRES: Min <= value <= Max; anything else is a programming error.
  explicit BoundedInt(T value) : m_value(value) { ZEL_ASSERT(value >= Min && value <= Max); }

  T Get() const { return m_value; }

  friend bool operator==(BoundedInt a, BoundedInt b) { return a.m_value == b.m_value; }
  friend bool operator!=(BoundedInt a, BoundedInt b) { return a.m_value != b.m_value; }

 private:
  T m_value;
};

struct LogicalDeviceIdTag {};
// The logical KNX device of the object model: 1 or 2.
using LogicalDeviceId = BoundedInt<int, 1, 2, LogicalDeviceIdTag>;

// The kinds of parameter; the numbers take part in the object-model ids.
enum class ParameterType : int { Ip = 0, Number = 1, Text = 2 };

}  // namespace Zel
