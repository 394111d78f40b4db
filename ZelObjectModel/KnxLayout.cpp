#include "KnxLayout.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>

namespace Zel {
namespace Layout {

void CheckCalendarDate(std::int64_t year, unsigned month, unsigned day) {
  if (year >= 1400 && year <= 9999 && IsCalendarDate(year, month, day)) {
    return;
  }
  // Not a date: let the calendar say why, with its own exception and text.
  const boost::gregorian::date date(static_cast<unsigned short>(year),
                                    static_cast<unsigned short>(month),
                                    static_cast<unsigned short>(day));
  static_cast<void>(date);
}

KnxStack::GroupValue WriteDateTime(const DateTimeFields& fields) {
  const std::uint8_t octets[8] = {static_cast<std::uint8_t>((fields.year - 1900) & 0xFF),
                                  static_cast<std::uint8_t>(fields.month),
                                  static_cast<std::uint8_t>(fields.day),
                                  static_cast<std::uint8_t>((fields.weekday << 5) | fields.hour),
                                  static_cast<std::uint8_t>(fields.minute),
                                  static_cast<std::uint8_t>(fields.second),
                                  fields.flags,
                                  0};
  return KnxStack::GroupValue(KnxStack::BinaryData(octets, sizeof octets), 64);
}

DateTimeFields ReadDateTime(const KnxStack::GroupValue& group) {
  const KnxStack::BinaryData& raw = group.GetRawData();
  DateTimeFields fields{};
  fields.year = 1900 + raw.GetUInt8Value(0);
  fields.month = raw.GetUInt8Value(1) & 0x0Fu;
  fields.day = raw.GetUInt8Value(2) & 0x1Fu;
  fields.weekday = raw.GetUInt8Value(3) >> 5;
  fields.hour = raw.GetUInt8Value(3) & 0x1Fu;
  fields.minute = raw.GetUInt8Value(4) & 0x3Fu;
  fields.second = raw.GetUInt8Value(5) & 0x3Fu;
  fields.flags = raw.GetUInt8Value(6);
  return fields;
}

KnxStack::GroupValue WriteUnsigned24(std::uint32_t value) {
  const std::uint8_t octets[3] = {static_cast<std::uint8_t>(value >> 16),
                                  static_cast<std::uint8_t>(value >> 8),
                                  static_cast<std::uint8_t>(value)};
  return KnxStack::GroupValue(KnxStack::BinaryData(octets, sizeof octets), 24);
}

}  // namespace Layout
}  // namespace Zel
