// The table path (KnxValueConverter) and the direct path
// (GroupValueToTavValue / TavValueToGroupValue) must agree wherever both
// accept a payload:
//   decoding  a group value that both decode gives the same value (the
//             same type and payload, or, where the two paths use
//             different value types for one DPT, the same text);
//   encoding  the value the direct path decoded, where both encode it,
//             gives the same octets.
// The deliberate differences are listed once in Difference() with their
// reason and are not compared; any other disagreement aborts with the
// DPT, the octets and both values.
//
// Input layout: main number (1), sub number (2), group value size code (1;
// 255: 8 bits per payload octet, else the code in bits), payload (rest).
#include "FuzzSupport.h"

#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxValueConverter.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

Zel::KnxValueConverter& Table() {
  static Zel::KnxValueConverter* converter = [] {
    auto* c = new Zel::KnxValueConverter;
    c->Init();
    return c;
  }();
  return *converter;
}

// The deliberate differences between the two paths, one line each; null
// where they must agree on `in`.
const char* Difference(unsigned int main, const KnxStack::GroupValue& in) {
  if (Table().GetMap().Rows().count(static_cast<std::uint16_t>(main)) == 0) {
    return "no table row: the table passes the value on unconverted";
  }
  switch (main) {
    case 3:
      return "the table's 3.x row has the float type around the raw nibble, the direct path the "
             "byte type";
    case 6:
      return "main 6 has the byte type on the direct path (-128 reads 128), the signed type in the "
             "table";
    case 9:
      return in.GetRawData().GetLength() >= 2 && in.GetAsUnsigned16() == 0x7FFF
                 ? "the table reads the invalid-data word 0x7FFF as no value, the direct path as a "
                   "float"
                 : nullptr;
    case 14: return "the table reads a NaN as no value, the direct path as a float";
    case 16:
      return "the table's 16.x rows but 16.001 are ASCII ('_' for others), the direct path reads "
             "Latin-1";
    case 19:
      return "the direct path takes the day of week from the date, the table from the telegram";
    case 23:
      return "the direct path reads and writes main 23 in 2 bits, the table's 23.x row a whole "
             "octet";
    case 232: return "the direct path reads four raw octets where the table reads three";
    default: return nullptr;
  }
}

[[noreturn]] void Fail(const char* what, unsigned int main, unsigned int sub,
                       const KnxStack::GroupValue& in, const TAVVALUE& direct,
                       const std::string& tableSide) {
  std::fprintf(stderr, "DPT %u.%u: %s\n  octets %s (%u bits)\n  direct %d '%s'\n  table  %s\n",
               main, sub, what, in.GetRawData().ToString().c_str(), in.GetDefinedSize(), direct.ivt,
               direct.ToString().c_str(), tableSide.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  Table();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Zel::Fuzz::InputReader input(data, size);
  const unsigned int main = input.U8();
  const unsigned int sub = input.U16();
  const std::uint8_t sizeCode = input.U8();
  const KnxStack::BinaryData payload(input.Rest(), input.RestSize());
  const std::uint32_t bits =
      sizeCode == 255 ? static_cast<std::uint32_t>(8 * input.RestSize()) : sizeCode;
  const KnxStack::GroupValue in(payload, bits);
  const std::uint32_t code = Zel::Fuzz::CodeOf(main, sub);

  boost::optional<TAVVALUE> direct;
  try {
    direct = Zel::GroupValueToTavValue(in, code);
  } catch (const std::out_of_range&) {
    if (main != 19)
      throw;  // a DPT 19 date with month or day 0 (documented)
    return 0;
  }
  if (!direct)
    return 0;

  // As CheckGroupValue asks the table: at the group value's own size.
  Zel::KNXDPT dpt;
  dpt.mainNumber = static_cast<std::uint16_t>(main);
  dpt.subNumber = static_cast<std::uint16_t>(sub);
  dpt.bitSize = static_cast<std::uint8_t>(in.GetDefinedSize());
  TAVVALUE table;
  Zel::KNXDPT used = dpt;
  if (!Table().FromKnxValue(used, in, table)) {
    Fail("the direct path decodes what the table refuses", main, sub, in, *direct, "refused");
  }
  const char* const difference = Difference(main, in);
  if (difference == nullptr) {
    const bool same =
        table.ivt == direct->ivt ? table == *direct : table.ToString() == direct->ToString();
    if (!same) {
      Fail("the paths decode different values", main, sub, in, *direct,
           std::to_string(table.ivt) + " '" + table.ToString() + "'");
    }
  }

  if (difference != nullptr)
    return 0;
  const boost::optional<KnxStack::GroupValue> directOut = Zel::TavValueToGroupValue(*direct, code);
  KnxStack::GroupValue tableOut;
  used = dpt;
  if (directOut && Table().ToKnxValue(used, *direct, tableOut) &&
      (directOut->GetDefinedSize() != tableOut.GetDefinedSize() ||
       directOut->GetRawData() != tableOut.GetRawData())) {
    Fail("the paths encode one value to different octets", main, sub, in, *direct,
         "direct " + directOut->GetRawData().ToString() + " (" +
             std::to_string(directOut->GetDefinedSize()) + " bits), table " +
             tableOut.GetRawData().ToString() + " (" + std::to_string(tableOut.GetDefinedSize()) +
             " bits)");
  }
  return 0;
}
