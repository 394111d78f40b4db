// zelknx's text readers on arbitrary text: a value of a value type
// (ParseValue), hex payloads (ParseHex), DPT spellings and group addresses
// (the lines of bus logs: ZelknxLogLineFuzz). Nothing may throw or crash; what is read must
// print and read back the same (values through FormatValue, payloads
// through their hex), and every JSON of it must print (text that is not
// UTF-8 included).
//
// Input layout: a value type selector, then the text.
#include "FuzzSupport.h"

#include "DptNames.h"
#include "GroupAddress.h"
#include "ValueText.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr std::array<TavValueType, 18> kTypes = {
    ivtNone, ivtEmpty,    ivtBool,       ivtFloat,   ivtInteger, ivtChar,
    ivtByte, ivtWord,     ivtDWord,      ivtBinary,  ivtString,  ivtDate,
    ivtTime, ivtDateTime, ivtTimePeriod, ivtDayTime, ivtCounter, ivtPercent};

void Check(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "ZelknxValueTextFuzz: %s\n", what);
    std::abort();
  }
}

bool IsIntegerOrBool(TavValueType type) {
  switch (type) {
    case ivtBool:
    case ivtChar:
    case ivtByte:
    case ivtWord:
    case ivtInteger:
    case ivtTimePeriod:
    case ivtDWord:
    case ivtCounter: return true;
    default: return false;
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Zel::Fuzz::InputReader input(data, size);
  const TavValueType type = kTypes[input.U8() % kTypes.size()];
  const std::string text(reinterpret_cast<const char*>(input.Rest()), input.RestSize());

  if (const auto value = Zelknx::ParseValue(type, text)) {
    const std::string printed = Zelknx::FormatValue(*value);
    Zelknx::DumpJson(
        nlohmann::ordered_json{{"value", Zelknx::JsonValue(*value)}, {"text", printed}});
    if (IsIntegerOrBool(type)) {
      const auto again = Zelknx::ParseValue(type, printed);
      Check(again && *again == *value, "an integer does not read back from its printed form");
    }
  }

  std::string error;
  if (const auto octets = Zelknx::ParseHex(text, error)) {
    std::string hex;
    for (const std::uint8_t octet : *octets) {
      static const char kDigits[] = "0123456789abcdef";
      hex += kDigits[octet >> 4];
      hex += kDigits[octet & 15];
    }
    const auto again = Zelknx::ParseHex(hex, error);
    Check(again && *again == *octets, "a payload does not read back from its hex");
  } else {
    Zelknx::DumpJson(nlohmann::ordered_json{{"error", error}});
  }

  if (const auto dpt = Zelknx::ParseDptSpelling(text)) {
    const auto again = Zelknx::ParseDpt(Zelknx::DptName(*dpt));
    Check(again && again->mainNumber == dpt->mainNumber && again->subNumber == dpt->subNumber,
          "a DPT does not read back from its name");
    Zelknx::FindDptName(*dpt);
  }
  Zelknx::ParseDptCode(text);
  if (const auto address = Zelknx::ParseGroupAddress(text)) {
    Check(Zelknx::ParseGroupAddress(Zelknx::GroupAddressText(*address)) == address,
          "a group address does not read back from its text");
  }
  return 0;
}
