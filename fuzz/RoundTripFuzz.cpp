// Decode, encode, decode again must give the same value, and encoding that
// value again the same octets, on both conversion paths:
//   table   KnxValueConverter::FromKnxValue / ToKnxValue, for every row
//           of the DPT table (at the row's bit size);
//   direct  GroupValueToTavValue / TavValueToGroupValue, for every main
//           number 0..255 with any sub number.
// The first encoding may change the octets (bits the decoder ignores are
// written as zero, a float is written in its canonical form), so the octet
// property is checked from the first encoding on: encode(decode(x)) is a
// fixed point. Where a path is meant to be asymmetric, the case is listed
// once in Asymmetry() with its reason and is not checked; a failing check
// anywhere else aborts with the DPT, the octets and the values.
//
// Input layout: path and selector (2; bit 7 of the first octet: direct
// path; the other 15 bits: table row index or main number), sub number (2)
// and group value size code (1; 255: 8 bits per payload octet, else the
// code in bits) for the direct path only, payload (the rest).
#include "FuzzSupport.h"

#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxValueConverter.h"

#include <boost/optional.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct Table {
  Zel::KnxValueConverter converter;
  std::vector<Zel::KNXDPT> rows;
};

Table& GetTable() {
  static Table* table = [] {
    auto* t = new Table;
    t->converter.Init();
    for (const auto& main : t->converter.GetMap().Rows()) {
      for (const auto& row : main.second)
        t->rows.push_back(row.second.dpt);
    }
    return t;
  }();
  return *table;
}

enum class Path { Table, Direct };

// The deliberate asymmetries between decoding and encoding, one line each;
// null where the round trip must hold for `in`.
const char* Asymmetry(Path path, unsigned int main, const KnxStack::GroupValue& in) {
  const KnxStack::BinaryData& raw = in.GetRawData();
  if (main == 19 && raw.GetLength() >= 4 && raw.GetData()[0] == 255 &&
      (raw.GetData()[1] & 0x0F) == 12 && (raw.GetData()[2] & 0x1F) == 31 &&
      (raw.GetData()[3] & 0x1F) == 24) {
    return "24:00:00 on 2155-12-31 decodes as midnight of 2156-01-01, a year no 19.x holds";
  }
  if (path == Path::Direct) {
    switch (main) {
      case 9:
        return in.GetRawData().GetLength() >= 2 && in.GetAsUnsigned16() == 0x7FFF
                   ? "the invalid-data word 0x7FFF decodes as 670760.96, which encodes as 0x7FFE"
                   : nullptr;
      case 23:
        return "encoded in 2 bits, while the table row the decoder checks against is 8 bits wide";
      case 31: return "decoded (3 bits), but encoding refuses main 31";
      case 232: return "decoded from four raw octets, encoded as three";
      default: return nullptr;
    }
  }
  switch (main) {
    case 2:
      return "the 2-bit converter decodes to the byte type, which the frame refuses for the "
             "Boolean row";
    case 3:
      return "decoded as a byte in the row's float type, but encoding takes only the byte type";
    case 17:
    case 18:
      return "the rows have the integer type, the scene converters set and take the byte type";
    default: return nullptr;
  }
}

[[noreturn]] void Fail(const char* what, Path path, const Zel::KNXDPT& dpt,
                       const KnxStack::GroupValue& in, const TAVVALUE* first,
                       const TAVVALUE* second) {
  std::fprintf(stderr, "%s path, DPT %u.%u (%u bits): %s\n  octets %s (%u bits)\n",
               path == Path::Table ? "table" : "direct", dpt.mainNumber, dpt.subNumber, dpt.bitSize,
               what, in.GetRawData().ToString().c_str(), in.GetDefinedSize());
  if (first != nullptr)
    std::fprintf(stderr, "  first  %d '%s'\n", first->ivt, first->ToString().c_str());
  if (second != nullptr)
    std::fprintf(stderr, "  second %d '%s'\n", second->ivt, second->ToString().c_str());
  std::abort();
}

bool SameOctets(const KnxStack::GroupValue& a, const KnxStack::GroupValue& b) {
  return a.GetDefinedSize() == b.GetDefinedSize() && a.GetRawData() == b.GetRawData();
}

// One path as a pair of functions over a DPT.
struct Codec {
  Path path;
  Zel::KNXDPT dpt;
  boost::optional<TAVVALUE> Decode(const KnxStack::GroupValue& in) const {
    if (path == Path::Direct)
      return Zel::GroupValueToTavValue(in, Code());
    Zel::KNXDPT used = dpt;
    TAVVALUE value;
    if (!GetTable().converter.FromKnxValue(used, in, value))
      return boost::none;
    return value;
  }
  boost::optional<KnxStack::GroupValue> Encode(const TAVVALUE& value) const {
    if (path == Path::Direct)
      return Zel::TavValueToGroupValue(value, Code());
    Zel::KNXDPT used = dpt;
    KnxStack::GroupValue out;
    if (!GetTable().converter.ToKnxValue(used, value, out))
      return boost::none;
    return out;
  }
  std::uint32_t Code() const { return static_cast<std::uint32_t>(Zel::DptCode(dpt)); }
};

void Check(const Codec& codec, const KnxStack::GroupValue& in) {
  const boost::optional<TAVVALUE> first = codec.Decode(in);
  if (!first || Asymmetry(codec.path, codec.dpt.mainNumber, in) != nullptr)
    return;
  const boost::optional<KnxStack::GroupValue> encoded = codec.Encode(*first);
  if (!encoded)
    Fail("a decoded value is not encoded", codec.path, codec.dpt, in, &*first, nullptr);
  const boost::optional<TAVVALUE> second = codec.Decode(*encoded);
  if (!second)
    Fail("an encoded value is not decoded", codec.path, codec.dpt, *encoded, &*first, nullptr);
  if (*second != *first)
    Fail("decode, encode, decode changes the value", codec.path, codec.dpt, in, &*first, &*second);
  const boost::optional<KnxStack::GroupValue> again = codec.Encode(*second);
  if (!again || !SameOctets(*again, *encoded))
    Fail("encoding the same value twice gives other octets", codec.path, codec.dpt, *encoded,
         &*second, nullptr);
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
  const std::uint8_t head = input.U8();
  const unsigned int selector = ((head & 0x7Fu) << 8) | input.U8();
  Codec codec;
  if ((head & 0x80u) != 0) {
    codec.path = Path::Direct;
    codec.dpt.mainNumber = static_cast<std::uint16_t>(selector & 0xFFu);
    codec.dpt.subNumber = input.U16();
    codec.dpt.bitSize = input.U8();
  } else {
    codec.path = Path::Table;
    codec.dpt = table.rows[selector % table.rows.size()];
  }
  const KnxStack::BinaryData payload(input.Rest(), input.RestSize());
  // The table path reads at the row's size, the direct path at the size code's.
  const std::uint32_t bits = codec.path == Path::Direct && codec.dpt.bitSize == 255
                                 ? static_cast<std::uint32_t>(8 * input.RestSize())
                                 : codec.dpt.bitSize;
  const KnxStack::GroupValue in(payload, bits);
  try {
    Check(codec, in);
  } catch (const std::out_of_range&) {
    // A DPT 19 date with month or day 0 leaves the direct decoder (documented).
    if (codec.path != Path::Direct || codec.dpt.mainNumber != 19)
      throw;
  }
  return 0;
}
