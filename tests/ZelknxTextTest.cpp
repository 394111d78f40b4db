// zelknx's text readers, without the process: DPT spellings and the names
// table, values and hex, group addresses and the lines of knxd's tools (the
// group address lists: ZelknxGroupAddressTest).
#include "BusLine.h"
#include "DptNames.h"
#include "GroupAddress.h"
#include "ValueText.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace Zelknx;

TEST(ZelknxDptNames, EverySpellingOfADpt) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"9.001", "9.1"},
      {"9.1", "9.1"},
      {"9", "9.0"},
      {"DPST-9-1", "9.1"},
      {"DPT-9", "9.0"},
      {"DPT_Value_Temp", "9.1"},
      {"dpt_value_temp", "9.1"},
      {"DPT_Value_Power", "14.56"},
      {"DPST-232-600", "232.600"},
      // Not DPTs.
      {"", "none"},
      {"9.x", "none"},
      {"DPST-9", "none"},
      {"DPT-9-1", "none"},
      {"DPT_NoSuchType", "none"},
      {"9.001.1", "none"},
      {"DPST--1", "none"},
      {"65536.1", "none"},
  };
  for (const auto& c : cases) {
    const auto dpt = ParseDptSpelling(c.first);
    EXPECT_EQ(dpt ? std::to_string(dpt->mainNumber) + "." + std::to_string(dpt->subNumber) : "none", c.second) << c.first;
  }
}

// A DPT's name in the table, and the unit printed beside the library's value.
std::string NameAndUnit(unsigned short main, unsigned short sub) {
  const Zel::KNXDPT dpt{0, main, sub};
  const DptNameEntry* entry = FindDptName(dpt);
  return std::string(entry == nullptr ? "(none)" : entry->name) + " / " + (ValueUnit(dpt) == nullptr ? "(none)" : ValueUnit(dpt));
}

TEST(ZelknxDptNames, NamesAndUnitsOfTheStandard) {
  EXPECT_EQ(NameAndUnit(9, 1), "DPT_Value_Temp / °C");
  EXPECT_EQ(NameAndUnit(9, 99), "2-octet float value / (none)");   // unknown sub: the main type
  EXPECT_EQ(NameAndUnit(14, 0), "DPT_Value_Acceleration / m/s²");  // 14.000 is a subtype of its own
  EXPECT_EQ(NameAndUnit(99, 0), "(none) / (none)");
  // The library hands out 5.001's and 8.010's encoded numbers, not percent;
  // the standard's unit is still known.
  EXPECT_EQ(NameAndUnit(5, 1), "DPT_Scaling / (none)");
  EXPECT_EQ(NameAndUnit(8, 10), "DPT_Percent_V16 / (none)");
  EXPECT_STREQ(FindDptName(*ParseDpt("5.001"))->unit, "%");
}

// Every main number of the library's DPT table and of its object-model
// value types has a name; no (main, sub) pair is named twice, and no name
// stands for two DPTs, so that a name reads back as its DPT.
TEST(ZelknxDptNames, TableCoversTheLibrarysMainNumbersOnce) {
  for (const unsigned short main : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 200, 201, 202, 217, 219, 222, 229, 230, 232, 234, 236, 237, 238}) {
    EXPECT_NE(FindDptName(Zel::KNXDPT{0, main, 0xFFFF}), nullptr) << main;
  }
  std::set<std::string> names;
  std::set<std::pair<unsigned, unsigned>> subtypes;
  for (const DptNameEntry& entry : DptNameTable()) {
    const std::string name = entry.name;
    if (name.compare(0, 4, "DPT_") != 0)
      continue;  // main types' descriptions repeat ("8-bit set")
    EXPECT_TRUE(names.insert(name).second) << name;
    EXPECT_TRUE(subtypes.insert({entry.mainNumber, entry.subNumber}).second) << name;
    const auto back = ParseDptSpelling(name);
    ASSERT_TRUE(back) << name;
    EXPECT_EQ(back->mainNumber, entry.mainNumber) << name;
    EXPECT_EQ(back->subNumber, entry.subNumber) << name;
  }
}

// "-" is the value that the table's decoders give for invalid data: type 0
// whatever the type asked for.
TEST(ZelknxValueText, IntegersAsTheDevicesTypesCarryThemAndNoValue) {
  struct Case {
    TavValueType type;
    const char* text;
    const char* parsed;  // the type and the 32-bit storage, or "refused"
  };
  const std::vector<Case> cases = {
      {ivtWord, "70000", "ivtWord 70000"},
      {ivtWord, "4294967295", "ivtWord 4294967295"},
      {ivtWord, "4294967296", "refused"},
      {ivtWord, "-1", "refused"},
      {ivtDWord, "0xffffffff", "ivtDWord 4294967295"},
      {ivtInteger, "-2147483648", "ivtInteger 2147483648"},
      {ivtInteger, "2147483648", "refused"},
      {ivtByte, "255", "ivtByte 255"},
      {ivtByte, "-128", "ivtByte 128"},
      {ivtByte, "256", "refused"},
      {ivtByte, "-129", "refused"},
      {ivtFloat, "-", "ivtNone -"},
      {ivtString, "-", "ivtNone -"},
  };
  for (const Case& c : cases) {
    const auto value = ParseValue(c.type, c.text);
    const std::string parsed = !value ? "refused" : std::string(TAVVALUE::GetNameFromValueType(value->ivt)) + " " + (value->ivt == ivtNone ? FormatValue(*value) : std::to_string(value->GetDWord()));
    EXPECT_EQ(parsed, c.parsed) << TAVVALUE::GetNameFromValueType(c.type) << " " << c.text;
  }
}

// Text that is not UTF-8 is written replaced, never thrown about.
TEST(ZelknxValueText, JsonOfTextThatIsNotUtf8) {
  EXPECT_EQ(DumpJson(nlohmann::ordered_json{{"error", "bad DPT '\xff'"}}), "{\"error\":\"bad DPT '\uFFFD'\"}");
  EXPECT_EQ(DumpJson(nlohmann::ordered_json{{"value", "K\374che"}}), "{\"value\":\"K\uFFFDche\"}");  // ü in Latin-1
}

TEST(ZelknxGroupAddress, TextForms) {
  const std::vector<std::pair<const char*, int>> cases = {
      {"1/2/3", 0x0A03},
      {"31/7/255", 0xFFFF},
      {"1/234", 0x08EA},
      {"65535", 65535},
      {"32/0/0", -1},
      {"1/8/0", -1},
      {"1/2/256", -1},
      {"1/2048", -1},
      {"65536", -1},
      {"1/2/3/4", -1},
      {"", -1},
      {"1//3", -1},
      {"1.1.5", -1},
      {"-1", -1},
      {"1/-/-", -1},
  };
  for (const auto& c : cases) {
    const auto address = ParseGroupAddress(c.first);
    EXPECT_EQ(address ? int{*address} : -1, c.second) << c.first;
  }
}

// Each line form and what it says, hex with blanks or colons anywhere
// between digits; "error: " and why for a line that is not a telegram.
TEST(ZelknxBusLine, EveryLineForm) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"  DPST-9-1\t0c:33  ", "9.001 - - write 0c33"},
      {"9.001 0C 33", "9.001 - - write 0c33"},
      {"9.001 0 c3 3", "9.001 - - write 0c33"},
      {"9.001 fF", "9.001 - - write ff"},
      {"Write from 1.1.5 to 1/2/3: 0C 33 ", "- 1.1.5 1/2/3 write 0c33"},
      {"Response from 15.15.255 to 31/7/255: 12 34 56", "- 15.15.255 31/7/255 response 123456"},
      {"L_Busmon: BC 11 05 0A 03 E3 00 80 0C 33 5A :L_Data low from 1.1.5 to 1/2/3 hops: 06 T_Data_Group A_GroupValue_Write 0C 33 ", "- 1.1.5 1/2/3 write 0c33"},
      {"L_Busmon: BC 00 04 0A 03 E1 00 81 2E :L_Data low from 0.0.4 to 1/2/3 hops: 06 T_Data_Group A_GroupValue_Write (small) 01 ", "- 0.0.4 1/2/3 write short 01"},
      {"L_Busmon: BC 00 06 0A 05 E1 00 00 AB :L_Data low from 0.0.6 to 1/2/5 hops: 06 T_Data_Group A_GroupValue_Read", "- 0.0.6 1/2/5 read "},
      {"L_Busmon: BC 00 06 0A 05 E1 00 40 AB :L_Data low from 0.0.6 to 1/2/5 hops: 06 T_Data_Group A_GroupValue_Response 0C 33", "- 0.0.6 1/2/5 response 0c33"},
      {"", "error: empty line"},
      {"bogus line", "error: not a DPT, a group address or a line of knxtool: 'bogus'"},
      {"9.001", "error: no data after '9.001'"},
      {"9.001 0c3", "error: odd number of hex digits in '0c3'"},
      {"9.001 0g33", "error: bad hex string '0g33'"},
      {"9.001 0x0c", "error: bad hex string '0x0c'"},
      {"1/8/3 0c33", "error: bad group address '1/8/3'"},
      {"Write from 1.1.5 to 1/2/3", "error: no ':' before the data"},
      {"Write from 1.1.5 to 1/2/3: ", "error: no data"},
      {"Write from 1.16.5 to 1/2/3: 01", "error: bad source address '1.16.5'"},
      {"Read from 1.1.5 to 1/2/3: 01", "error: data after a read"},
      {"L_Busmon: BC 11 05 11 06 60 43 00 :L_Data low from 1.1.5 to 1.1.6 hops: 06 T_Connect", "error: '1.1.6' is not a group address (not a group telegram)"},
      {"L_Busmon: BC 11 05 0A 03 E1 00 C0 00 :L_Data low from 1.1.5 to 1/2/3 hops: 06 T_Data_Group A_IndividualAddress_Write", "error: not a group value read, write or response"},
      {"L_Busmon: BC 00 06 0A 05 E1 00 00 AB :L_Data low from 0.0.6 to 1/2/5 hops: 06 T_Data_Group A_GroupValue_Read 01", "error: data after a read"},
  };
  for (const auto& c : cases) {
    std::string error;
    const auto bus = ParseBusLine(c.first, error);
    std::ostringstream out;
    if (!bus) {
      out << "error: " << error;
    } else {
      out << (bus->dpt ? DptName(*bus->dpt) : "-") << ' ' << (bus->source ? IndividualAddressText(*bus->source) : "-") << ' ' << (bus->destination ? GroupAddressText(*bus->destination) : "-") << ' ' << ApciName(bus->apci) << (bus->shortForm ? " short" : "") << ' ';
      for (const std::uint8_t octet : bus->octets)
        out << std::hex << (octet < 16 ? "0" : "") << unsigned{octet};
    }
    EXPECT_EQ(out.str(), c.second) << c.first;
  }
}

}  // namespace
