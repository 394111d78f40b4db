// Conversion between TAVVALUE and KNX group values keyed by a numeric DPT
// code, without the DPT table's converter objects, and the check of a
// received group value against the table.
//
// A DPT code is main * 65536 + sub (9.001 is 589825, 232.600 is 15204952).
// All three functions are stateless and may be called from any thread.
// The code is `unsigned long`, 32 bits on the device; on a 64-bit host a
// code above 0xFFFFFFFF names no DPT and is refused as an unsupported one.
#pragma once

#include "Zel/Export.h"

#include "BasePlatform/TavValue.h"
#include "KnxStack/GroupValue.h"

#include <boost/optional.hpp>

#include <cstdint>

namespace Zel {

// The group value of `value` for `dptCode`; empty, with one ERROR entry,
// when the value's type is not the one the DPT's main number has in the
// object model, or the DPT is not supported here (4.x among them). The 2-octet float's
// non-finite numbers and scene numbers above 63 are refused silently.
// Out-of-range 16-bit integers are logged and then clamped (unsigned) or
// saturated (signed) and sent. No exception leaves it.
ZEL_EXPORT boost::optional<KnxStack::GroupValue> TavValueToGroupValue(const TAVVALUE& value,
                                                                      unsigned long dptCode);

// The value of a received group value for `dptCode`: empty for an unsupported
// DPT, a group value the DPT table refuses, or invalid data (logged). The
// steps, in this order: the DPT's object-model type (none: unsupported);
// the DPT table's check of size and content (CheckGroupValue); then the
// decoding by main number, which relies on that check for everything the
// table's converter refuses (times and dates that are no calendar values)
// and checks only what the table cannot see: raw octets beyond a date's
// three, and too few octets for a main number without a table row. So the
// value is read one way, by one check. No exception leaves it. Calls slower
// than 100 ms are reported at INFO.
ZEL_EXPORT boost::optional<TAVVALUE> GroupValueToTavValue(const KnxStack::GroupValue& value,
                                                          unsigned long dptCode);

// Whether the DPT table's converter accepts `value` for `dptCode` (size and
// content); the decoded value is discarded.
ZEL_EXPORT bool CheckGroupValue(const KnxStack::GroupValue& value, unsigned long dptCode);

}  // namespace Zel
