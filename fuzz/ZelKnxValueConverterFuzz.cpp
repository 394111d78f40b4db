// Encodes arbitrary serial text through ZelKnxValueConverter::ToKnxValue,
// both with a DPT taken from the input and with only a bit size (the DPT
// then chosen from the value's type or the size). No exception may leave
// it; any exception or sanitizer report is a finding.
//
// Input layout: flags (bit 0: DPT from the input, else bit size only),
// main number (2), sub number (2), bit size (4; the DPT's is its low
// octet), serial text (rest, embedded zeros kept).
#include "FuzzSupport.h"

#include "Zel/KnxValueConverter.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

Zel::ZelKnxValueConverter& Converter() {
  static Zel::ZelKnxValueConverter* converter = [] {
    auto* c = new Zel::ZelKnxValueConverter;
    c->Init();
    return c;
  }();
  return *converter;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  Converter();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Zel::Fuzz::InputReader input(data, size);
  const std::uint8_t flags = input.U8();
  Zel::KNXDPT dpt;
  dpt.mainNumber = input.U16();
  dpt.subNumber = input.U16();
  const std::uint32_t bitSize = input.U32();
  dpt.bitSize = static_cast<std::uint8_t>(bitSize);
  const std::string text(reinterpret_cast<const char*>(input.Rest()), input.RestSize());

  KnxStack::GroupValue out;
  if ((flags & 1u) != 0) {
    Converter().ToKnxValue(dpt, text, out);
  } else {
    Converter().ToKnxValue(text, bitSize, out);
  }
  return 0;
}
