// zelknx's text readers, without the process: DPT spellings and the names
// table, values and hex, group addresses and the lines of bus logs and
// frames in hex (the group address lists: ZelknxGroupAddressTest).
#include "BusLine.h"
#include "DptNames.h"
#include "GroupAddress.h"
#include "ValueText.h"

#include <gtest/gtest.h>

#include <algorithm>
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
  EXPECT_EQ(NameAndUnit(9, 99), "2-octet float value / (none)");  // unknown sub: the main type
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
  EXPECT_TRUE(std::is_sorted(DptNameTable().begin(), DptNameTable().end(), [](const DptNameEntry& a, const DptNameEntry& b) { return a.mainNumber < b.mainNumber; }));  // FindDptName searches it so
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

// Each line form and the telegram it holds ("-": none), each row with the
// tool whose output it is shaped after; frames in hex from the KNX layouts.
// "error: " and why for a telegram or payload that is malformed.
TEST(ZelknxBusLine, EveryLineForm) {
  struct Case {
    std::string line;
    const char* expected;  // [time] src dst apci [short] hex | DPT ... | GA ... | - | error: ...
    const char* shape;
  };
  const std::vector<Case> cases = {
      {"Write from 1.1.202 to 3/3/6: 01 43", "1.1.202 3/3/6 write 0143", "knxtool groupsocketlisten"},
      {"Response from 15.15.255 to 31/7/255: 12 34 56 ", "15.15.255 31/7/255 response 123456", "groupsocketlisten"},
      {"Read from 1.1.5 to 1/2/3", "1.1.5 1/2/3 read ", "groupsocketlisten"},
      {"LPDU: BC 11 08 18 04 E3 00 80 2C 93 9A :L_Data low from 1.1.8 to 3/0/4 hops: 06 T_DATA_XXX_REQ A_GroupValue_Write 2C 93", "1.1.8 3/0/4 write 2c93", "eibd vbusmonitor1"},
      {std::string("Fri Sep  4 06:15:03 2015:LPDU: BC 11 03 0A 03 E1 00 81 38 :L_Data low from 1.1.3 to 1/2/3 hops: 06 T_DATA_XXX_REQ A_GroupValue_Write (small) 01 \0\0", 124), "2015-09-04T06:15:03 1.1.3 1/2/3 write short 01", "vbusmonitor1 behind a date, NUL bytes"},
      {"M\u00e4r 21 08:28:44 ha-server knxd[28931]: Layer 0 [24:log/C.tpuarts        11.455] Recv L_Data low from 1.0.21 to 3/2/24 hops: 06 T_DATA_XXX_REQ A_GroupValue_Write 0F", "M\u00e4r 21 08:28:44 1.0.21 3/2/24 write 0f", "knxd trace in a German syslog"},
      {"Jun 11 06:54:20 host knxd[1059]: Layer 0 [22:log/B.tpuarts  367.099] Recv L_Data (repeated) low from 1.0.14 to 1/3/141 hops: 06 T_Data_Group A_GroupValue_Write (small) 01", "Jun 11 06:54:20 1.0.14 1/3/141 write short 01", "newer knxd, a repetition"},
      {"f\u00e9vr. 16 13:38:04 host knxd[1]: Queue L_Data urgent from 0.0.0 to 1/1/9 hops: 06 T_DATA_XXX_REQ A_GroupValue_Write 0C 33", "f\u00e9vr. 16 13:38:04 0.0.0 1/1/9 write 0c33", "knxd trace in a French syslog"},
      {"Layer 0 [22:log/E.tpuarts       12.206] Recv L_Data low from 0.6.0 to 5/4/39 hops: 04 T_DATA_XXX_REQ A_GroupValue_Read", "0.6.0 5/4/39 read ", "knxd trace on stderr"},
      {"2024-03-15T08:30:00+0100 host knxd[1]: Recv L_Data low from 0.5.16 to 5/4/39 hops: 06 T_DATA_XXX_REQ A_GroupValue_Response FF ", "2024-03-15T08:30:00+01:00 0.5.16 5/4/39 response ff", "journalctl -o short-iso"},
      {"knxd: Layer 0 [ 6:usb:1:4:1:0:0 25.222] RecvEMI(011): 29 00 BC E0 11 0F 0C 10 01 00 40", "1.1.15 1/4/16 response short 00", "knxd trace: cEMI L_Data.ind"},
      {"[2024-03-15 08:30:00.5] 2E 04 03 02 01 02 BC E0 11 0F 0A 03 03 00 80 0C 33", "2024-03-15T08:30:00.5 1.1.15 1/2/3 write 0c33", "cEMI L_Data.con with additional information"},
      {"RecvEMI(017): 29 05 03 02 01 02 BC E0 11 0F 0A 03 03 00 80 0C 33", "-", "cEMI whose additional information is one octet short"},
      {"11 00 BC E0 00 00 0A 03 01 00 00", "0.0.0 1/2/3 read ", "cEMI L_Data.req"},
      {"29 00 B0 60 11 0F 11 06 00 80", "-", "cEMI T_Connect to an individual address"},
      {"2B 07 03 01 04 04 02 00 00 BC 11 DC FD 01 E3 00 80 0C 56 4B", "1.1.220 31/5/1 write 0c56", "cEMI L_Busmon.ind"},
      {"11 0C 00 00 0B 0F D1 00 80", "0.0.0 1/3/15 write short 00", "EMI2 L_Data.req"},
      {"2024/03/15 08:30:00 49 0C 11 0F 0A 04 E1 00 81", "2024-03-15T08:30:00 1.1.15 1/2/4 write short 01", "EMI1 L_Data.ind"},
      {"May 23 12:15:45 host knxd[6321]: knxd: Layer 0 [12:server/Server  367.084] Send(021): 06 10 04 20 00 15 04 01 06 00 29 00 BC D0 11 CC 00 64 01 00 82", "May 23 12:15:45 1.1.204 0/0/100 write short 02", "knxd trace: KNXnet/IP tunnelling"},
      {"May 23 12:15:45 host knxd[6321]: knxd: Layer 1 [12:server/Server  367.084] Send(015): 04 01 06 00 29 00 BC D0 11 CC 00 64 01 00 82", "-", "the same without its header: not a frame"},
      {"May 23 12:15:45 host knxd[6321]: knxd: Layer 0 [12:server/Server  367.085] Recv(010): 06 10 04 21 00 0A 04 01 06 00", "-", "KNXnet/IP TUNNELLING_ACK"},
      {"2021-03-02 21:09:13,456 DEBUG [raw_socket] Received from ('10.0.0.70', 3671): 0610053000112900bce0110f0a05010000", "2021-03-02T21:09:13.456 1.1.15 1/2/5 read ", "a Python debug log: KNXnet/IP routing"},
      {"0d 00:03:37: BCU<Debug>:   Received frame: 01.01.220 -> 31/05/001 [_D______A] ( BC 11 DC FD 01 E3 00 80 0C 56 4B ) [11]", "1.1.220 31/5/1 write 0c56", "a device's debug trace: TP1"},
      {"[16:56:04.854] ( BC 11 DC FD 01 E3 00 80 0C 56 4C ) [11]", "error: TP1 frame with a wrong check octet 4C (should be 4B)", "TP1, its check octet wrong"},
      {"B0 11 06 11 07 60 80 AE", "-", "TP1 T_Connect to an individual address"},
      {"", "-", "a blank line"},
      {"Mar 21 08:28:44 ha-server knxd[28931]: Layer 0 [24:log/C.tpuarts 11.455] Has Addr 1.0.21: yes", "-", "another knxd trace line"},
      {"Layer 0 [25:A.tcp/CConn        7.142] ReadMessage(005): 00 22 0B 0F FF", "-", "knxd's client protocol"},
      {"LPDU: B0 11 05 11 06 60 80 78 :L_Data low from 1.1.5 to 1.1.6 hops: 06 T_Connect", "-", "vbusmonitor1, an individual destination"},
      {"L_Data low from 1.1.5 to 0/0/0 hops: 06 T_DATA_XXX_REQ A_IndividualAddress_Write 11 0A", "-", "knxd trace, a management service"},
      {"  DPST-9-1\t0c:33  ", "DPT 9.001 0c33", "DPT HEX"},
      {"9.001 0 c3 3", "DPT 9.001 0c33", "DPT HEX"},
      {"1/2/3 0C 33", "GA 1/2/3 0c33", "GA HEX"},
      {"9.001", "error: no data after '9.001'", "DPT HEX"},
      {"9.001 0c3", "error: odd number of hex digits in '0c3'", "DPT HEX"},
      {"1/8/3 0c33", "error: bad group address '1/8/3'", "GA HEX"},
      {"Write from 1.1.5 to 1/2/3", "error: no ':' before the data", "groupsocketlisten"},
      {"Write from 1.1.5 to 1/2/3: ", "error: no data", "groupsocketlisten"},
      {"Write from 1.16.5 to 1/2/3: 01", "error: bad source address '1.16.5'", "groupsocketlisten"},
      {"Read from 1.1.5 to 1/2/3: 01", "error: data after a read", "groupsocketlisten"},
      {"Recv L_Data low from 0.0.6 to 1/2/5 hops: 06 T_Data_Group A_GroupValue_Read 01", "error: data after a read", "knxd trace"},
      {"Recv L_Data low from 0.0.6 to 1/2/5 hops: 06 T_Data_Group A_GroupValue_Write (small) 01 02", "error: more than one octet in the short form", "knxd trace"},
  };
  BusLine bus;
  for (const Case& c : cases) {
    bus.error = "poison";
    ReadBusLine(c.line, bus);
    const Telegram& t = bus.telegram;
    std::ostringstream out;
    switch (bus.kind) {
      case LineKind::None: out << "-"; break;
      case LineKind::Error: out << "error: " << bus.error; break;
      case LineKind::DptPayload: out << "DPT " << DptName(*bus.dpt) << ' ' << Hex(t.octets, ""); break;
      case LineKind::GroupPayload: out << "GA " << GroupAddressText(t.destination) << ' ' << Hex(t.octets, ""); break;
      case LineKind::Telegram:
        out << (t.time.empty() ? "" : t.time + " ") << IndividualAddressText(*t.source) << ' ' << GroupAddressText(t.destination) << ' ' << ApciName(t.apci) << (t.shortForm && t.apci != Apci::Read ? " short " : " ") << Hex(t.octets, "");
    }
    EXPECT_EQ(out.str(), c.expected) << c.shape << ": " << c.line;
  }
}

}  // namespace
