// Conversion by DPT code in both directions, and the group value check.
#include "LogCapture.h"
#include "TestValues.h"

#include "Zel/GroupValueTavValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace Zel {
namespace {

using namespace Tests;

struct Sent {
  const char* label;
  std::uint32_t code;
  TAVVALUE value;
  Octets octets;
  std::uint32_t bits;
  const char* message;
};

TEST(TavValueToGroupValue, EncodesEachMainNumber) {
  const std::uint32_t friday = TavWeekDays::WEEK_DAY_FRIDAY;
  const Sent cases[] = {
      {"1.001", Code(1, 1), Bits(ivtBool, 1), {0x01}, 1, ""},
      {"2.001", Code(2, 1), Bits(ivtByte, 3), {0x03}, 2, ""},
      {"3.007", Code(3, 7), Bits(ivtByte, 0x0B), {0x0B}, 4, ""},
      {"5.001", Code(5, 1), Bits(ivtByte, 200), {0xC8}, 8, ""},
      {"6.010", Code(6, 10), Bits(ivtByte, 0xFF), {0xFF}, 8, ""},
      {"7.001 max", Code(7, 1), Bits(ivtWord, 65535), {0xFF, 0xFF}, 16, ""},
      {"7.001 clamped", Code(7, 1), Bits(ivtWord, 70000), {0xFF, 0xFF}, 16, "Value out of range: 70000 (DPT 7)"},
      {"217.001 clamped", Code(217, 1), Bits(ivtWord, 65536), {0xFF, 0xFF}, 16, "Value out of range: 65536 (DPT 217)"},
      {"8.001 -2", Code(8, 1), Bits(ivtInteger, 0xFFFFFFFE), {0xFF, 0xFE}, 16, ""},
      {"8.001 saturated", Code(8, 1), Bits(ivtInteger, static_cast<std::uint32_t>(-40000)), {0x80, 0x00}, 16, "Value out of range: -40000 (DPT 8)"},
      {"9.001", Code(9, 1), Real(21.5), {0x0C, 0x33}, 16, ""},
      {"10.001 Fri 23:59:58", Code(10, 1), Time(ivtDayTime, 0, 0, 0, 23, 59, 58, friday), {0xB7, 0x3B, 0x3A}, 24, ""},
      {"11.001", Code(11, 1), Time(ivtDate, 1999, 12, 31, 0, 0, 0, 0), {0x1F, 0x0C, 0x63}, 24, ""},
      {"12.001", Code(12, 1), Bits(ivtDWord, 0xDEADBEEF), {0xDE, 0xAD, 0xBE, 0xEF}, 32, ""},
      {"13.001", Code(13, 1), Bits(ivtInteger, 0xFFFFFFFF), {0xFF, 0xFF, 0xFF, 0xFF}, 32, ""},
      {"14.x", Code(14, 0), Real(-2.5), {0xC0, 0x20, 0x00, 0x00}, 32, ""},
      {"16.001", Code(16, 1), Text("\xC3\xBC\xE2\x82\xAC"), {0xFC, '?', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 112, ""},
      {"17.001", Code(17, 1), Bits(ivtByte, 63), {0x3F}, 8, ""},
      {"18.001 learn bit", Code(18, 1), Bits(ivtByte, 0x85), {0x85}, 8, ""},
      {"19.001", Code(19, 1), Time(ivtDateTime, 2023, 2, 28, 13, 45, 7, 0), {123, 2, 28, 0x4D, 45, 7, 0x20, 0}, 64, ""},
      {"19.001 23:59:61 carries into Wednesday", Code(19, 1), Time(ivtDateTime, 2023, 2, 28, 23, 59, 61, 0), {123, 3, 1, 0x60, 0, 1, 0x20, 0}, 64, ""},
      {"19.001 no date", Code(19, 1), Time(ivtDateTime, 0, 0, 0, 13, 45, 7, 0), {70, 1, 1, 0, 0, 0, 0x24, 0}, 64, ""},
      {"19.001 day 31 of April", Code(19, 1), Time(ivtDateTime, 2023, 4, 31, 1, 2, 3, 0), {70, 1, 1, 0, 0, 0, 0x24, 0}, 64, ""},
      {"19.001 1400-01-01, a Wednesday: the year less 1900 modulo 256", Code(19, 1), Time(ivtDateTime, 1400, 1, 1, 0, 0, 0, 0), {12, 1, 1, 0x60, 0, 0, 0x20, 0}, 64, ""},
      {"232.600", Code(232, 600), Bits(ivtDWord, 0x00123456), {0x12, 0x34, 0x56}, 24, ""},
  };
  for (const Sent& c : cases) {
    SCOPED_TRACE(c.label);
    LogCapture log;
    const auto group = TavValueToGroupValue(c.value, c.code);
    ASSERT_TRUE(group);
    EXPECT_EQ(OctetsOf(*group), c.octets);
    EXPECT_EQ(group->GetDefinedSize(), c.bits);
    EXPECT_TRUE(c.message[0] == '\0' ? log.Empty() : log.Equals({Error(c.message)}));
  }
}

TEST(TavValueToGroupValue, RefusesWithOneMessageOrSilently) {
  const double inf = std::numeric_limits<double>::infinity();
  const Sent cases[] = {
      {"byte for 9.001", Code(9, 1), Bits(ivtByte, 1), {}, 0, "Value type mismatch: Expected 'ivtFloat', got 'ivtByte'"},
      {"empty for 5.001", Code(5, 1), TAVVALUE(), {}, 0, "Value type mismatch: Expected 'ivtByte', got 'Empty'"},
      {"9.001 NaN", Code(9, 1), Real(std::nan("")), {}, 0, ""},
      {"9.001 infinity", Code(9, 1), Real(-inf), {}, 0, ""},
      {"17.001 64", Code(17, 1), Bits(ivtByte, 64), {}, 0, ""},
      {"4.001", Code(4, 1), TAVVALUE(), {}, 0, "Value type 4 not supported (dwDPT=262145 with value='ivt: 1, ToString(): ')."},
      {"24.001", Code(24, 1), Text("x"), {}, 0, "Value type 24 not supported (dwDPT=1572865 with value='ivt: 10, ToString(): x')."},
      {"25.1000", Code(25, 1000), Bits(ivtByte, 2), {}, 0, "Value type 25 not supported (dwDPT=1639400 with value='ivt: 6, ToString(): 2')."},
      {"main 0", Code(0, 0), TAVVALUE(), {}, 0, "Value type 0 not supported (dwDPT=0 with value='ivt: 1, ToString(): ')."},
      {"main 100", Code(100, 1), TAVVALUE(), {}, 0, "Value type 100 not supported (dwDPT=6553601 with value='ivt: 1, ToString(): ')."},
      {"11.001 2023-02-29", Code(11, 1), Time(ivtDate, 2023, 2, 29, 0, 0, 0, 0), {}, 0, "Not a valid date: 2023 2 29 0 0 0 0 0 0 0"},
      {"10.001 hour 25", Code(10, 1), Time(ivtDayTime, 2020, 1, 2, 25, 0, 0, 8), {}, 0, "Could not convert TAVTIME 2020 1 2 25 0 0 0 8 0 0 to TimeOfDay"},
      {"16.001 byte 0xFF", Code(16, 1), Text("a\xFF"), {}, 0, "Got TAVVALUE that contains a non-UTF8 string"},
  };
  for (const Sent& c : cases) {
    SCOPED_TRACE(c.label);
    LogCapture log;
    EXPECT_FALSE(TavValueToGroupValue(c.value, c.code));
    EXPECT_TRUE(c.message[0] == '\0' ? log.Empty() : log.Equals({Error(c.message)}));
  }
}

struct Received {
  const char* label;
  std::uint32_t code;
  Octets octets;
  std::uint32_t bits;
  TavValueType type;
  std::string text;
};

TEST(GroupValueToTavValue, DecodesEachMainNumber) {
  const Received cases[] = {
      {"1.001 six-bit short form", Code(1, 1), {0x01}, 6, ivtBool, "1"},
      {"2.001", Code(2, 1), {0x02}, 2, ivtByte, "2"},
      {"5.001", Code(5, 1), {0xC8}, 8, ivtByte, "200"},
      {"6.010 -1 kept as its octet", Code(6, 10), {0xFF}, 8, ivtByte, "255"},
      {"7.001", Code(7, 1), {0x12, 0x34}, 16, ivtWord, "4660"},
      {"8.001", Code(8, 1), {0xFF, 0xFF}, 16, ivtInteger, "-1"},
      {"9.001", Code(9, 1), {0x0C, 0x33}, 16, ivtFloat, "21.5"},
      {"12.001", Code(12, 1), {0xDE, 0xAD, 0xBE, 0xEF}, 32, ivtDWord, "3735928559"},
      {"13.001", Code(13, 1), {0x80, 0, 0, 0}, 32, ivtInteger, "-2147483648"},
      {"14.x", Code(14, 0), {0xC0, 0x20, 0, 0}, 32, ivtFloat, "-2.5"},
      {"16.001", Code(16, 1), {'G', 'r', 0xFC, 0xDF, 'e', 0, 0, 0, 0, 0, 0, 0, 0, 0}, 112, ivtString,
       "Gr\xC3\xBC\xC3\x9F"
       "e"},
      {"232.600", Code(232, 600), {0x12, 0x34, 0x56}, 24, ivtDWord, "1193046"},
      {"18.001 learn bit", Code(18, 1), {0x85}, 8, ivtByte, "133"},
      {"10.001 Fri 23:59:58", Code(10, 1), {0xB7, 0x3B, 0x3A}, 24, ivtDayTime, "0000-00-00 23:59:58.000 w=16 utc=0 dst=0"},
      {"11.001", Code(11, 1), {0x1C, 0x02, 0x17}, 24, ivtDate, "2023-02-28 00:00:00.000 w=2 utc=0 dst=0"},
      {"19.001", Code(19, 1), {123, 2, 28, 0x4D, 45, 7, 0x20, 0}, 64, ivtDateTime, "2023-02-28 13:45:07.000 w=2 utc=0 dst=0"},
      {"19.001 24:00:00 is midnight of the next day, a Wednesday", Code(19, 1), {123, 2, 28, 24, 0, 0, 0x20, 0}, 64, ivtDateTime, "2023-03-01 00:00:00.000 w=4 utc=0 dst=0"},
  };
  for (const Received& c : cases) {
    SCOPED_TRACE(c.label);
    LogCapture log(log4cplus::INFO_LOG_LEVEL);
    const auto value = GroupValueToTavValue(Group(c.octets, c.bits), c.code);
    ASSERT_TRUE(value);
    EXPECT_EQ(value->ivt, c.type);
    EXPECT_EQ(value->ToString(), c.text);
    EXPECT_TRUE(log.Empty());
  }
}

TEST(GroupValueToTavValue, DateOfFourOctetsIsRefused) {
  LogCapture log(log4cplus::WARN_LOG_LEVEL);  // raw octets beyond the three the table checks
  EXPECT_FALSE(GroupValueToTavValue(Group({0x1C, 0x02, 0x17, 0x00}, 24), Code(11, 1)));
  EXPECT_TRUE(log.Equals({Warn("Received an invalid DPT 11.001 date from the KNX: Length in bytes is 4, expected 3")}));
}

// A received 4-octet NaN goes back out with the bits it came with.
TEST(TavValueToGroupValue, FourOctetNaNKeepsItsBits) {
  for (const Octets& nan : {Octets{0xFF, 0xFF, 0xFF, 0xFF}, Octets{0x7F, 0xC0, 0, 0}, Octets{0xFF, 0xC1, 0x23, 0x45}}) {
    const auto value = GroupValueToTavValue(Group(nan, 32), Code(14, 56));
    ASSERT_TRUE(value);
    ASSERT_TRUE(std::isnan(value->GetDouble()));
    const auto group = TavValueToGroupValue(*value, Code(14, 56));
    ASSERT_TRUE(group);
    EXPECT_EQ(OctetsOf(*group), nan);
  }
}

// On a 64-bit host a code above 32 bits names no DPT: each function fails
// as for an unknown DPT and never converts with the low 32 bits.
TEST(GroupValueTavValue, CodesBeyond32BitsNameNoDpt) {
  if (sizeof(unsigned long) == 4) {
    GTEST_SKIP() << "unsigned long is 32 bits here";
  }
  const unsigned long wide = (static_cast<unsigned long>(1) << (sizeof(unsigned long) * 8 - 1)) | Code(9, 1);
  LogCapture log(log4cplus::INFO_LOG_LEVEL);
  EXPECT_FALSE(CheckGroupValue(Group({0x0C, 0x33}, 16), wide));
  EXPECT_FALSE(GroupValueToTavValue(Group({0x0C, 0x33}, 16), wide));
  EXPECT_FALSE(TavValueToGroupValue(Real(21.5), wide));
  const auto entries = log.Entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].text, "Unsupported DPT: " + std::to_string(wide >> 16) + ".1");
  EXPECT_EQ(entries[1].text, "Value type mismatch: Expected 'Empty', got 'ivtFloat'");
}

TEST(GroupValueToTavValue, RefusalsAreLogged) {
  LogCapture log(log4cplus::INFO_LOG_LEVEL);
  EXPECT_FALSE(GroupValueToTavValue(Group({0x41}, 8), Code(4, 1)));
  EXPECT_FALSE(GroupValueToTavValue(Group({0x41}, 8), Code(100, 7)));
  EXPECT_FALSE(GroupValueToTavValue(Group({0x0C, 0x33, 0, 0}, 32), Code(9, 1)));
  EXPECT_FALSE(GroupValueToTavValue(Group({0x01}, 8), Code(30, 1)));  // a type, no decoding
  EXPECT_FALSE(GroupValueToTavValue(Group({0x01}, 8), Code(22, 1)));  // no table row: too short
  const auto entries = log.Entries();
  ASSERT_EQ(entries.size(), 11u);
  EXPECT_EQ(entries[0].text, "Unsupported DPT: 4.1");
  EXPECT_EQ(entries[1].text, "Unsupported DPT: 100.7");
  EXPECT_EQ(entries[3].text, "Received invalid value 0c 33 00 00 for DPT 9.1");  // after the table's line
  EXPECT_EQ(entries[6].text, "Assume validity and accept value!");               // 30.1 passes the check, then nothing decodes it
  EXPECT_EQ(entries[10].text.rfind("Received a group value too short for DPT 22.1: ", 0), 0u);
}

TEST(GroupValueToTavValue, TimesEveryCall) {
  LogCapture log;
  GroupValueToTavValue(Group({0x01}, 1), Code(1, 1));
  bool timed = false;
  for (const auto& entry : log.Entries()) {
    timed = timed || (entry.level == log4cplus::DEBUG_LOG_LEVEL &&
                      entry.text.rfind("Decoding a KNX value took ", 0) == 0);
  }
  EXPECT_TRUE(timed);
}

TEST(CheckGroupValue, RelaysTheTablesVerdict) {
  LogCapture log;
  EXPECT_TRUE(CheckGroupValue(Group({0x0C, 0x33}, 16), Code(9, 1)));
  EXPECT_EQ(log.Entries().front().text, "DPT is 9.1 with bit size 16");
  EXPECT_FALSE(CheckGroupValue(Group({0x0C}, 8), Code(9, 1)));
  EXPECT_FALSE(CheckGroupValue(Group({0xFF}, 8), Code(5, 6)));
}

// Whatever arrives from the bus: a value, empty, or (DPT 19 only) the
// calendar's bad-month / bad-day error; never a crash or another exception.
TEST(GroupValueToTavValue, SurvivesGarbage) {
  LogCapture quiet(log4cplus::OFF_LOG_LEVEL);
  Octets octets;
  for (std::uint32_t main = 0; main <= 300; ++main) {
    for (std::size_t length = 0; length <= 14; ++length) {
      for (int pattern = 0; pattern < 3; ++pattern) {
        octets.assign(length, pattern == 0 ? 0x00 : 0xFF);
        for (std::size_t i = 0; pattern == 2 && i < length; ++i) {
          octets[i] = static_cast<std::uint8_t>(main * 37 + i * 101);
        }
        const std::uint32_t sizes[] = {static_cast<std::uint32_t>(8 * length), 6};
        for (std::uint32_t bits : sizes) {
          try {
            GroupValueToTavValue(Group(octets, bits), Code(main, 1));
            CheckGroupValue(Group(octets, bits), Code(main, 1));
          } catch (const std::out_of_range&) {
            EXPECT_EQ(main, 19u) << "length " << length;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace Zel
