// Object-model ids of COs, parameters and logical devices, and the value
// type, subtype and default value per DPT main number.
#include "Zel/KnxOmbMapping.h"

#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <ostream>
#include <vector>

namespace Zel {

std::ostream& operator<<(std::ostream& os, ParameterType type) {
  return os << static_cast<int>(type);
}

namespace {

using M = KnxOmbMapping;
using Id = M::ObjModelId;
const LogicalDeviceId kLd1(1);
const LogicalDeviceId kLd2(2);

TEST(KnxOmbMapping, FixedIds) {
  const std::pair<Id, Id> ids[] = {
      // {got, expected}; the predicates give 1 or 0
      {M::GetDeviceObjModelId(), 1000},
      {M::GetKnxDeviceObjModelId(), 1000},
      {M::GetLogicalKnxDeviceObjModelId(kLd2), 200000},
      {M::GetLastObjModelId(kLd1), 199999},
      {M::GetLastObjModelId(kLd2), 299999},
      {M::GetAppHostAppControlChannelObjModelId(kLd2), 200020},
      {M::GetAppHostAppControlStateObjModelId(kLd1), 100021},
      {M::GetAppHostAppControlEventObjModelId(kLd1), 100022},
      {M::GetAppHostAppControlAliveObjModelId(kLd2), 200023},
      {M::GetAppHostAppControlAppDebugObjModelId(kLd2), 200024},
      {M::IsAppHostAppControlState(200021, kLd2), 1},
      {M::IsAppHostAppControlState(100021, kLd2), 0},
      {M::IsAppHostAppControlEvent(100022, kLd1), 1},
      {M::IsAppHostAppControlAliveHeartbeat(100023, kLd1), 1},
      {M::IsAppHostAppControlAppDebug(200024, kLd2), 1},
  };
  for (std::size_t i = 0; i < std::size(ids); ++i)
    EXPECT_EQ(ids[i].first, ids[i].second) << "case " << i;
}

TEST(KnxOmbMapping, EveryCoAndParameterRoundTripsInBothLogicalDevices) {
  for (const LogicalDeviceId ld : {kLd1, kLd2}) {
    for (std::uint16_t co = 1; co <= 4095; ++co) {
      const auto channel = M::GetCoChannelObjModelId(co, ld);
      ASSERT_TRUE(channel && M::IsCoChannel(*channel)) << co;
      const Id value = *channel + 1;
      ASSERT_EQ(M::GetCoValueObjModelId(co, ld), value) << co;
      ASSERT_EQ(M::GetCoValueObjModelId(*channel), value) << co;
      ASSERT_EQ(M::GetCoNumberFromObjModelId(value, ld), co) << co;
      ASSERT_EQ(M::GetCoNumberFromObjModelId(value, kLd1), co) << co;  // either device (intended)
      ASSERT_FALSE(M::GetCoNumberFromObjModelId(*channel, ld)) << co;
    }
    const LogicalDeviceId other(3 - ld.Get());
    for (const auto type : {ParameterType::Ip, ParameterType::Number, ParameterType::Text}) {
      const std::uint16_t max = static_cast<std::uint16_t>(M::GetMaxParametersOfType(type));
      for (std::uint16_t n = 1; n <= max + 1; ++n) {
        SCOPED_TRACE(testing::Message() << "type " << type << ", ld " << ld.Get() << ", n " << n);
        const auto channel = M::GetParameterChannelObjModelId(n, ld, type);
        const auto value = M::GetParameterValueObjModelId(n, ld, type);
        ASSERT_EQ(type == ParameterType::Ip       ? M::GetIpParameterValueObjModelId(n, ld)
                  : type == ParameterType::Number ? M::GetNumberParameterValueObjModelId(n, ld)
                                                  : M::GetTextParameterValueObjModelId(n, ld),
                  value);
        ASSERT_EQ(channel.has_value(), n <= max);
        ASSERT_EQ(value, channel ? boost::optional<Id>(*channel + 1) : boost::none);
        if (!channel)
          continue;
        for (const Id id : {*channel, *value}) {  // a value id passes as a channel (intended)
          ASSERT_EQ(M::GetParameterValueObjModelId(id), id + 1);
          ASSERT_EQ(M::GetParameterTypeFromObjModelId(id, ld), type);
          ASSERT_FALSE(M::GetParameterTypeFromObjModelId(id, other));
          // Text numbers above 255 come back reduced modulo 256 (intended).
          ASSERT_EQ(M::GetParameterNumberFromObjModelId(id, ld), std::uint8_t(n % 256));
        }
      }
    }
  }
}

// Whether the block offset of `id` lies in one of `ranges`, for ids from `from` upwards.
bool InRanges(Id id, Id from, std::initializer_list<std::pair<Id, Id>> ranges) {
  for (const auto& [first, last] : ranges) {
    if (id >= from && id % 100000 >= first && id % 100000 <= last)
      return true;
  }
  return false;
}

TEST(KnxOmbMapping, PredicatesAcceptExactlyTheirRangesUpTo400000) {
  for (Id id = 0; id <= 400000; ++id) {
    const bool parameter = InRanges(id, 160000, {{2, 201}, {10002, 10401}, {20000, 21001}, {60002, 60201}, {70002, 70401}, {80000, 81001}});
    ASSERT_EQ(M::IsCoChannel(id), id % 2 == 0 && InRanges(id, 100000, {{100, 8288}})) << id;
    ASSERT_EQ(M::IsCoValue(id), id % 2 == 1 && InRanges(id, 100000, {{101, 8289}})) << id;
    ASSERT_EQ(M::IsParameterChannel(id), parameter) << id;
    ASSERT_EQ(M::IsAnyLogicalKnxDeviceId(id), id >= 100000) << id;
    const auto ld = M::GetLogicalDeviceIdFromObject(id);
    ASSERT_EQ(ld ? ld->Get() : 0, id >= 100000 && id < 300000 ? int(id / 100000) : 0) << id;
  }
}

TEST(KnxOmbMapping, DeliberateOddities) {
  EXPECT_EQ(M::GetCoChannelObjModelId(0, kLd1), Id{100098});  // not a CO channel
  EXPECT_FALSE(M::GetCoValueObjModelId(0, kLd1));
  EXPECT_FALSE(M::GetCoChannelObjModelId(4096, kLd2));
  EXPECT_EQ(M::GetCoNumberFromObjModelId(100101, kLd2), std::uint16_t{50001});
  EXPECT_EQ(M::GetParameterChannelObjModelId(0, kLd1, ParameterType::Ip), Id{160000});    // refused
  EXPECT_EQ(M::GetParameterChannelObjModelId(0, kLd1, ParameterType::Text), Id{180000});  // accepted
  EXPECT_EQ(M::GetParameterNumberFromObjModelId(180000, kLd1), std::uint8_t{0});
  EXPECT_FALSE(M::GetParameterTypeFromObjModelId(200002, kLd2));  // although a "channel"
  EXPECT_EQ(M::GetIpParameterValueObjModelId(100, kLd1), Id{160201});
  EXPECT_EQ(M::GetNumberParameterValueObjModelId(200, kLd1), Id{170401});
  EXPECT_EQ(M::GetTextParameterValueObjModelId(500, kLd1), Id{181001});
  EXPECT_EQ(M::GetMaxParametersOfType(static_cast<ParameterType>(3)), 0u);
}

// On a 64-bit host an id above 32 bits is no id of the device: whatever its
// low 32 bits, predicates answer false, decoders none, lookups "no row".
TEST(KnxOmbMapping, IdsBeyond32BitsAreNoIds) {
  if (sizeof(unsigned long) == 4) {
    GTEST_SKIP() << "unsigned long is 32 bits here";
  }
  const unsigned long high = 1ul << (sizeof(unsigned long) * 8 - 1);
  for (const unsigned long low : {100100ul, 100101ul, 160002ul, 160003ul, 180000ul, 200021ul}) {
    SCOPED_TRACE(low);
    const Id id = high | low;
    EXPECT_TRUE(M::IsAnyLogicalKnxDeviceId(low));
    EXPECT_FALSE(M::IsAnyLogicalKnxDeviceId(id));
    EXPECT_FALSE(M::IsCoChannel(id) || M::IsCoValue(id) || M::IsParameterChannel(id));
    EXPECT_FALSE(M::IsAppHostAppControlState(id, kLd2));
    EXPECT_FALSE(M::GetCoValueObjModelId(id) || M::GetParameterValueObjModelId(id));
    EXPECT_FALSE(M::GetCoNumberFromObjModelId(id, kLd1) || M::GetParameterTypeFromObjModelId(id, kLd1) ||
                 M::GetParameterNumberFromObjModelId(id, kLd1) || M::GetLogicalDeviceIdFromObject(id));
  }
  EXPECT_EQ(M::GetIvtFromMainType(high | 9), "Empty");
  EXPECT_EQ(M::GetIstFromMainType(high | 9), "Generic");
  EXPECT_EQ(M::GetDefaultValueFromDpt(high | (9ul << 16) | 1, false), "");
}

TEST(KnxOmbMapping, ValueTypeAndDefaultOfEveryMainNumber) {
  const std::pair<std::vector<std::uint32_t>, int> groups[] = {
      {{1}, 2}, {{2, 3, 5, 6, 17, 18, 20, 21, 23, 25, 26, 31, 238}, 6}, {{4, 29, 219, 222, 229, 230}, 1}, {{7, 22, 200, 201, 202, 217, 234, 237}, 7}, {{8, 13}, 4}, {{9, 14}, 3}, {{10}, 15}, {{11}, 11}, {{12, 15, 27, 30, 232}, 8}, {{16, 24, 28}, 10}, {{19}, 13}};
  std::map<std::uint32_t, TavValueType> rows;
  for (const auto& [mains, type] : groups) {
    for (const std::uint32_t main : mains)
      rows[main] = TavValueType(type);
  }
  for (std::uint32_t main = 0; main <= 300; ++main) {
    const bool hasRow = rows.count(main) == 1;
    const TavValueType type = hasRow ? rows[main] : TavValueType(1);
    const std::uint32_t code = (main << 16) | 1;
    EXPECT_EQ(M::GetIvtFromDpt(code), type) << main;
    EXPECT_EQ(M::GetIvtFromMainType(main), hasRow ? TAVVALUE::GetNameFromValueType(type) : "Empty") << main;
    EXPECT_TRUE(hasRow || M::GetIstFromMainType(main) == "Generic") << main;
    TAVVALUE parsed;  // the default has the row's type (an empty-type row's too: "1:"); no row: no default
    parsed.ivt = ivtNone;
    const std::string defaultText = M::GetDefaultValueFromDpt(code, false);
    EXPECT_TRUE(hasRow ? parsed.Deserialize(defaultText) && parsed.ivt == type : defaultText.empty()) << main;
  }
  EXPECT_EQ(M::GetIstFromMainType(1), "Switch");
  EXPECT_EQ(M::GetDefaultValueFromDpt(393236, false), "6:1");  // 6.020 (intended)
  EXPECT_EQ(M::GetDefaultValueFromDpt(393236, true), "6.7:1");
  EXPECT_EQ(M::GetDefaultValueFromDpt(393217, false), "6:0");
  EXPECT_EQ(M::GetDefaultValueFromDpt(655361, false), "15:0000-00-00 00:00:00.000 w=0 utc=0 dst=0");  // 10.001: no date, local time
}

using KnxOmbMappingDeathTest = ::testing::Test;
TEST_F(KnxOmbMappingDeathTest, EmptyCreatorWithAnotherTypeIsAProgrammingError) {
  EXPECT_DEATH(M::CreateDefaultValueEmpty(ivtFloat), "ZEL_ASSERT\\(emptyTavValue.ivt == ivt\\) failed");
}

}  // namespace
}  // namespace Zel
