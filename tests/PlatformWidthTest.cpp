// Values whose width or signedness differs between a 64-bit build machine and
// the device (32-bit long, size_t and time_t; unsigned plain char), carried
// across the platform stand-ins: KNX octets -> GroupValue -> TAVVALUE -> its
// byte and text forms and back. Every hop must give the same numbers on both.
#include "BasePlatform/TavValue.h"
#include "KnxStack/GroupValue.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <type_traits>
#include <vector>

#if defined(__arm__)
// The armhf build has to have the device's ABI, or it tests something else.
static_assert(sizeof(long) == 4 && sizeof(std::size_t) == 4 && sizeof(std::time_t) == 4,
              "the device's long, size_t and time_t have 32 bits");
static_assert(!std::is_signed_v<char>, "plain char is unsigned on the device");
#if !defined(__ARM_PCS_VFP)
#error "the device uses the hard-float calling convention"
#endif
#endif

namespace {

using KnxStack::BinaryData;
using KnxStack::GroupValue;
using Octets = std::vector<std::uint8_t>;

GroupValue FromOctets(const Octets& octets) {
  return GroupValue(BinaryData(octets.data(), octets.size()),
                    static_cast<std::uint32_t>(8 * octets.size()));
}

Octets ToByteArray(const TAVVALUE& value) {
  unsigned char buffer[8] = {};
  unsigned int length = sizeof buffer;
  EXPECT_TRUE(TavValueToByteArray(value, buffer, length));
  return Octets(buffer, buffer + length);
}

TAVVALUE FromByteArray(TavValueType type, const Octets& octets) {
  TAVVALUE value;
  value.ivt = type;
  EXPECT_TRUE(ByteArrayToTavValue(octets.data(), static_cast<unsigned int>(octets.size()), value,
                                  false));
  return value;
}

TEST(PlatformWidth, ThirtyTwoBitValuesKeepExactlyThirtyTwoBits) {
  const struct {
    Octets octets;  // DPT 12 / DPT 13 payload, big-endian two's complement
    std::int32_t asSigned;
    std::uint32_t asUnsigned;
    std::string integerText, dwordText;  // TAVVALUE serial forms
  } cases[] = {
      {{0xFF, 0xFF, 0xFF, 0xFF}, -1, 4294967295u, "4:-1", "8:4294967295"},
      {{0x80, 0x00, 0x00, 0x00}, INT32_MIN, 2147483648u, "4:-2147483648", "8:2147483648"},
      {{0x7F, 0xFF, 0xFF, 0xFF}, INT32_MAX, 2147483647u, "4:2147483647", "8:2147483647"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dwordText);
    const GroupValue group = FromOctets(c.octets);
    EXPECT_EQ(group.GetAsSigned32(), c.asSigned);
    EXPECT_EQ(group.GetAsUnsigned32(), c.asUnsigned);

    TAVVALUE integer = FromByteArray(ivtInteger, c.octets);
    EXPECT_EQ(integer.GetInteger(), c.asSigned);
    TAVVALUE dword = FromByteArray(ivtDWord, c.octets);
    EXPECT_EQ(dword.GetDWord(), c.asUnsigned);
    EXPECT_EQ(ToByteArray(integer), c.octets);
    EXPECT_EQ(ToByteArray(dword), c.octets);

    std::string text;
    integer.Serialize(text, false);
    EXPECT_EQ(text, c.integerText);
    dword.Serialize(text, false);
    EXPECT_EQ(text, c.dwordText);
    TAVVALUE read;
    ASSERT_TRUE(read.Deserialize(c.integerText));
    EXPECT_EQ(read.GetInteger(), c.asSigned);
    ASSERT_TRUE(read.Deserialize(c.dwordText));
    EXPECT_EQ(read.GetDWord(), c.asUnsigned);

    GroupValue back;
    back.SetAsSigned32(read.GetInteger());
    EXPECT_EQ(back, group);
  }
}

TEST(PlatformWidth, OctetsAbove127StayAbove127) {
  for (const std::uint8_t octet : {0x80, 0xE9, 0xFF}) {
    SCOPED_TRACE(static_cast<int>(octet));
    const char latin1 = static_cast<char>(octet);

    GroupValue fromChar;
    fromChar.SetAsChar(latin1);
    EXPECT_EQ(fromChar, FromOctets({octet}));
    EXPECT_EQ(fromChar.GetAsUnsigned8(), octet);
    EXPECT_EQ(fromChar.GetAsSigned8(), octet - 256);

    GroupValue fromString;
    fromString.SetAsString14(std::string(1, latin1));
    EXPECT_EQ(fromString.GetRawData().GetUInt8Value(0), octet);
    EXPECT_EQ(fromString.GetAsString14(), std::string(1, latin1));

    TAVVALUE byte;
    byte.ivt = ivtByte;
    byte.SetByte(fromChar.GetAsUnsigned8());
    EXPECT_EQ(byte.GetInteger(), octet);  // no sign extension into the 32-bit storage
    EXPECT_EQ(ToByteArray(byte), Octets{octet});
    const TAVVALUE read = FromByteArray(ivtByte, {octet});
    EXPECT_EQ(read.GetByte(), octet);
    EXPECT_EQ(read.GetDWord(), std::uint32_t{octet});
  }
}

}  // namespace
