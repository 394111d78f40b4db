// The KNX helper stand-in: UTF-8 text and the Latin-1 octets of KNX strings.
#include "ZelKnxHelper/KnxStrings.h"

#include <gtest/gtest.h>
#include <utf8.h>

#include <iterator>
#include <string>

namespace Zel {
namespace {

TEST(KnxStrings, Latin1OctetsRoundTripAndOtherCharactersBecomeQuestionMarks) {
  // Every octet, and U+0000..U+00FF in UTF-8.
  std::string all, utf8;
  for (char32_t octet = 0; octet <= 0xFF; ++octet) {
    all.push_back(static_cast<char>(octet));
    utf8::append(octet, std::back_inserter(utf8));
  }
  EXPECT_EQ(getUTF8FromLatin1(KnxStyleString(all)), utf8);
  EXPECT_EQ(getLatin1FromUTF8Lossy(UTF8String(utf8)).str(), all);
  // U+0100, the euro sign and a four-octet character: one "?" each.
  EXPECT_EQ(getLatin1FromUTF8Lossy(UTF8String(u8"\u0100\u20ACa\U0001F600z")).str(), "??a?z");
}

TEST(KnxStrings, CreateRefusesInvalidUtf8) {
  EXPECT_EQ(UTF8String::Create("gr\xC3\xBC\xC3\x9F")->str(), "gr\xC3\xBC\xC3\x9F");
  for (const char* text : {"\xFF", "a\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xE2\x82"}) {
    EXPECT_FALSE(UTF8String::Create(text)) << text;
  }
}

TEST(KnxStringsDeathTest, ConstructingFromInvalidUtf8IsAProgrammingError) {
  EXPECT_DEATH(UTF8String("a\xFF"),
               " ZEL_ASSERT\\(utf8::is_valid\\(value.begin\\(\\), value.end\\(\\)\\)\\) failed");
}

}  // namespace
}  // namespace Zel
