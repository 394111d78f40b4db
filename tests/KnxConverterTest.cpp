// The per-DPT converters and the scaling ranges, through the DPT table and
// directly. Payload octets are the KNX standard's encodings.
#include "LogCapture.h"
#include "TestValues.h"

#include "Zel/KnxValueConverter.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <typeinfo>
#include <memory>
#include <tuple>
#include <vector>

namespace Zel {
namespace {

using namespace Tests;

class TableTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(converter.Init()); }
  KnxValueConverter converter;
};

// The table itself is the DPT catalogue (checked for agreement by
// DptCatalogueTest); here only what the fill does with it, and the rows'
// deliberate particulars.
TEST_F(TableTest, FillKeepsTheRowsAndTheirParticulars) {
  EXPECT_EQ(converter.GetMap().Size(), 53u);
  ASSERT_TRUE(converter.Init());
  EXPECT_EQ(converter.GetMap().Size(), 53u);  // cleared first
  struct Row {
    int main, sub;
    TavValueType type;
    TavDP::TavValueSubType subType;
  };
  const Row rows[] = {
      {4, 0, ivtString, TavDP::vstAscii},  // 4.x and 4.001 are 7-bit, only 4.002 Latin-1
      {4, 1, ivtString, TavDP::vstAscii},
      {4, 2, ivtString, TavDP::vstLatin1},
      {16, 0, ivtString, TavDP::vstAscii},  // likewise 16.x against 16.001
      {16, 1, ivtString, TavDP::vstLatin1},
      {6, 20, ivtByte, TavDP::vstStatusMode},  // a status byte, unlike the rest of 6
      {6, 0, ivtInteger, TavDP::vstGeneric},
      {9, 1, ivtFloat, TavDP::vstKnxFloat},
      {9, 0, ivtFloat, TavDP::vstGeneric},
      {10, 0, ivtTime, TavDP::vstGeneric},
      {17, 0, ivtInteger, TavDP::vstSceneNumber},  // integer rows, byte converters
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(std::to_string(r.main) + "." + std::to_string(r.sub));
    const DptValueEntry& e = converter.GetEntry(Dpt(static_cast<std::uint16_t>(r.main), static_cast<std::uint16_t>(r.sub)));
    EXPECT_EQ(e.dpt.subNumber, r.sub);
    EXPECT_EQ(e.valueType, r.type);
    EXPECT_EQ(e.valueSubType, r.subType);
  }
  // Ranges that only decoding consults: 20.102 stops at 4, 26.x maps -64..64.
  const auto& byteRange = [this](int main, int sub) {
    return dynamic_cast<const KnxConverterByte8BitUnsigned&>(*converter.GetEntry(Dpt(static_cast<std::uint16_t>(main), static_cast<std::uint16_t>(sub))).converter).GetRange();
  };
  EXPECT_EQ(byteRange(20, 102).m_internalUpper, 4);
  EXPECT_EQ(byteRange(20, 5).m_internalUpper, 255);
  EXPECT_EQ(dynamic_cast<const KnxConverterSceneInfo&>(*converter.GetEntry(Dpt(26, 1)).converter).GetRange().m_internalLower, -64);
  const std::pair<KNXDPT, int> lookups[] = {{Dpt(9, 9), 0}, {Dpt(5, 1), 0}, {Dpt(20, 5), 0}, {Dpt(232, 600), 0}, {Dpt(236, 1), 0}, {Dpt(238, 600), 0}};
  for (const auto& l : lookups) {
    EXPECT_EQ(converter.GetEntry(l.first).dpt.subNumber, l.second) << l.first.mainNumber;
  }
}

// Encode through the table, compare with the standard's octets, decode back.
TEST_F(TableTest, RoundTripsWithTheStandardsOctets) {
  struct Case {
    const char* label;
    KNXDPT dpt;
    TAVVALUE value;
    Octets octets;
    std::uint32_t bits;
    TavValueType decodedType;
  };
  const std::uint32_t tuesday = TavWeekDays::WEEK_DAY_TUESDAY;
  const Case cases[] = {
      {"1.001 on", Dpt(1, 1), Bits(ivtBool, 1), {0x01}, 1, ivtBool},
      {"1.001 off", Dpt(1, 1), Bits(ivtBool, 0), {0x00}, 1, ivtBool},
      {"4.001 A", Dpt(4, 1), Text("A"), {0x41}, 8, ivtString},
      {"4.002 u-umlaut", Dpt(4, 2), Text("\xC3\xBC"), {0xFC}, 8, ivtString},
      {"5.001 full", Dpt(5, 1), Bits(ivtByte, 255), {0xFF}, 8, ivtByte},
      {"5.006 254", Dpt(5, 6), Bits(ivtByte, 254), {0xFE}, 8, ivtByte},
      {"6.010 -1", Dpt(6, 10), Bits(ivtInteger, 0xFFFFFFFF), {0xFF}, 8, ivtInteger},
      {"6.020 mode 4", Dpt(6, 20), Bits(ivtByte, 0xF4), {0xF4}, 8, ivtByte},
      {"7.001 65535", Dpt(7, 1), Bits(ivtWord, 65535), {0xFF, 0xFF}, 16, ivtWord},
      {"8.001 -2", Dpt(8, 1), Bits(ivtInteger, 0xFFFFFFFE), {0xFF, 0xFE}, 16, ivtInteger},
      {"9.001 21.5", Dpt(9, 1), Real(21.5), {0x0C, 0x33}, 16, ivtFloat},
      {"9.001 -30", Dpt(9, 1), Real(-30.0), {0x8A, 0x24}, 16, ivtFloat},
      {"10.001 Tue 13:45:07", Dpt(10, 1), Time(ivtTime, 0, 0, 0, 13, 45, 7, tuesday), {0x4D, 0x2D, 0x07}, 24, ivtTime},
      {"11.001 2023-02-28", Dpt(11, 1), Time(ivtDate, 2023, 2, 28, 0, 0, 0, tuesday), {0x1C, 0x02, 0x17}, 24, ivtDate},
      {"12.001 max", Dpt(12, 1), Bits(ivtDWord, 0xFFFFFFFF), {0xFF, 0xFF, 0xFF, 0xFF}, 32, ivtDWord},
      {"13.001 min", Dpt(13, 1), Bits(ivtInteger, 0x80000000), {0x80, 0x00, 0x00, 0x00}, 32, ivtInteger},
      {"13.001 max", Dpt(13, 1), Bits(ivtInteger, 0x7FFFFFFF), {0x7F, 0xFF, 0xFF, 0xFF}, 32, ivtInteger},
      {"14.x 1.0", Dpt(14, 0), Real(1.0), {0x3F, 0x80, 0x00, 0x00}, 32, ivtFloat},
      {"15.000 access", Dpt(15, 0), Bits(ivtDWord, 0x12345678), {0x12, 0x34, 0x56, 0x78}, 32, ivtDWord},
      {"16.000 ASCII", Dpt(16, 0), Text("KNX is OK"), {0x4B, 0x4E, 0x58, 0x20, 0x69, 0x73, 0x20, 0x4F, 0x4B, 0, 0, 0, 0, 0}, 112, ivtString},
      {"16.001 Latin-1 up to 0xFF", Dpt(16, 1), Text("Gr\xC3\xBC\xC3\x9F"
                                                     "e\xC3\xBF"),
       {0x47, 0x72, 0xFC, 0xDF, 0x65, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0},
       112,
       ivtString},
      {"17.x 63", Dpt(17, 0), Bits(ivtInteger, 63), {0x3F}, 8, ivtByte},  // 17.001's row, 17 alone enough
      {"19.001 2023-02-28 13:45:07", Dpt(19, 1), Time(ivtDateTime, 2023, 2, 28, 13, 45, 7, tuesday), {0x7B, 0x02, 0x1C, 0x4D, 0x2D, 0x07, 0x20, 0x00}, 64, ivtDateTime},
      {"20.102 4", Dpt(20, 102), Bits(ivtByte, 4), {0x04}, 8, ivtByte},
      {"21.001", Dpt(21, 1), Bits(ivtByte, 0x81), {0x81}, 8, ivtByte},
      {"23.001", Dpt(23, 1), Bits(ivtByte, 2), {0x02}, 8, ivtByte},
      {"27.001", Dpt(27, 1), Bits(ivtDWord, 0x0000FFFF), {0x00, 0x00, 0xFF, 0xFF}, 32, ivtDWord},
      {"232.600 RGB", Dpt(232, 600), Bits(ivtDWord, 0x123456), {0x12, 0x34, 0x56}, 24, ivtDWord},
      {"26.001 scene 5", Dpt(26, 1), Bits(ivtByte, 5), {0x05}, 8, ivtByte},
      {"236.001 0", Dpt(236, 1), Bits(ivtByte, 0), {0x00}, 8, ivtByte},  // decoding checks the row's range
      {"238.600 0", Dpt(238, 600), Bits(ivtByte, 0), {0x00}, 8, ivtByte},
  };
  LogCapture log(log4cplus::INFO_LOG_LEVEL);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    KNXDPT dpt = c.dpt;
    KnxStack::GroupValue group;
    ASSERT_TRUE(converter.ToKnxValue(dpt, c.value, group));
    EXPECT_EQ(OctetsOf(group), c.octets);
    EXPECT_EQ(group.GetDefinedSize(), c.bits);
    TAVVALUE decoded;
    ASSERT_TRUE(converter.FromKnxValue(dpt, group, decoded));
    EXPECT_EQ(decoded.ivt, c.decodedType);
    EXPECT_EQ(decoded.ToString(), c.value.ToString());
  }
  EXPECT_TRUE(log.Empty());
}

// The edges of the ranges, through the table: accepted or refused.
TEST_F(TableTest, RangeEdges) {
  struct Edge {
    const char* label;
    KNXDPT dpt;
    TAVVALUE value;
    bool accepted;
  };
  const Edge edges[] = {
      {"5.006 254", Dpt(5, 6), Bits(ivtByte, 254), true},
      {"5.006 255", Dpt(5, 6), Bits(ivtByte, 255), false},
      {"5.001 255", Dpt(5, 1), Bits(ivtByte, 255), true},
      {"9.001 -273", Dpt(9, 1), Real(-273.0), true},
      {"9.001 -273.5", Dpt(9, 1), Real(-273.5), false},
      {"9.001 670760", Dpt(9, 1), Real(670760.0), true},
      {"9.001 670761", Dpt(9, 1), Real(670761.0), false},
      {"17.001 0", Dpt(17, 1), Bits(ivtInteger, 0), true},
      {"17.001 64", Dpt(17, 1), Bits(ivtInteger, 64), false},
      {"17.001 -1", Dpt(17, 1), Bits(ivtInteger, 0xFFFFFFFF), false},
      {"6.020 mode 1", Dpt(6, 20), Bits(ivtByte, 0x01), true},
      {"6.020 mode 2", Dpt(6, 20), Bits(ivtByte, 0x0A), true},
      {"6.020 mode 4", Dpt(6, 20), Bits(ivtByte, 0x04), true},
      {"6.020 mode 0", Dpt(6, 20), Bits(ivtByte, 0xF0), false},
      {"6.020 mode 3", Dpt(6, 20), Bits(ivtByte, 0x03), false},
      {"21.001 0", Dpt(21, 1), Bits(ivtByte, 0), true},
      {"4.x U+0080", Dpt(4, 0), Text("\xC2\x80"), false},
      {"4.001 U+0080", Dpt(4, 1), Text("\xC2\x80"), false},
      {"11.001 1990-01-01", Dpt(11, 1), Time(ivtDate, 1990, 1, 1, 0, 0, 0, 0), true},
      {"11.001 2089-12-31", Dpt(11, 1), Time(ivtDate, 2089, 12, 31, 0, 0, 0, 0), true},
      {"19.001 1900-01-01", Dpt(19, 1), Time(ivtDateTime, 1900, 1, 1, 0, 0, 0, 0), true},
      {"19.001 1899-12-31", Dpt(19, 1), Time(ivtDateTime, 1899, 12, 31, 0, 0, 0, 0), false},
      {"19.001 2155-12-31", Dpt(19, 1), Time(ivtDateTime, 2155, 12, 31, 23, 59, 59, 0), true},
      {"19.001 2156-01-01", Dpt(19, 1), Time(ivtDateTime, 2156, 1, 1, 0, 0, 0, 0), false},
      {"19.001 24:00:00", Dpt(19, 1), Time(ivtDateTime, 2023, 2, 28, 24, 0, 0, 0), false},
      {"12.001 0", Dpt(12, 1), Bits(ivtDWord, 0), true},
      {"27.001 0", Dpt(27, 1), Bits(ivtDWord, 0), true},
      {"15.000 0", Dpt(15, 0), Bits(ivtDWord, 0), true},
      {"12.001 max", Dpt(12, 1), Bits(ivtDWord, 0xFFFFFFFF), true},
      {"232.600 0", Dpt(232, 600), Bits(ivtDWord, 0), true},
      {"232.600 max", Dpt(232, 600), Bits(ivtDWord, 0xFFFFFF), true},
      {"232.600 over", Dpt(232, 600), Bits(ivtDWord, 0x1000000), false},
      {"14.x max", Dpt(14, 0), Real(FLT_MAX), true},
  };
  LogCapture quiet(log4cplus::OFF_LOG_LEVEL);
  for (const Edge& e : edges) {
    KNXDPT dpt = e.dpt;
    KnxStack::GroupValue out;
    EXPECT_EQ(converter.ToKnxValue(dpt, e.value, out), e.accepted) << e.label;
  }
}

// One refusal: exactly the converter's ERROR entry (the frame adds its own
// line, which these direct calls leave out).
struct Refusal {
  const char* label;
  const KnxConverter& converter;
  KNXDPT dpt;
  TAVVALUE value;
  Octets received;
  const char* message;
};

void ExpectRefusals(const std::vector<Refusal>& refusals) {
  for (const Refusal& r : refusals) {
    SCOPED_TRACE(r.label);
    const std::unique_ptr<KnxConverter> converter(r.converter.Clone());
    LogCapture log(log4cplus::INFO_LOG_LEVEL);
    TAVVALUE value = r.value;
    bool result = true;
    if (r.received.empty()) {
      KnxStack::GroupValue out = Group({0xEE}, 8);
      result = converter->ToKnxValue(r.dpt, r.value, out);
      EXPECT_EQ(OctetsOf(out), Octets{0xEE}) << "a refused encode writes nothing";
    } else {
      result = converter->FromKnxValue(r.dpt, Group(r.received, static_cast<std::uint32_t>(8 * r.received.size())), value);
    }
    EXPECT_FALSE(result);
    if (r.message[0] == '\0') {
      EXPECT_TRUE(log.Empty());
    } else {
      EXPECT_TRUE(log.Equals({Error(r.message)}));
    }
  }
}

TEST(Converters, RefuseWithExactlyOneEntry) {
  ExpectRefusals({
      {"1-bit byte value, silently", KnxConverter1Bit(), Dpt(1, 1), Bits(ivtByte, 1), {}, ""},
      {"1-bit wrong main, silently", KnxConverter1Bit(), Dpt(2, 1), Bits(ivtBool, 1), {0x01}, ""},
      {"2-bit float", KnxConverter2Bit(), Dpt(2, 1), Real(1), {}, "Wrong tav value type (ivtByte) or DPT main number (2.x)!"},
      {"2-bit main 1", KnxConverter2Bit(), Dpt(1, 1), Bits(ivtByte, 1), {0x01}, "Wrong DPT main number (2.x)!"},
      {"4-bit 16", KnxConverter4Bit(FloatIntegerRange(0, 15, -100.0, 100.0)), Dpt(3, 7), Bits(ivtByte, 16), {}, "Value out of raw range [0..15]:16"},
      {"4-bit float", KnxConverter4Bit(FloatIntegerRange(0, 15, -100.0, 100.0)), Dpt(3, 7), Real(1), {}, "Wrong tav value type (ivtByte) or DPT main number (3.x)!"},
      {"4-bit main 5", KnxConverter4Bit(FloatIntegerRange(0, 15, -100.0, 100.0)), Dpt(5, 1), Bits(ivtByte, 1), {0x01}, "Wrong DPT main number (3.x)!"},
      {"4.001 non-ASCII", KnxConverter8BitString(IntegerRange(0, 127, 0, 127)), Dpt(4, 1), Text("\xC3\xBC"), {}, "Value out of raw range [0..127] for DPT 4.001:\xC3\xBC"},
      {"4.001 two characters", KnxConverter8BitString(IntegerRange(0, 127, 0, 127)), Dpt(4, 1), Text("ab"), {}, "Value out of raw range [0..127] for DPT 4.001:ab"},
      {"4.001 invalid UTF-8", KnxConverter8BitString(IntegerRange(0, 127, 0, 127)), Dpt(4, 1), Text("\xFF"), {}, "Value out of raw range [0..127] for DPT 4.001:\xFF"},
      {"4.001 integer", KnxConverter8BitString(IntegerRange(0, 127, 0, 127)), Dpt(4, 1), Bits(ivtInteger, 65), {}, "Wrong tav value type (ivtString) or DPT main number (4.x)!"},
      {"4.001 octet 200", KnxConverter8BitString(IntegerRange(0, 127, 0, 127)), Dpt(4, 1), TAVVALUE(), {200}, "Value out of raw range [0..127] for DPT 4.001:200"},
      {"4.x main 5", KnxConverter8BitString(IntegerRange(0, 127, 0, 127)), Dpt(5, 1), TAVVALUE(), {65}, "Wrong DPT main number (4.x)!"},
      {"5.x integer", KnxConverterByte8BitUnsigned(IntegerRange(0, 254, 0, 254)), Dpt(5, 1), Bits(ivtInteger, 1), {}, "Wrong tav value type (ivtByte)!"},
      {"6.x byte", KnxConverterInteger8BitSigned(IntegerRange(-128, 127, -128, 127)), Dpt(6, 1), Bits(ivtByte, 1), {}, "Wrong tav value type (ivtInteger) or DPT main number (6.x)!"},
      {"6.020 mode 0 received", KnxConverterStatus8Bit(IntegerRange(0, 255, 0, 255)), Dpt(6, 20), TAVVALUE(), {0x00}, "The internal value of DPT=6.20, f=0 is out of the allowed range."},
      {"6.020 float", KnxConverterStatus8Bit(IntegerRange(0, 255, 0, 255)), Dpt(1, 1), Real(4), {}, "Wrong tav value type (ivtByte) or DPT main number (6.020)!"},
      {"6.020 main 5 received", KnxConverterStatus8Bit(IntegerRange(0, 255, 0, 255)), Dpt(5, 1), TAVVALUE(), {0x04}, "Wrong DPT main number (6.020)!"},
      {"7.x float", KnxConverterInteger16BitUnsigned(IntegerRange(0, 65535, 0, 65535)), Dpt(9, 1), Real(1), {}, "Wrong DPT main number (7.x) or tav value type (ivtWord)!"},
      {"7.x decoded as main 8", KnxConverterInteger16BitUnsigned(IntegerRange(0, 65535, 0, 65535)), Dpt(8, 1), TAVVALUE(), {0, 1}, "Wrong DPT main number (7.x)!"},
      {"8.x float", KnxConverterInteger16BitSigned(IntegerRange(-32768, 32767, -32768, 32767)), Dpt(9, 1), Real(1), {}, "Wrong DPT main number (8.x) or tav value type (ivtInteger)!"},
      {"8.x decoded as main 7", KnxConverterInteger16BitSigned(IntegerRange(-32768, 32767, -32768, 32767)), Dpt(7, 1), TAVVALUE(), {0, 1}, "Wrong DPT main number (8.x)!"},
      {"12.x integer on main 12", KnxConverterInteger32BitUnsigned(LongIntegerRange(0, 4294967295, 0, 4294967295)), Dpt(12, 1), Bits(ivtInteger, 1), {}, "Wrong tav value type (ivtDWord)!"},
      {"232.x four octets received", KnxConverterInteger24BitUnsigned(LongIntegerRange(0, 16777215, 0, 16777215)), Dpt(232, 600), TAVVALUE(), {1, 0, 0, 0}, "The internal value of DPT=232.600, ivt=1 is out of range: 16777216"},
      {"232.x integer", KnxConverterInteger24BitUnsigned(LongIntegerRange(0, 16777215, 0, 16777215)), Dpt(232, 600), Bits(ivtInteger, 1), {}, "Wrong tav value type (ivtDWord)!"},
      {"13.x float", KnxConverterInteger32BitSigned(IntegerRange(INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX)), Dpt(9, 1), Real(1), {}, "Wrong DPT main number (13.x) or tav value type (ivtInteger)!"},
      {"13.x decoded as main 12", KnxConverterInteger32BitSigned(IntegerRange(INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX)), Dpt(12, 1), TAVVALUE(), {0, 0, 0, 1}, "Wrong DPT main number (13.x)!"},
      {"9.004 NaN sent", KnxConverterFloat16BitFloat(FloatRange(0.0, 670760.0, 0.0, 670760.0)), Dpt(9, 4), Real(NAN), {}, "The internal value of DPT=9.4, f=nan is out of the allowed range."},
      {"9.x byte on 5.1", KnxConverterFloat16BitFloat(FloatRange(0.0, 670760.0, 0.0, 670760.0)), Dpt(5, 1), Bits(ivtByte, 1), {}, "Wrong DPT main number (9.x) or tav value type (ivtFloat)!"},
      {"14.x byte", KnxConverterFloat32BitFloat(FloatRange(-FLT_MAX, FLT_MAX, -FLT_MAX, FLT_MAX)), Dpt(5, 1), Bits(ivtByte, 1), {}, "Wrong DPT main number (14.x) or tav value type (ivtFloat)!"},
      {"14.x decoded as main 13", KnxConverterFloat32BitFloat(FloatRange(-FLT_MAX, FLT_MAX, -FLT_MAX, FLT_MAX)), Dpt(13, 1), TAVVALUE(), {0x3F, 0x80, 0, 0}, "Wrong DPT main number (14.x)!"},
      {"16.x byte", KnxConverter14ByteString(IntegerRange(0, 127, 0, 127)), Dpt(16, 0), Bits(ivtByte, 1), {}, "Wrong DPT main number (16.x) or tav value type (ivtString)!"},
      {"16.x decoded as main 4", KnxConverter14ByteString(IntegerRange(0, 127, 0, 127)), Dpt(4, 1), TAVVALUE(), {0x41}, "Wrong DPT main number (16.x)!"},
      {"17.x float on 9.2", KnxConverterSceneNumber(IntegerRange(0, 63, 0, 63)), Dpt(9, 2), Real(1), {}, "Wrong DPT main number (17.001) or tav value type (ivtByte)!"},
      {"17.x decoded as 9.2", KnxConverterSceneNumber(IntegerRange(0, 63, 0, 63)), Dpt(9, 2), TAVVALUE(), {1}, "Wrong DPT main number (17.001)!"},
      {"18.001 0x45", KnxConverterSceneControl(IntegerRange(0, 63, 0, 63)), Dpt(18, 1), Bits(ivtByte, 0x45), {}, "Scene number is out of range (>63) for SceneControl: 69"},
      {"18.001 integer", KnxConverterSceneControl(IntegerRange(0, 63, 0, 63)), Dpt(18, 1), Bits(ivtInteger, 5), {}, "Wrong DPT for Scene number (18.001) or tav value type (ivtByte)."},
      {"18.002 sent", KnxConverterSceneControl(IntegerRange(0, 63, 0, 63)), Dpt(18, 2), Bits(ivtByte, 5), {}, "Wrong DPT for Scene number (18.001) or tav value type (ivtByte)."},
      {"18.002 received", KnxConverterSceneControl(IntegerRange(0, 63, 0, 63)), Dpt(18, 2), TAVVALUE(), {5}, "Wrong DPT for Scene number, only 18.001 is valid."},
      {"18.001 reserved bit received", KnxConverterSceneControl(IntegerRange(0, 63, 0, 63)), Dpt(18, 1), TAVVALUE(), {0x40}, "Reserved bit is used for scene number in DPT scene control!"},
      {"26.001 bit 7 sent", KnxConverterSceneInfo(IntegerRange(-64, 64, 0, 255)), Dpt(26, 1), Bits(ivtByte, 0x80), {}, "Reserved bit 8 is set for SceneInfo; skipped."},
      {"26.002 sent", KnxConverterSceneInfo(IntegerRange(-64, 64, 0, 255)), Dpt(26, 2), Bits(ivtByte, 1), {}, "Wrong DPT for Scene number (26.001) or tav value type (ivtByte)."},
      {"26.002 received", KnxConverterSceneInfo(IntegerRange(-64, 64, 0, 255)), Dpt(26, 2), TAVVALUE(), {1}, "Wrong DPT for Scene number, only 26.001 is valid."},
      {"26.001 bit 7 received", KnxConverterSceneInfo(IntegerRange(-64, 64, 0, 255)), Dpt(26, 1), TAVVALUE(), {0x80}, "Reserved bit is used for scene number in DPT scene control!"},
      {"10.x date value on 11.2", KnxConverterTimeOfDay(), Dpt(11, 2), Typed(ivtDate), {}, "Wrong DPT main number (10.001) or tav value type (ivtDayTime)!"},
      {"10.x hour 24", KnxConverterTimeOfDay(), Dpt(10, 1), Time(ivtTime, 0, 0, 0, 24, 0, 0, 0), {}, "No valid TimeOfDay (10.001)!"},
      {"10.x decoded as 11", KnxConverterTimeOfDay(), Dpt(11, 1), TAVVALUE(), {0, 0, 0}, "Wrong DPT main number (10.001)!"},
      {"10.x reserved bits", KnxConverterTimeOfDay(), Dpt(10, 1), TAVVALUE(), {0x0D, 0x40, 0}, "No valid TimeOfDay datagram, reserved fields are not zero!"},
      {"10.x minute 60", KnxConverterTimeOfDay(), Dpt(10, 1), TAVVALUE(), {0x0D, 60, 0}, "No valid TimeOfDay (10.001)!"},
      {"11.x time value on 10.2", KnxConverterDate(), Dpt(10, 2), Typed(ivtTime), {}, "Wrong DPT main number (10.001) or tav value type (ivtDayTime)!"},
      {"11.x 2023-02-29", KnxConverterDate(), Dpt(11, 1), Time(ivtDate, 2023, 2, 29, 0, 0, 0, 0), {}, "Cannot convert invalid date: year=2023, month=2, day=29"},
      {"11.x 2090", KnxConverterDate(), Dpt(11, 1), Time(ivtDate, 2090, 1, 1, 0, 0, 0, 0), {}, "Cannot convert the date outside of the range [1990...2089]: year=2090, month=1, day=1"},
      {"11.x decoded as 10", KnxConverterDate(), Dpt(10, 1), TAVVALUE(), {1, 1, 1}, "Wrong DPT main number (11.001)!"},
      {"11.x reserved bits", KnxConverterDate(), Dpt(11, 1), TAVVALUE(), {0x21, 1, 1}, "No valid Date datagram, reserved fields are not zero!"},
      {"11.x year octet 100", KnxConverterDate(), Dpt(11, 1), TAVVALUE(), {1, 1, 100}, "Cannot convert the date outside of the range [1990...2089]: year=2100, month=1, day=1"},
      {"11.x 2023-02-29 received", KnxConverterDate(), Dpt(11, 1), TAVVALUE(), {29, 2, 23}, "Exception caught during conversion of date:Day of month is not valid for year"},
      {"19.x 2023-02-29 sent", KnxConverterDateTime(), Dpt(19, 1), Time(ivtDateTime, 2023, 2, 29, 1, 2, 3, 0), {}, "Cannot convert invalid date and time: year=2023, month=2, day=29, hour=1, minute=2, second=3"},
      {"19.x byte on 5.1", KnxConverterDateTime(), Dpt(5, 1), Bits(ivtByte, 1), {}, "Wrong DPT main number (19.001) or tav value type (ivtDateTime)!"},
      {"19.x decoded as main 18", KnxConverterDateTime(), Dpt(18, 1), TAVVALUE(), {123, 2, 28, 13, 45, 7, 0x20, 0}, "Wrong DPT main number (19.001)!"},
      {"19.x fault flag", KnxConverterDateTime(), Dpt(19, 1), TAVVALUE(), {123, 2, 28, 13, 45, 7, 0xA0, 0}, "Cannot convert invalid date and time: year=2023, month=2, day=28, hour=13, minute=45, second=7"},
      {"19.x month 13", KnxConverterDateTime(), Dpt(19, 1), TAVVALUE(), {123, 13, 28, 13, 45, 7, 0x20, 0}, "Exception caught during conversion of date and time:Month number is out of range 1..12"},
  });
}

// Encodes `value` with `converter` into a fresh group value.
std::pair<bool, KnxStack::GroupValue> Encode(const KnxConverter& prototype, KNXDPT dpt, const TAVVALUE& value) {
  const std::unique_ptr<KnxConverter> converter(prototype.Clone());
  KnxStack::GroupValue group;
  const bool ok = converter->ToKnxValue(dpt, value, group);
  return {ok, group};
}

TEST(Converters, DeliberateQuirksAreKept) {
  LogCapture log(log4cplus::WARN_LOG_LEVEL);
  KnxConverterDefault fallback;
  EXPECT_EQ(OctetsOf(Encode(fallback, Dpt(1, 1), Bits(ivtBool, 1)).second), Octets{0x01});
  EXPECT_EQ(OctetsOf(Encode(fallback, Dpt(5, 1, 8), Bits(ivtByte, 0xAB)).second), Octets{0xAB});
  EXPECT_FALSE(Encode(fallback, Dpt(5, 1, 8), TAVVALUE()).first);  // no bytes for the empty value
  TAVVALUE bit = Typed(ivtByte);                                   // a 1-bit value is bit 0 of its octet
  EXPECT_TRUE(fallback.FromKnxValue(Dpt(1, 1), Group({0xFE}, 1), bit));
  EXPECT_EQ(bit.GetDWord(), 0u);
  // A boolean on 2.x: meant as 0x11/0x10, of which the 2-bit field keeps the low bits.
  EXPECT_EQ(OctetsOf(Encode(fallback, Dpt(2, 1), Bits(ivtBool, 1)).second), Octets{0x01});
  EXPECT_EQ(OctetsOf(Encode(fallback, Dpt(2, 1), Bits(ivtBool, 0)).second), Octets{0x00});
  // A boolean for any other main number: success, nothing written.
  const auto silent = Encode(fallback, Dpt(5, 1), Bits(ivtBool, 1));
  EXPECT_TRUE(silent.first);
  EXPECT_EQ(silent.second.GetDefinedSize(), 0u);
  // A text fills the octets its bits round up to; 0 bits, or more than 184,
  // the whole 24-octet buffer.
  const std::pair<std::uint8_t, unsigned> sizes[] = {{0, 24}, {192, 24}, {112, 14}, {9, 2}, {184, 23}};
  for (const auto& size : sizes) {
    KNXDPT dpt{size.first, 200, 1};
    KnxStack::GroupValue group;
    EXPECT_TRUE(fallback.ToKnxValue(dpt, Text(std::string(30, 'x')), group));
    EXPECT_EQ(group.GetRawData().GetLength(), size.second) << unsigned{size.first};
  }
  for (const TavValueType percentLike : {ivtPercent, ivtDimming}) {  // one octet, whatever the size
    EXPECT_EQ(OctetsOf(Encode(fallback, Dpt(9, 1, 16), Real(100.4, percentLike)).second), Octets{100});
  }

  // Through the table 2.x decodes only: its row carries the boolean type,
  // which its converter refuses to encode.
  KnxValueConverter table;
  table.Init();
  KNXDPT dpt21 = Dpt(2, 1);
  KnxStack::GroupValue out;
  EXPECT_FALSE(table.ToKnxValue(dpt21, Bits(ivtBool, 1), out));
  TAVVALUE control;
  EXPECT_TRUE(table.FromKnxValue(dpt21, Group({0x03}, 2), control));
  EXPECT_EQ(control.ivt, ivtByte);
  EXPECT_EQ(control.GetByte(), 3);
  // The 2-bit converter passes the byte on; the group value keeps two bits.
  EXPECT_EQ(OctetsOf(Encode(KnxConverter2Bit(), Dpt(2, 1), Bits(ivtByte, 7)).second), Octets{0x03});
  TAVVALUE decoded = Typed(ivtFloat);
  EXPECT_TRUE(KnxConverter2Bit().FromKnxValue(Dpt(2, 1), Group({0x02}, 2), decoded));
  EXPECT_EQ(decoded.ivt, ivtByte);
  const auto nibble = Encode(KnxConverter4Bit(FloatIntegerRange()), Dpt(3, 7), Bits(ivtByte, 0x0B));  // bytes only
  decoded = Typed(ivtFloat);
  EXPECT_TRUE(nibble.first && KnxConverter4Bit(FloatIntegerRange()).FromKnxValue(Dpt(3, 7), nibble.second, decoded));
  EXPECT_EQ(decoded.ivt, ivtFloat);  // left as the caller set it
  EXPECT_EQ(decoded.GetByte(), 0x0B);

  const IntegerRange status(0, 255, 0, 255);
  // 6.020: a refused octet is still written; any of main 6, sub 20 or the byte type is accepted.
  const auto refused = Encode(KnxConverterStatus8Bit(status), Dpt(6, 20), Bits(ivtByte, 0x03));
  EXPECT_FALSE(refused.first);
  EXPECT_EQ(OctetsOf(refused.second), Octets{0x03});
  EXPECT_TRUE(Encode(KnxConverterStatus8Bit(status), Dpt(1, 1), Bits(ivtByte, 0x04)).first);
  EXPECT_EQ(OctetsOf(Encode(KnxConverterStatus8Bit(status), Dpt(7, 20), Bits(ivtInteger, 0x04)).second), Octets{0x04});
  EXPECT_TRUE(KnxConverterStatus8Bit(status).FromKnxValue(Dpt(5, 20), Group({0x04}, 8), decoded));  // main 6 or sub 20
  EXPECT_TRUE(KnxConverterStatus8Bit(status).FromKnxValue(Dpt(6, 1), Group({0x04}, 8), decoded));
  decoded = TAVVALUE();  // 6.x, 12.x, 7.x and 11.x decoding set their types themselves
  EXPECT_TRUE(KnxConverterInteger8BitSigned(IntegerRange(-128, 127, -128, 127)).FromKnxValue(Dpt(6, 1), Group({0xFF}, 8), decoded));
  EXPECT_EQ(decoded.ivt, ivtInteger);
  EXPECT_TRUE(KnxConverterInteger32BitUnsigned(LongIntegerRange(0, 4294967295, 0, 4294967295)).FromKnxValue(Dpt(12, 1), Group({0, 0, 0, 1}, 32), decoded));
  EXPECT_EQ(decoded.ivt, ivtDWord);
  EXPECT_TRUE(KnxConverterInteger16BitUnsigned(status).FromKnxValue(Dpt(7, 1), Group({0x12, 0x34}, 16), decoded));
  EXPECT_EQ(decoded.ivt, ivtWord);
  EXPECT_TRUE(KnxConverterDate().FromKnxValue(Dpt(11, 1), Group({28, 2, 23}, 24), decoded));
  EXPECT_EQ(decoded.ivt, ivtDate);
  // 13.x: main 13 or the integer type is enough.
  EXPECT_TRUE(Encode(KnxConverterInteger32BitSigned(IntegerRange(INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX)), Dpt(12, 1), Bits(ivtInteger, 5)).first);
  // Low octet / low 16 bits, no range test.
  EXPECT_EQ(OctetsOf(Encode(KnxConverterInteger8BitSigned(status), Dpt(6, 10), Bits(ivtInteger, 300)).second), Octets{44});
  EXPECT_EQ(OctetsOf(Encode(KnxConverterInteger16BitUnsigned(status), Dpt(7, 1), Bits(ivtInteger, 70000)).second),
            (Octets{0x11, 0x70}));
  EXPECT_EQ(OctetsOf(Encode(KnxConverterInteger16BitSigned(status), Dpt(8, 1), Bits(ivtInteger, 40000)).second),
            (Octets{0x9C, 0x40}));

  const FloatRange celsius(-273.0, 670760.0, -273.0, 670760.0);
  // 9.x: "no value" both ways; a float is accepted on any DPT by its type alone.
  EXPECT_EQ(OctetsOf(Encode(KnxConverterFloat16BitFloat(celsius), Dpt(9, 1), Typed(ivtNone)).second), (Octets{0x7F, 0xFF}));
  EXPECT_EQ(OctetsOf(Encode(KnxConverterFloat16BitFloat(celsius), Dpt(5, 1), Real(21.5)).second), (Octets{0x0C, 0x33}));
  decoded = Real(1.5);
  EXPECT_TRUE(KnxConverterFloat16BitFloat(celsius).FromKnxValue(Dpt(9, 1), Group({0x7F, 0xFF}, 16), decoded));
  EXPECT_EQ(decoded.ivt, ivtNone);
  EXPECT_EQ(decoded.GetDouble(), 1.5);
  // A refused received float stays stored.
  decoded = Typed(ivtFloat);
  EXPECT_FALSE(KnxConverterFloat16BitFloat(FloatRange(0, 1, 0, 1)).FromKnxValue(Dpt(9, 4), Group({0x86, 0x0C}, 16), decoded));
  EXPECT_EQ(decoded.GetDouble(), -5.0);

  // 14.x: NaN is "no value"; no range test when encoding.
  KnxConverterFloat32BitFloat f32(FloatRange(-FLT_MAX, FLT_MAX, -FLT_MAX, FLT_MAX));
  const auto noValue = Encode(f32, Dpt(14, 0), Typed(ivtNone));
  EXPECT_TRUE(noValue.first);
  EXPECT_EQ(OctetsOf(noValue.second), (Octets{0x7F, 0xC0, 0, 0}));
  EXPECT_EQ(OctetsOf(Encode(f32, Dpt(14, 0), Real(1.0e39)).second), (Octets{0x7F, 0x80, 0, 0}));
  EXPECT_EQ(OctetsOf(Encode(f32, Dpt(14, 0), Real(std::ldexp(1.0, 128) - std::ldexp(1.0, 103))).second), (Octets{0x7F, 0x80, 0, 0}));  // FLT_MAX and half its ulp
  EXPECT_EQ(OctetsOf(Encode(f32, Dpt(14, 0), Real(-3.4028235e38)).second), (Octets{0xFF, 0x7F, 0xFF, 0xFF}));
  EXPECT_TRUE(f32.FromKnxValue(Dpt(14, 0), Group({0x7F, 0xC0, 0, 0}, 32), decoded));
  EXPECT_EQ(decoded.ivt, ivtNone);

  // Scenes: a refused received number stays stored; the learn bit passes.
  decoded = Typed(ivtInteger);
  EXPECT_FALSE(KnxConverterSceneNumber(IntegerRange(0, 63, 0, 63)).FromKnxValue(Dpt(17, 1), Group({70}, 8), decoded));
  EXPECT_EQ(decoded.GetInteger(), 70);
  EXPECT_EQ(decoded.ivt, ivtInteger);
  EXPECT_TRUE(KnxConverterSceneNumber(IntegerRange(0, 63, 0, 63)).FromKnxValue(Dpt(5, 1), Group({5}, 8), decoded));  // main 17 or sub 1
  const auto learn = Encode(KnxConverterSceneControl(status), Dpt(18, 1), Bits(ivtByte, 0x85));
  EXPECT_TRUE(learn.first);
  EXPECT_EQ(OctetsOf(learn.second), Octets{0x85});
  decoded = Typed(ivtByte);  // 26.001: the octet, the type left as it was
  EXPECT_TRUE(KnxConverterSceneInfo(IntegerRange(-64, 64, 0, 255)).FromKnxValue(Dpt(26, 1), Group({0x05}, 8), decoded));
  EXPECT_EQ(decoded.GetByte(), 5);

  // 11.x: any one of main 11, sub 1 or the date type is enough.
  for (const KNXDPT& dpt : {Dpt(11, 2), Dpt(12, 1)}) {
    EXPECT_EQ(OctetsOf(Encode(KnxConverterDate(), dpt, Time(ivtDateTime, 2023, 2, 28, 0, 0, 0, 0)).second), (Octets{28, 2, 23}));
  }
  // 12.x accepts the whole 32-bit span.
  KnxConverterInteger32BitUnsigned u32(LongIntegerRange(0, 4294967295, 0, 4294967295));
  for (std::uint32_t u : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_TRUE(Encode(u32, Dpt(12, 1), Bits(ivtDWord, u)).first) << u;
  }
  // 16.x: characters the DPT cannot carry become "_", logged at WARN; 4.x NUL is the empty text.
  log.Clear();
  EXPECT_EQ(OctetsOf(Encode(KnxConverter14ByteString(IntegerRange(0, 127, 0, 127)), Dpt(16, 0), Text("a\xC3\xBC\xFF")).second),
            (Octets{'a', '_', '_', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_TRUE(log.Equals({Warn("Invalid characters for DPT 16.0 has been replaced with _.")}));
  decoded = TAVVALUE();
  EXPECT_TRUE(KnxConverter8BitString(IntegerRange(0, 127, 0, 127)).FromKnxValue(Dpt(4, 1), Group({0}, 8), decoded));
  EXPECT_EQ(decoded.ivt, ivtString);
  EXPECT_EQ(decoded.GetString(), "");
  EXPECT_EQ(OctetsOf(Encode(KnxConverter8BitString(IntegerRange(0, 127, 0, 127)), Dpt(4, 1), Text("")).second), Octets{0});
}

// 14-octet text, table path: every invalid UTF-8 sequence is one "_" (as
// utfcpp's replace_invalid counts sequences), every character above the
// row's range one "_", the rest Latin-1; cut after 14 octets; one WARN when
// anything in the whole text was replaced, even beyond the 14th octet.
TEST(Converters, TextEncodingReplacesPerSequenceAndCutsAt14) {
  const std::string umlaut = "\xC3\xA4";
  std::string twenty;
  for (int i = 0; i < 20; ++i)
    twenty += umlaut;
  struct Case {
    const char* label;
    std::string text;
    std::int32_t upper;
    std::string octets;  // before the padding to 14
    bool warned;
  };
  const Case cases[] = {
      {"ASCII", "Hallo", 127, "Hallo", false},
      {"invalid lead",
       "a\xFF"
       "b",
       255, "a_b", true},
      {"lone continuations", "\x80\x80x", 255, "__x", true},
      {"cut sequence at the end", "ab\xE2\x82", 255, "ab_", true},
      {"overlong", "\xC0\xAF!", 255, "_!", true},
      {"surrogate", "\xED\xA0\x80z", 255, "_z", true},
      {"euro beyond Latin-1", "1\xE2\x82\xAC", 255, "1_", true},
      {"umlaut beyond ASCII", umlaut, 127, "_", true},
      {"20 umlauts cut at 14", twenty, 255, std::string(14, '\xE4'), false},
      {"replacement beyond the cut", std::string(14, 'x') + "\xFF", 255, std::string(14, 'x'), true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    LogCapture log(log4cplus::WARN_LOG_LEVEL);
    const auto encoded = Encode(KnxConverter14ByteString(IntegerRange(0, c.upper, 0, c.upper)), Dpt(16, 1), Text(c.text));
    ASSERT_TRUE(encoded.first);
    std::string expected = c.octets;
    expected.resize(14, '\0');
    EXPECT_EQ(OctetsOf(encoded.second), Octets(expected.begin(), expected.end()));
    EXPECT_EQ(log.Entries().size(), c.warned ? 1u : 0u);
  }
}

TEST(Converters, SignedScalingRoundsHalfAwayFromZero) {
  // Raw 0..100 against 0..1000: the application value is ten times the raw one.
  KnxConverterInteger32BitSigned scaled(IntegerRange(0, 100, 0, 1000));
  EXPECT_EQ(OctetsOf(Encode(scaled, Dpt(13, 1), Bits(ivtInteger, 15)).second), (Octets{0, 0, 0, 2}));
  EXPECT_EQ(OctetsOf(Encode(scaled, Dpt(13, 1), Bits(ivtInteger, 14)).second), (Octets{0, 0, 0, 1}));
  TAVVALUE decoded;
  EXPECT_TRUE(scaled.FromKnxValue(Dpt(13, 1), Group({0, 0, 0, 7}, 32), decoded));
  EXPECT_EQ(decoded.GetInteger(), 70);
  EXPECT_EQ(decoded.ivt, ivtInteger);
  LogCapture log;
  KnxStack::GroupValue out;
  EXPECT_FALSE(scaled.ToKnxValue(Dpt(13, 1), Bits(ivtInteger, 101), out));
  EXPECT_TRUE(log.EqualsIgnoringDebug({Error("The internal value of DPT=13.1, ivt=4 is out of range: 101")}));
  EXPECT_FALSE(scaled.FromKnxValue(Dpt(13, 1), Group({0, 0, 0, 101}, 32), decoded));  // raw 101: beyond the raw range
}

TEST(Converters, DateTimeFlags) {
  KnxConverterDateTime dateTime;
  TAVVALUE summer = Time(ivtDateTime, 2024, 7, 1, 8, 0, 0, TavWeekDays::WEEK_DAY_MONDAY | TavWeekDays::WEEK_DAY_TUESDAY);
  summer.GetTime().dst = true;
  // Several weekdays: no day of week (NDoW); daylight saving: SUTI.
  EXPECT_EQ(OctetsOf(Encode(dateTime, Dpt(19, 1), summer).second), (Octets{124, 7, 1, 8, 0, 0, 0x25, 0}));
  TAVVALUE decoded;
  ASSERT_TRUE(dateTime.FromKnxValue(Dpt(19, 1), Group({124, 7, 1, 0x28, 0, 0, 0x21, 0x80}, 64), decoded));
  EXPECT_EQ(decoded.ivt, ivtDateTime);
  EXPECT_EQ(decoded.GetTime().weekDays, TavWeekDays::WEEK_DAY_MONDAY);
  EXPECT_TRUE(decoded.GetTime().dst);
  EXPECT_EQ(decoded.GetTime().hour, 8);
}

// 24:00:00 ends the day: it is midnight at the start of the next day, with
// the next weekday; 24 with minutes or seconds is still refused.
TEST(Converters, DateTimeEndOfDay) {
  KnxConverterDateTime dateTime;
  TAVVALUE decoded;
  // 2024-12-31 24:00:00 is 2025-01-01 00:00:00; a Sunday (weekday 7) becomes
  // a Monday, while "any day" (weekday 0) stays any day.
  const std::pair<std::uint8_t, std::uint32_t> weekdays[] = {{0xF8, TavWeekDays::WEEK_DAY_MONDAY}, {0x18, 0u}};
  for (const auto& w : weekdays) {
    ASSERT_TRUE(dateTime.FromKnxValue(Dpt(19, 1), Group({124, 12, 31, w.first, 0, 0, 0x20, 0}, 64), decoded));
    const TAVTIME& t = decoded.GetTime();
    EXPECT_EQ(std::make_tuple(t.year, unsigned{t.month}, unsigned{t.day}, unsigned{t.hour}), std::make_tuple(2025, 1u, 1u, 0u));
    EXPECT_EQ(t.weekDays, w.second);
  }
  LogCapture log;
  EXPECT_FALSE(dateTime.FromKnxValue(Dpt(19, 1), Group({124, 12, 31, 0x18, 30, 0, 0x20, 0}, 64), decoded));
  EXPECT_EQ(log.EntriesAtLeast(log4cplus::ERROR_LOG_LEVEL).size(), 1u);
}

TEST(Ranges, ScaleFactorsAndTheirFailures) {
  LogCapture log;
  EXPECT_DOUBLE_EQ(IntegerRange(0, 255, 0, 100).m_scaleFactor, 100.0 / 255);
  EXPECT_DOUBLE_EQ(IntegerRange(255, 0, 0, 100).m_scaleFactor, -100.0 / 255);
  EXPECT_DOUBLE_EQ(IntegerRange(INT32_MIN, INT32_MAX, 0, 1).m_scaleFactor, 1.0 / 4294967295.0);
  EXPECT_DOUBLE_EQ(LongIntegerRange(0, 4294967295, 0, 4294967295).m_scaleFactor, 1.0);
  EXPECT_DOUBLE_EQ(FloatRange(10.0, 0.0, 0.0, 5.0).m_scaleFactor, 0.5);  // positive despite the order
  EXPECT_DOUBLE_EQ(FloatIntegerRange(0, 15, -100.0, 100.0).m_scaleFactor, 0.075);
  EXPECT_DOUBLE_EQ(FloatIntegerRange(15, 0, -100.0, 100.0).m_scaleFactor, -0.075);
  EXPECT_TRUE(log.Empty());

  EXPECT_EQ(IntegerRange(5, 5, 0, 1).m_scaleFactor, 1.0);
  EXPECT_EQ(LongIntegerRange(0, 1, 7, 7).m_scaleFactor, 1.0);
  EXPECT_EQ(FloatIntegerRange(0, 1, 2.0, 2.0).m_scaleFactor, 1.0);
  EXPECT_EQ(FloatIntegerRange(3, 3, 0.0, 1.0).m_scaleFactor, 1.0);
  EXPECT_EQ(FloatIntegerRange(0, 1, -1e308, 1e308).m_scaleFactor, 1.0);  // the span overflows to infinity
  EXPECT_EQ(FloatRange(1.0, 1.0, 0.0, 1.0).m_scaleFactor, 1.0);
  EXPECT_EQ(FloatRange(0.0, 1.0, 4.0, 4.0).m_scaleFactor, 1.0);
  EXPECT_EQ(FloatRange(0.0, 1e300, 0.0, 1e-300).m_scaleFactor, 1.0);  // the factor underflows to 0
  EXPECT_TRUE(log.Equals({
      Error("Failed to calculate the scale factor because of invalid internal range [5, 5]."),
      Error("Failed to calculate the scale factor because of invalid external range [7, 7]."),
      Error("Failed to calculate the scale factor because of invalid double range [2, 2]."),
      Error("Failed to calculate the scale factor because of invalid integer range [3, 3]."),
      Error("Failed to calculate the scale factor because of invalid double range [-1e+308, 1e+308] or because invalid integer range [0, 1]."),
      Error("Failed to calculate the scale factor because of invalid double range [1, 1]."),
      Error("Failed to calculate the scale factor because of invalid external range [4, 4]."),
      Error("Failed to calculate the scale factor because of invalid double range [0, 1e+300] or because invalid external range [0, 1e-300]."),
  }));
  EXPECT_EQ(log.Entries()[0].function, "void Zel::IntegerRange::CalculateScaleFactor()");
}

TEST(Ranges, TextFormsAndClones) {
  EXPECT_EQ(ToString(IntegerRange(-64, 64, 0, 255)), "IntegerRange(-64, 64, 0, 255)");
  EXPECT_EQ(ToString(LongIntegerRange(0, 4294967295, 0, 1)), "IntegerRange(0, 4294967295, 0, 1)");
  EXPECT_EQ(ToString(FloatIntegerRange(0, 15, -100.0, 100.0)), "FloatIntegerRange(-100, 100, 0, 15)");
  EXPECT_EQ(ToString(FloatRange(-273.0, 670760.0, 0.5, 1.0)), "FloatRange(-273, 670760, 0.5, 1)");
  const KnxConverter4Bit original(FloatIntegerRange(0, 15, -100.0, 100.0));
  const std::unique_ptr<KnxConverter> clone(original.Clone());
  const auto& copy = dynamic_cast<const KnxConverter4Bit&>(*clone).GetRange();
  EXPECT_EQ(ToString(copy), ToString(original.GetRange()));
  EXPECT_EQ(copy.m_scaleFactor, original.GetRange().m_scaleFactor);
}

}  // namespace
}  // namespace Zel
