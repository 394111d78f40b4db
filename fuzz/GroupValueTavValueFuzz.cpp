// Decodes arbitrary group values for arbitrary DPT codes through the direct
// conversion (GroupValueToTavValue) and the table check (CheckGroupValue),
// and encodes every decoded value back (TavValueToGroupValue). The one
// exception allowed out is the calendar's std::out_of_range for main number
// 19 (a date with month or day 0); anything else is a finding.
//
// Input layout: main number (1), sub number (2), group value size code
// (255: 8 bits per payload octet, else the code in bits), payload (rest).
#include "FuzzSupport.h"

#include "Zel/GroupValueTavValue.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Zel::Fuzz::InputReader input(data, size);
  const std::uint32_t mainNumber = input.U8();
  const std::uint32_t dptCode = Zel::Fuzz::CodeOf(mainNumber, input.U16());
  const std::uint8_t sizeCode = input.U8();
  const KnxStack::BinaryData payload(input.Rest(), input.RestSize());
  const std::uint32_t groupBits =
      sizeCode == 255 ? static_cast<std::uint32_t>(8 * input.RestSize()) : sizeCode;
  const KnxStack::GroupValue group(payload, groupBits);

  Zel::CheckGroupValue(group, dptCode);
  try {
    if (const auto value = Zel::GroupValueToTavValue(group, dptCode)) {
      Zel::TavValueToGroupValue(*value, dptCode);
    }
  } catch (const std::out_of_range&) {
    if (mainNumber != 19) {
      throw;
    }
  }
  return 0;
}
