// The KNX stack stand-in: group value encodings (octets as the KNX standard
// gives them), short-form reinterpretation, refusals of short buffers, and
// the byte buffer's inline and heap storage.
#include "KnxStack/GroupValue.h"

#include "AllocationCounter.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <iomanip>
#include <sstream>

namespace KnxStack {
namespace {

BinaryData Octets(const std::string& hex) {
  std::istringstream in(hex);
  BinaryData data;
  for (unsigned octet = 0, i = 0; in >> std::hex >> octet; ++i)
    data.SetUInt8Value(i, std::uint8_t(octet));
  return data;
}

template <typename T>
std::string Text(T value) {
  std::ostringstream out;
  out << std::setprecision(10) << +value;  // + prints 8-bit numbers as numbers
  return out.str();
}

// One accessor pair with values written as text, so that every encoding shares one table. Dates
// read "year-month-day", times of day "hour:minute:second weekday" (plus " invalid" when the
// getter says false).
struct Codec {
  const char* getter;
  std::uint32_t bits;
  std::function<void(GroupValue& g, const std::string& v)> set;  // empty: decoded only
  std::function<std::string(const GroupValue& g)> get;
};
template <class T, class R>
Codec Number(const char* getter, std::uint32_t bits, void (GroupValue::*set)(T), R (GroupValue::*get)() const) {
  return {getter, bits, [set](GroupValue& g, const std::string& v) { (g.*set)(static_cast<T>(std::stod(v))); },
          [get](const GroupValue& g) { return Text((g.*get)()); }};
}
const Codec b1 = Number("GetAsBoolean", 1, &GroupValue::SetAsBoolean, &GroupValue::GetAsBoolean),
            u2 = Number("GetAsUnsigned2", 2, &GroupValue::SetAsUnsigned2, &GroupValue::GetAsUnsigned2),
            u4 = Number("GetAsUnsigned4", 4, &GroupValue::SetAsUnsigned4, &GroupValue::GetAsUnsigned4),
            u8 = Number("GetAsUnsigned8", 8, &GroupValue::SetAsUnsigned8, &GroupValue::GetAsUnsigned8),
            s8 = Number("GetAsSigned8", 8, &GroupValue::SetAsSigned8, &GroupValue::GetAsSigned8),
            u16 = Number("GetAsUnsigned16", 16, &GroupValue::SetAsUnsigned16, &GroupValue::GetAsUnsigned16),
            s16 = Number("GetAsSigned16", 16, &GroupValue::SetAsSigned16, &GroupValue::GetAsSigned16),
            u32 = Number("GetAsUnsigned32", 32, &GroupValue::SetAsUnsigned32, &GroupValue::GetAsUnsigned32),
            s32 = Number("GetAsSigned32", 32, &GroupValue::SetAsSigned32, &GroupValue::GetAsSigned32),
            f16 = Number("GetAsFloat16", 16, &GroupValue::SetAsFloat16, &GroupValue::GetAsFloat16),
            f32 = Number("GetAsFloat32", 32, &GroupValue::SetAsFloat32, &GroupValue::GetAsFloat32);
// The 6-bit short form of sub-byte values; their getters read the low bits whatever the size.
const Codec u3short = {"GetAsUnsigned3", 6, nullptr, [](const GroupValue& g) { return Text(g.GetAsUnsigned3()); }};
const Codec str = {"GetAsString14", 112, [](GroupValue& g, const std::string& v) { g.SetAsString14(v); },
                   [](const GroupValue& g) { return g.GetAsString14(); }};
const Codec date = {"GetAsDate", 24,
                    [](GroupValue& g, const std::string& v) {
                      int y = 0, m = 0, d = 0;
                      std::sscanf(v.c_str(), "%d-%d-%d", &y, &m, &d);
                      g.SetAsDate(d, m, y);
                    },
                    [](const GroupValue& g) {
                      int y = -1, m = -1, d = -1;
                      g.GetAsDate(&d, &m, &y);
                      return Text(y) + "-" + Text(m) + "-" + Text(d);
                    }};
const Codec tod = {"GetAsTimeOfDay", 24,
                   [](GroupValue& g, const std::string& v) {
                     int h = 0, m = 0, s = 0, d = 0;
                     std::sscanf(v.c_str(), "%d:%d:%d %d", &h, &m, &s, &d);
                     g.SetAsTimeOfDay(h, m, s, static_cast<GroupValue::DayOfWeek>(d));
                   },
                   [](const GroupValue& g) {
                     int h = -1, m = -1, s = -1;
                     GroupValue::DayOfWeek d = GroupValue::Monday;
                     const bool valid = g.GetAsTimeOfDay(&h, &m, &s, &d);
                     return Text(h) + ":" + Text(m) + ":" + Text(s) + " " + Text(d) + (valid ? "" : " invalid");
                   }};

enum Way { kBoth,
           kEncode,
           kDecode };  // kEncode, kDecode: only that direction is checked
struct Row {
  const Codec& codec;
  std::string value, octets;
  Way way = kBoth;
};
const Row kRows[] = {
    {u2, "3", "03"},
    {u4, "15", "0f"},
    {u4, "31", "0f", kEncode},
    {u8, "255", "ff"},
    {s8, "-128", "80"},
    {u16, "65535", "ff ff"},
    {s16, "-32768", "80 00"},
    {u32, "4294967295", "ff ff ff ff"},
    {s32, "-2147483648", "80 00 00 00"},
    {f32, "-2.5", "c0 20 00 00"},
    {b1, "0", "fe", kDecode},
    {u3short, "6", "2e", kDecode},
    {f16, "0", "00 00"},
    {f16, "0.01", "00 01"},
    {f16, "670433.28", "7f fe"},
    {f16, "-671088.64", "f8 00"},
    // Rounded half away from zero; clamped; NaN and 32767 are the invalid-data word, decoded arithmetically.
    {f16, "-0.005", "87 ff", kEncode},
    {f16, "670700", "7f fe", kEncode},
    {f16, "nan", "7f ff", kEncode},
    {f16, "670760.96", "7f ff", kDecode},
    {str, "ABCDEFGHIJKLMNOP", "41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e", kEncode},
    {str, "ABCDEFGHIJKLMN", "41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e"},
    // Dates: the year boundaries; reserved bits ignored; the year octet 100 is no KNX year.
    {date, "2089-12-31", "1f 0c 59"},
    {date, "1990-1-1", "01 01 5a"},
    {date, "2090-1-1", "01 01 5a", kEncode},
    {date, "2100-1-1", "01 01 64", kDecode},
    {tod, "33:69:60 10", "41 05 3c", kEncode},  // masked to the widths
    {tod, "1:5:60 2 invalid", "41 05 3c", kDecode},
    {tod, "24:0:0 7 invalid", "f8 00 00", kDecode},
};

TEST(KnxStackGroupValue, AccessorsUseTheStandardEncodingsAndRefuseShortBuffers) {
  for (const Row& r : kRows) {
    SCOPED_TRACE(std::string(r.codec.getter) + " " + r.value + " <-> " + r.octets);
    if (r.way != kDecode) {
      GroupValue value(Octets("aa aa aa aa aa aa aa aa aa aa aa aa aa aa aa aa aa aa aa aa"), 160);
      r.codec.set(value, r.value);
      EXPECT_EQ(Text(value.GetDefinedSize()) + " bits " + value.GetRawData().ToString(),
                Text(r.codec.bits) + " bits " + r.octets);
    }
    const BinaryData full = Octets(r.octets);
    if (r.way != kEncode) {
      EXPECT_EQ(r.codec.get(GroupValue(full, r.codec.bits)), r.value);
    }
    try {
      r.codec.get(GroupValue(BinaryData(full.GetData(), full.GetLength() - 1), r.codec.bits));
      ADD_FAILURE() << "no exception on a short buffer";
    } catch (const GroupValueException& e) {
      EXPECT_NE(std::string(e.what()).find(r.codec.getter), std::string::npos) << e.what();
    }
  }
}

TEST(KnxStackBinaryData, CopiesInlineAndHeapStorageIndependently) {
  BinaryData heap = Octets("00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13");
  const std::string heapText = heap.ToString();
  BinaryData copy(heap), assigned = Octets("ff");
  assigned = heap;
  heap.SetUInt8Value(0, 0xee);
  copy = static_cast<const BinaryData&>(copy);  // self-assignment
  EXPECT_EQ(copy.ToString() + " / " + assigned.ToString(), heapText + " / " + heapText);
  assigned = Octets("01 02");  // a heap-backed buffer takes a short value
  EXPECT_EQ(assigned.ToString(), "01 02");
  GroupValue value;
  value.SetRawData(copy);
  EXPECT_EQ(value.GetDefinedSize(), 160u);
}

TEST(KnxStackBinaryData, PayloadsUpTo14OctetsNeedNoHeap) {
  const std::uint8_t octets[15] = {};
  const std::string text = "ABCDEFGHIJKLMN";
  Zel::Tests::AllocationCounter allocations;
  BinaryData data(octets, 14), copy(data);
  copy = data;
  GroupValue(copy, 112).SetAsString14(text);
  EXPECT_EQ(allocations.Count(), 0);
  const BinaryData longer(octets, 15);
  EXPECT_GE(allocations.Count(), 1);
}

}  // namespace
}  // namespace KnxStack
