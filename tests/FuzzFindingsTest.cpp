// Inputs the property fuzz targets (fuzz/RoundTripFuzz.cpp and
// fuzz/DifferentialFuzz.cpp) stopped at. Each showed an intended asymmetry
// between decoding and encoding, or an intended difference between the
// table path (KnxValueConverter) and the direct path (GroupValueToTavValue,
// TavValueToGroupValue); the targets list them as exceptions, and these
// cases pin the behaviour each input showed, so that the lists stay true.
#include "LogCapture.h"
#include "TestValues.h"

#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxValueConverter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Zel {
namespace {

using Tests::Group;

// "type:text" of a value; "refused" for none.
std::string Text(const boost::optional<TAVVALUE>& value) {
  return value ? std::to_string(value->ivt) + ":" + value->ToString() : "refused";
}
// "octets/bits" of a group value; "refused" for none.
std::string Text(const boost::optional<KnxStack::GroupValue>& group) {
  return group ? group->GetRawData().ToString() + "/" + std::to_string(group->GetDefinedSize()) : "refused";
}

// Each input decoded on the direct path and in the table; where the round
// trip fuzzer stopped, the value decoded on its path encoded back and that
// decoded again.
TEST(FuzzFindings, RoundTripAsymmetriesAndPathDifferences) {
  struct Case {
    const char* reason;
    KNXDPT dpt;  // bits, main, sub
    std::vector<std::uint8_t> octets;
    const char* direct;    // decoded on the direct path
    const char* table;     // decoded in the table
    bool roundTripDirect;  // the round trip's path: direct, else the table
    const char* encoded;   // nullptr: no round trip
    const char* decodedAgain;
  } const cases[] = {
      {"2-bit converter: byte type, which the Boolean 2.x row refuses", {2, 2, 0}, {0x01}, "6:1", "6:1", false, "refused", ""},
      {"3.x: the nibble in the row's float type, encoding takes bytes only", {4, 3, 0}, {0x0B}, "6:11", "3:0", false, "refused", ""},
      {"17.x: the scene converter's byte type against the row's integer type", {8, 17, 0}, {0x05}, "6:5", "6:5", false, "refused", ""},
      {"18.001: the row's integer type, which the scene control converter refuses: the table encodes no 18.001 value", {8, 18, 1}, {0x05}, "6:5", "4:5", false, "refused", ""},
      {"23: encoded in 2 bits, checked against the 8-bit table row", {8, 23, 1}, {0x01}, "6:1", "6:1", true, "01/2", "refused"},
      {"9: the invalid-data word decodes directly as a number that encodes as 0x7FFE, is no value in the table", {16, 9, 1}, {0x7F, 0xFF}, "3:670760.96", "0:", true, "7f fe/16", "3:670433.28"},
      {"6: byte type on the direct path, signed in the table", {8, 6, 1}, {0x80}, "6:128", "4:-128", false, nullptr, nullptr},
      {"14: a NaN is no value in the table", {32, 14, 56}, {0x7F, 0xC0, 0x00, 0x00}, "3:nan", "0:", false, nullptr, nullptr},
      {"16.x: ASCII in the table, Latin-1 on the direct path", {112, 16, 0}, {0x47, 0x72, 0xFC, 0xDF, 0x65, 0, 0, 0, 0, 0, 0, 0, 0, 0}, "10:Gr\u00fc\u00dfe", "10:Gr__e", false, nullptr, nullptr},
      {"19: the weekday from the date, or from the telegram (a Tuesday on a Wednesday)", {64, 19, 1}, {0x7B, 0x03, 0x0F, 0x4C, 0x1E, 0x2D, 0x20, 0x00}, "13:2023-03-15 12:30:45.000 w=4 utc=0 dst=0", "13:2023-03-15 12:30:45.000 w=2 utc=0 dst=0", false, nullptr, nullptr},
      {"19: 24:00:00 on 2155-12-31 is midnight of 2156-01-01, which no 19.x holds", {64, 19, 1}, {0xFF, 0x0C, 0x1F, 0x18, 0x00, 0x00, 0x00, 0x00}, "13:2156-01-01 00:00:00.000 w=8 utc=0 dst=0", "13:2156-01-01 00:00:00.000 w=0 utc=0 dst=0", false, "refused", ""},
      {"23: two bits on the direct path, a whole octet in the table", {8, 23, 1}, {0x14}, "6:0", "6:20", false, nullptr, nullptr},
  };
  KnxValueConverter table;
  table.Init();
  const auto tableDecode = [&](KNXDPT dpt, const KnxStack::GroupValue& group) -> boost::optional<TAVVALUE> {
    TAVVALUE value;
    return table.FromKnxValue(dpt, group, value) ? boost::make_optional(value) : boost::none;
  };
  const Tests::LogCapture log;  // the refusals' entries are not the point here
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reason);
    KNXDPT dpt = c.dpt;
    const KnxStack::GroupValue in = Group(c.octets, dpt.bitSize);
    const auto direct = GroupValueToTavValue(in, DptCode(dpt));
    const auto inTable = tableDecode(dpt, in);
    EXPECT_EQ(Text(direct), c.direct);
    EXPECT_EQ(Text(inTable), c.table);
    const auto& decoded = c.roundTripDirect ? direct : inTable;
    if (c.encoded == nullptr || !decoded)
      continue;
    KnxStack::GroupValue group;
    const auto encoded = c.roundTripDirect ? TavValueToGroupValue(*decoded, DptCode(dpt)) : (table.ToKnxValue(dpt, *decoded, group) ? boost::make_optional(group) : boost::none);
    EXPECT_EQ(Text(encoded), c.encoded);
    EXPECT_EQ(encoded ? Text(c.roundTripDirect ? GroupValueToTavValue(*encoded, DptCode(dpt)) : tableDecode(dpt, *encoded)) : "", c.decodedAgain);
  }
}

}  // namespace
}  // namespace Zel
