// The KNX helper stand-in: UTF-8 text and the Latin-1 octets of KNX strings.
#include "ZelKnxHelper/KnxStrings.h"

#include <gtest/gtest.h>

#include <string>

namespace Zel {
namespace {

TEST(KnxStrings, Latin1OctetsRoundTripAndOtherCharactersBecomeQuestionMarks) {
  // U+0000..U+00FF in UTF-8: one octet below 0x80, else 0xC2 or 0xC3 and a continuation octet.
  std::string all, utf8;
  for (int octet = 0; octet <= 0xFF; ++octet) {
    all.push_back(static_cast<char>(octet));
    if (octet >= 0x80)
      utf8.push_back(static_cast<char>(0xC0 | octet >> 6));
    utf8.push_back(static_cast<char>(octet < 0x80 ? octet : 0x80 | (octet & 0x3F)));
  }
  EXPECT_EQ(getUTF8FromLatin1(KnxStyleString(all)), utf8);
  EXPECT_EQ(getLatin1FromUTF8Lossy(UTF8String(utf8)).str(), all);
  // U+0100, the euro sign and a four-octet character: one "?" each.
  EXPECT_EQ(getLatin1FromUTF8Lossy(UTF8String("\xC4\x80\xE2\x82\xAC"
                                              "a\xF0\x9F\x98\x80z"))
                .str(),
            "??a?z");
}

TEST(KnxStrings, CreateRefusesInvalidUtf8) {
  EXPECT_EQ(UTF8String::Create("gr\xC3\xBC\xC3\x9F")->str(), "gr\xC3\xBC\xC3\x9F");
  for (const char* text : {"\xFF", "a\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xE2\x82"}) {
    EXPECT_FALSE(UTF8String::Create(text)) << text;
  }
}

using KnxStringsDeathTest = ::testing::Test;
TEST_F(KnxStringsDeathTest, ConstructingFromInvalidUtf8IsAProgrammingError) {
  EXPECT_DEATH(UTF8String("a\xFF"),
               " ZEL_ASSERT\\(utf8::is_valid\\(value.begin\\(\\), value.end\\(\\)\\)\\) failed");
}

}  // namespace
}  // namespace Zel
