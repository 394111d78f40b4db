// The base-platform stand-in: TAVVALUE's serial text and byte forms, the
// TAVTIME calendar and ZelApp::TimeOfDay.
#include "BasePlatform/TavValue.h"
#include "BasePlatform/TimeOfDay.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <limits>
#include <type_traits>
#include <vector>

#if defined(__arm__)
// The armhf build has to have the device's ABI, or every test here tests something else.
static_assert(sizeof(long) == 4 && sizeof(std::size_t) == 4 && sizeof(std::time_t) == 4,
              "the device's long, size_t and time_t have 32 bits");
static_assert(!std::is_signed_v<char>, "plain char is unsigned on the device");
#if !defined(__ARM_PCS_VFP)
#error "the device uses the hard-float calling convention"
#endif
#endif

namespace {

using Octets = std::vector<unsigned char>;

// A value of `type` with the given storage; only the type's own part matters.
TAVVALUE V(TavValueType type, std::uint32_t bits = 0, double number = 0.0, std::string text = {},
           TAVTIME time = TAVTIME()) {
  TAVVALUE value;
  value.ivt = type;
  value.SetDWord(bits);
  value.SetDouble(number);
  value.SetString(std::move(text));
  value.SetTime(time);
  return value;
}
TAVVALUE D(TavValueType type, double number) {
  return V(type, 0, number);
}
TAVVALUE T(TavValueType type, const TAVTIME& time) {
  return V(type, 0, 0, {}, time);
}

TAVTIME DateTime(std::uint16_t y, std::uint8_t mo, std::uint8_t d, std::uint8_t h = 0,
                 std::uint8_t mi = 0, std::uint8_t s = 0, bool utc = true) {
  TAVTIME t;
  EXPECT_TRUE(t.SetDateTime(y, mo, d, h, mi, s, utc));
  return t;
}

// A value that no case produces, to show that a failed call changed nothing.
const TAVVALUE kPoison = V(ivtAngle, 77, -123.25, "poison");

// Every field away from its default, to show what a call resets.
const TAVTIME kAllFields = [] {
  TAVTIME t = DateTime(9999, 12, 31, 23, 59, 59, false);
  t.millisecond = 999;
  t.weekDays = 0x7F;
  t.dst = true;
  return t;
}();

TEST(TavValue, SerialFormRoundTripsEveryType) {
  // The default form; the internal form puts ".7" after the type. Every NaN is written "nan".
  const std::pair<TAVVALUE, std::string> cases[] = {
      {TAVVALUE(), "1:"},
      {V(ivtNone), "0:"},
      {V(ivtBool, 1), "2:1"},
      {D(ivtDimming, -HUGE_VAL), "1037:-inf"},
      {D(ivtFloat, 0.1 + 0.2), "3:0.30000000000000004"},
      {D(ivtFloat, -std::numeric_limits<double>::quiet_NaN()), "3:nan"},
      {D(ivtScaling, -0.0), "1036:-0"},
      {D(ivtPercent, HUGE_VAL), "1005:inf"},
      {V(ivtInteger, 0x80000000u), "4:-2147483648"},
      {V(ivtChar, 255), "5:255"},
      {V(ivtByte, 0), "6:0"},
      {V(ivtWord, 65535), "7:65535"},
      {V(ivtDWord, 0xFFFFFFFFu), "8:4294967295"},
      {V(ivtBinary, 0, 0, std::string("\0\xAB\xFF", 3)), "9:00abff"},
      {V(ivtString), "10:"},
      {V(ivtString, 0, 0, "a:b 1.7: \xC3\xBC\xE2\x82\xAC"), "10:a:b 1.7: \xC3\xBC\xE2\x82\xAC"},
      {T(ivtDate, DateTime(2024, 2, 29)), "11:2024-02-29 00:00:00.000 w=8 utc=1 dst=0"},
      {V(ivtTime), "12:0000-00-00 00:00:00.000 w=0 utc=1 dst=0"},
      {T(ivtDayTime, kAllFields), "15:9999-12-31 23:59:59.999 w=127 utc=0 dst=1"},
  };
  for (const auto& [value, text] : cases) {
    const std::size_t colon = text.find(':');
    const std::string internal = text.substr(0, colon) + ".7" + text.substr(colon);
    std::string out = "stale", outInternal = "stale";
    value.Serialize(out, false);
    value.Serialize(outInternal, true);
    EXPECT_EQ(out + " | " + outInternal + " | " + value.ToString(),
              text + " | " + internal + " | " + text.substr(colon + 1));
    for (const std::string& form : {text, internal}) {
      TAVVALUE read = kPoison;  // equal: NaNs equal each other; 0 and -0 differ
      EXPECT_TRUE(read.Deserialize(form) && read == value) << form << " read as " << read.ToString();
    }
  }
}

TEST(TavValue, DeserializeRefusesGarbageAndKeepsTheValue) {
  const std::string time = "0000-00-00 00:00:00.000 w=0 utc=1 dst=0";
  const std::string garbage[] = {
      "",
      "3",
      "x:1",
      "99:1",
      "3.8:1",
      "1:x",
      "6:256",
      "7:65536",
      "4:2147483648",
      "8:-1",
      "4: 1",
      "4:0x10",
      "3:abc",
      "3:1e999",
      "9:abc",
      "12:" + time + " ",
      "11:2023-02-29 00:00:00.000 w=0 utc=1 dst=0",
      "11:2024-00-10 00:00:00.000 w=0 utc=1 dst=0",
      "12:0000-00-00 24:00:00.000 w=0 utc=1 dst=0",
      "12:0000-00-00 00:00:00.000 w=128 utc=1 dst=0",
      "12:0000-00-00 0:00:00.000 w=0 utc=1 dst=0",
      "12:2024-1-01 00:00:00.000 w=0 utc=1 dst=0",
  };
  for (const std::string& text : garbage) {
    TAVVALUE value = kPoison;
    EXPECT_FALSE(value.Deserialize(text)) << '"' << text << '"';
    EXPECT_EQ(value, kPoison) << text;
    EXPECT_EQ(value.GetString(), "poison") << text;
  }
}

TEST(TavTime, CalendarWeekdayAndTm) {
  // The weekday mask SetDate gives the date; 0: an invalid date, which SetDate refuses, changing nothing.
  const struct {
    std::uint16_t y;
    std::uint8_t m, d;
    std::uint32_t weekDays;
  } dates[] = {
      {2024, 2, 29, 8},
      {2023, 2, 29, 0},
      {1900, 2, 29, 0},
      {2000, 2, 29, 2},
      {2023, 4, 31, 0},
      {1, 1, 1, 1},
      {9999, 12, 31, 16},
      {0, 1, 1, 0},
      {2023, 0, 1, 0},
      {2023, 1, 0, 0},
  };
  for (const auto& c : dates) {
    SCOPED_TRACE(std::to_string(c.y) + "-" + std::to_string(c.m) + "-" + std::to_string(c.d));
    TAVTIME t = kAllFields;
    const bool set = t.SetDate(c.y, c.m, c.d, false);
    EXPECT_EQ(TAVTIME::IsValidDate(c.y, c.m, c.d), set);
    EXPECT_EQ(set ? t.weekDays : t == kAllFields ? 0u
                                                 : 999u,
              c.weekDays);
  }
  EXPECT_TRUE(TAVTIME::IsValidTime(23, 59, 59));
  EXPECT_FALSE(TAVTIME::IsValidTime(24, 0, 0) || TAVTIME::IsValidTime(0, 60, 0) || TAVTIME::IsValidTime(0, 0, 60));

  TAVTIME t = kAllFields;
  ASSERT_TRUE(t.SetDate(2023, 1, 1, false));
  EXPECT_FALSE(t.SetDateTime(2024, 2, 29, 24, 0, 0, true));  // refused, changing nothing
  EXPECT_EQ(T(ivtDate, t).ToString(), "2023-01-01 00:00:00.000 w=64 utc=0 dst=0");

  const std::tm tm = kAllFields.ToTm();  // tm_wday 0: the mask holds more than one day
  EXPECT_EQ(std::vector<int>({tm.tm_year, tm.tm_mon, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, tm.tm_wday,
                              tm.tm_yday, tm.tm_isdst}),
            std::vector<int>({8099, 11, 31, 23, 59, 59, 0, 364, 1}));
  EXPECT_EQ(DateTime(2024, 2, 29).ToTm().tm_wday, 4);  // Thursday
}

TEST(TavTime, AssignSecondsSinceEpoch) {
  const std::pair<std::int64_t, std::string> cases[] = {
      // each followed by " utc=1 dst=0"
      {0, "1970-01-01 00:00:00.000 w=8"},
      {-1, "1969-12-31 23:59:59.000 w=4"},
      {951782400, "2000-02-29 00:00:00.000 w=2"},
      {INT32_MAX, "2038-01-19 03:14:07.000 w=2"},
      // Beyond 32 bits, where long has 64; outside the years 1..9999 the record is cleared.
      {253402300799, "9999-12-31 23:59:59.000 w=16"},
      {-62135596800, "0001-01-01 00:00:00.000 w=1"},
      {253402300800, "0000-00-00 00:00:00.000 w=0"},
  };
  for (const auto& [seconds, text] : cases) {
    if (seconds != static_cast<long>(seconds))
      continue;  // long has 32 bits
    TAVTIME time = kAllFields;
    time = static_cast<long>(seconds);
    EXPECT_EQ(T(ivtDateTimeUtc, time).ToString(), text + " utc=1 dst=0") << seconds;
  }
}

TEST(TavValueByteArray, WritesAndReadsOnlyWithinTheGivenLength) {
  const TAVVALUE text = V(ivtString, 0, 0, "abc");
  const TAVVALUE time = T(ivtDateTime, DateTime(2024, 2, 29, 13, 14, 15));
  TAVTIME noDate = kAllFields;
  noDate.day = 32;
  // Each value is written into a buffer of exactly `capacity` octets, and that buffer read back
  // into a value of the same type, so ASan sees any access beyond the length. `written` empty:
  // refused, nothing changed.
  const struct {
    const char* label;
    TAVVALUE value;
    unsigned capacity;
    Octets written;
    const char* read;
  } cases[] = {
      {"byte", V(ivtByte, 0xAB), 1, {0xAB}, "171"},
      {"byte, no room", V(ivtByte, 1), 0, {}, "refused"},
      {"word", V(ivtWord, 0x1234), 2, {0x12, 0x34}, "4660"},
      {"empty", TAVVALUE(), 24, {}, "refused"},
      {"integer", V(ivtInteger, 0xFFFFFFFEu), 4, {0xFF, 0xFF, 0xFF, 0xFE}, "-2"},
      {"double in 3", D(ivtFloat, 1), 3, {}, "refused"},
      {"dword in 8", V(ivtDWord, 0x01020304), 8, {1, 2, 3, 4}, "16909060"},
      {"double to octet", D(ivtPercent, 21.5), 1, {22}, "22"},
      {"octet, clamped", D(ivtFloat, 255.7), 1, {255}, "255"},
      {"double to float", D(ivtFloat, 21.5), 4, {0x41, 0xAC, 0, 0}, "21.5"},
      {"float, overflow", D(ivtFloat, 1e300), 4, {0x7F, 0x80, 0, 0}, "inf"},
      {"double", D(ivtFloat, 21.5), 8, {0x40, 0x35, 0x80, 0, 0, 0, 0, 0}, "21.5"},
      {"string, cut", text, 2, {'a', 'b'}, "ab"},
      {"string in 5", text, 5, {'a', 'b', 'c'}, "abc\xEE\xEE"},
      {"time", time, 7, {0x07, 0xE8, 2, 29, 13, 14, 15}, "2024-02-29 13:14:15.000 w=8 utc=1 dst=0"},
      {"time, no room", time, 6, {}, "refused"},
      {"invalid date", T(ivtDate, noDate), 7, {0x27, 0x0F, 12, 32, 23, 59, 59}, "refused"},
  };
  for (const auto& c : cases) {
    Octets buffer(c.capacity, 0xEE);
    unsigned int length = c.capacity;
    const bool written = TavValueToByteArray(c.value, buffer.data(), length);
    const bool untouched = length == c.capacity && buffer == Octets(c.capacity, 0xEE);
    EXPECT_EQ(written ? Octets(buffer.begin(), buffer.begin() + length) : untouched ? Octets()
                                                                                    : Octets(3, 0xBA),
              c.written)
        << c.label;
    TAVVALUE value = kPoison, before = kPoison;
    value.ivt = before.ivt = c.value.ivt;
    const bool read = ByteArrayToTavValue(buffer.data(), c.capacity, value, false);
    EXPECT_EQ(read ? value.ToString() : value == before ? "refused"
                                                        : "refused, but changed",
              c.read)
        << c.label;
  }
  // Bit-sized: bit 0 of the first octet, into the integer storage whatever the type.
  TAVVALUE value = kPoison;
  const Octets octets = {0xFE, 0x01};
  EXPECT_TRUE(ByteArrayToTavValue(&octets[1], 1, value, true) && value.GetDWord() == 1 && value.GetDouble() == -123.25);
  EXPECT_TRUE(ByteArrayToTavValue(octets.data(), 2, value, true) && value.GetDWord() == 0);
  EXPECT_FALSE(ByteArrayToTavValue(nullptr, 0, value, true));
}

TEST(TimeOfDay, CreateChecksEachField) {
  using ZelApp::TimeOfDay;
  const auto last = TimeOfDay::Create(23, 59, 59, ZelApp::Sunday);
  ASSERT_TRUE(last && TimeOfDay::Create(0, 0, 0, ZelApp::NoDay));
  EXPECT_EQ(std::vector<int>({last->GetHour(), last->GetMinute(), last->GetSecond(), last->GetWeekday()}),
            std::vector<int>({23, 59, 59, 7}));
  const int bad[][4] = {{24, 0, 0, 0}, {-1, 0, 0, 0}, {0, 60, 0, 0}, {0, -1, 0, 0}, {0, 0, 60, 0}, {0, 0, -1, 0}, {0, 0, 0, 8}, {0, 0, 0, -1}};
  for (const auto& b : bad) {
    EXPECT_FALSE(TimeOfDay::Create(b[0], b[1], b[2], static_cast<ZelApp::DayOfWeek>(b[3])))
        << b[0] << ':' << b[1] << ':' << b[2] << " day " << b[3];
  }
}

}  // namespace
