// Fills the DPT table and decodes a DPT 9.001 temperature; exit 0 when the
// value is 21.5.
#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxValueConverter.h"

#include <cstdint>
#include <iostream>

int main() {
  const std::uint8_t octets[] = {0x0c, 0x33};
  const KnxStack::GroupValue group(KnxStack::BinaryData(octets, sizeof octets), 16);
  const auto value = Zel::GroupValueToTavValue(group, 9 * 65536 + 1);
  Zel::KnxValueConverter converter;
  const bool ok = converter.Init() && value && value->GetDouble() == 21.5;
  std::cout << (ok ? "21.5" : "wrong") << '\n';
  return ok ? 0 : 1;
}
