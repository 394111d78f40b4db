// Decodes arbitrary group values through the DPT table the way values from
// the bus arrive: KnxValueConverter::FromKnxValue for one of the table's
// rows or an arbitrary DPT, with arbitrary DPT and group value bit sizes
// and payload, then encodes the decoded value back (ToKnxValue) and decodes
// through ZelKnxValueConverter's serial-text path. No exception may leave
// any of these; any exception or sanitizer report is a finding.
//
// Input layout: flags, row index or main number (2), sub number (2), DPT
// bit size, group value size code, payload (the rest).
//   flags bit 0: arbitrary DPT (main, sub from the input) instead of a row
//   flags bit 1: main number 0 (completed from the bit size)
//   flags bit 2: sub number 0 (the main number's wildcard)
//   flags bit 3: serial text in the internal form
//   size code 255: 8 bits per payload octet; else the code in bits
//   (6 is the short telegram form).
#include "FuzzSupport.h"

#include "Zel/KnxValueConverter.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

struct Table {
  Zel::KnxValueConverter converter;
  Zel::ZelKnxValueConverter serial;
  std::vector<Zel::KNXDPT> rows;
};

Table& GetTable() {
  static Table* table = [] {
    auto* t = new Table;
    t->converter.Init();
    t->serial.Init();
    for (const auto& main : t->converter.GetMap().Rows()) {
      for (const auto& row : main.second) {
        t->rows.push_back(row.second.dpt);
      }
    }
    return t;
  }();
  return *table;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  GetTable();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Table& table = GetTable();
  Zel::Fuzz::InputReader input(data, size);
  const std::uint8_t flags = input.U8();
  const std::uint16_t first = input.U16();
  const std::uint16_t sub = input.U16();
  const std::uint8_t dptBits = input.U8();
  const std::uint8_t sizeCode = input.U8();

  Zel::KNXDPT dpt;
  if ((flags & 1u) != 0 || table.rows.empty()) {
    dpt.mainNumber = first;
    dpt.subNumber = sub;
  } else {
    dpt = table.rows[first % table.rows.size()];
  }
  dpt.bitSize = dptBits;
  if ((flags & 2u) != 0) {
    dpt.mainNumber = 0;
  }
  if ((flags & 4u) != 0) {
    dpt.subNumber = 0;
  }

  const KnxStack::BinaryData payload(input.Rest(), input.RestSize());
  const std::uint32_t groupBits =
      sizeCode == 255 ? static_cast<std::uint32_t>(8 * input.RestSize()) : sizeCode;
  const KnxStack::GroupValue in(payload, groupBits);

  TAVVALUE value;
  Zel::KNXDPT decodeDpt = dpt;
  if (table.converter.FromKnxValue(decodeDpt, in, value)) {
    KnxStack::GroupValue out;
    Zel::KNXDPT encodeDpt = decodeDpt;
    table.converter.ToKnxValue(encodeDpt, value, out);
  }

  std::string text;
  table.serial.FromKnxValue(in, text, (flags & 8u) != 0);
  return 0;
}
