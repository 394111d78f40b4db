// Inputs the property fuzz targets (fuzz/RoundTripFuzz.cpp and
// fuzz/DifferentialFuzz.cpp) stopped at. Each showed an intended asymmetry
// between decoding and encoding, or an intended difference between the
// table path (KnxValueConverter) and the direct path (GroupValueToTavValue,
// TavValueToGroupValue); the targets list them as exceptions, and these
// cases pin the behaviour each input showed, so that the lists stay true.
#include "LogCapture.h"

#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxValueConverter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Zel {
namespace {

KnxStack::GroupValue Group(const std::vector<std::uint8_t>& octets, std::uint32_t bits) {
  return KnxStack::GroupValue(KnxStack::BinaryData(octets.data(), octets.size()), bits);
}

// "type:text" of a value; "refused" for none.
std::string Text(const boost::optional<TAVVALUE>& value) {
  return value ? std::to_string(value->ivt) + ":" + value->ToString() : "refused";
}
// "octets/bits" of a group value; "refused" for none.
std::string Text(const boost::optional<KnxStack::GroupValue>& group) {
  return group ? group->GetRawData().ToString() + "/" + std::to_string(group->GetDefinedSize()) : "refused";
}

struct Paths {
  Paths() { table.Init(); }
  boost::optional<TAVVALUE> TableDecode(KNXDPT dpt, const KnxStack::GroupValue& group) {
    TAVVALUE value;
    if (!table.FromKnxValue(dpt, group, value))
      return boost::none;
    return value;
  }
  boost::optional<KnxStack::GroupValue> TableEncode(KNXDPT dpt, const TAVVALUE& value) {
    KnxStack::GroupValue group;
    if (!table.ToKnxValue(dpt, value, group))
      return boost::none;
    return group;
  }
  KnxValueConverter table;
};

std::uint32_t Code(const KNXDPT& dpt) {
  return (std::uint32_t{dpt.mainNumber} << 16) | dpt.subNumber;
}

// Decode, encode, decode again, on the path the fuzzer took.
TEST(FuzzFindings, RoundTripAsymmetries) {
  struct Case {
    const char* reason;
    bool direct;
    KNXDPT dpt;  // bits, main, sub
    std::vector<std::uint8_t> octets;
    const char* decoded;
    const char* encoded;
    const char* decodedAgain;
  } const cases[] = {
      {"2-bit converter: byte type, which the Boolean 2.x row refuses", false, {2, 2, 0}, {0x01}, "6:1", "refused", ""},
      {"3.x: the nibble in the row's float type, encoding takes bytes only", false, {4, 3, 0}, {0x0B}, "3:0", "refused", ""},
      {"17.x: the scene converter's byte type against the row's integer type", false, {8, 17, 0}, {0x05}, "6:5", "refused", ""},
      {"23: encoded in 2 bits, checked against the 8-bit table row", true, {8, 23, 1}, {0x01}, "6:1", "01/2", "refused"},
      {"9: the invalid-data word decodes as a number that encodes as 0x7FFE", true, {16, 9, 1}, {0x7F, 0xFF}, "3:670760.96", "7f fe/16", "3:670433.28"},
  };
  Paths paths;
  const Tests::LogCapture log;  // the refusals' entries are not the point here
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reason);
    const KnxStack::GroupValue in = Group(c.octets, c.dpt.bitSize);
    const auto decoded = c.direct ? GroupValueToTavValue(in, Code(c.dpt)) : paths.TableDecode(c.dpt, in);
    ASSERT_EQ(Text(decoded), c.decoded);
    const auto encoded = c.direct ? TavValueToGroupValue(*decoded, Code(c.dpt)) : paths.TableEncode(c.dpt, *decoded);
    ASSERT_EQ(Text(encoded), c.encoded);
    if (!encoded)
      continue;
    const auto again = c.direct ? GroupValueToTavValue(*encoded, Code(c.dpt)) : paths.TableDecode(c.dpt, *encoded);
    EXPECT_EQ(Text(again), c.decodedAgain);
  }
}

// One group value decoded on both paths.
TEST(FuzzFindings, PathDifferences) {
  struct Case {
    const char* reason;
    KNXDPT dpt;
    std::vector<std::uint8_t> octets;
    const char* direct;
    const char* table;
  } const cases[] = {
      {"6: byte type on the direct path, signed in the table", {8, 6, 1}, {0x80}, "6:128", "4:-128"},
      {"9: the invalid-data word is no value in the table", {16, 9, 1}, {0x7F, 0xFF}, "3:670760.96", "0:"},
      {"14: a NaN is no value in the table", {32, 14, 56}, {0x7F, 0xC0, 0x00, 0x00}, "3:nan", "0:"},
      {"16.x: ASCII in the table, Latin-1 on the direct path",
       {112, 16, 0},
       {0x47, 0x72, 0xFC, 0xDF, 0x65, 0, 0, 0, 0, 0, 0, 0, 0, 0},
       "10:Gr\xC3\xBC\xC3\x9F"
       "e",
       "10:Gr__e"},
      {"19: the weekday from the date, or from the telegram (a Tuesday on a Wednesday)",
       {64, 19, 1},
       {0x7B, 0x03, 0x0F, 0x4C, 0x1E, 0x2D, 0x20, 0x00},
       "13:2023-03-15 12:30:45.000 w=4 utc=0 dst=0",
       "13:2023-03-15 12:30:45.000 w=2 utc=0 dst=0"},
      {"23: two bits on the direct path, a whole octet in the table", {8, 23, 1}, {0x14}, "6:0", "6:20"},
  };
  Paths paths;
  const Tests::LogCapture log;  // the refusals' entries are not the point here
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reason);
    const KnxStack::GroupValue in = Group(c.octets, c.dpt.bitSize);
    EXPECT_EQ(Text(GroupValueToTavValue(in, Code(c.dpt))), c.direct);
    EXPECT_EQ(Text(paths.TableDecode(c.dpt, in)), c.table);
  }
}

}  // namespace
}  // namespace Zel
