// Encodes arbitrary values of every value type for arbitrary DPT codes
// through TavValueToGroupValue, and decodes every result back
// (GroupValueToTavValue). Besides surviving, the encoder must keep two
// properties:
//   - a value whose type is not the DPT's (KnxOmbMapping::GetIvtFromDpt)
//     is refused;
//   - a group value it produces has the size of the KNX encoding it was
//     written with (1 bit for main 1, 2 for 2 and 23, 4 for 3, 8 for the
//     octet mains, 16, 24, 32, 64 or 112 bits for the others).
// The one exception allowed out is the decoder's std::out_of_range for
// main 19 (a date with month or day 0).
//
// Input layout: value type (1: index into the list below, or beyond it a
// raw number), main number (1), sub number (2), integer payload (4),
// double (8), time fields (11: year (2), month, day, hour, minute, second,
// millisecond (2), weekday mask, flags: bit 0 UTC, bit 1 DST), string (rest).
#include "FuzzSupport.h"

#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxOmbMapping.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace {

const TavValueType kTypes[] = {
    ivtNone,       ivtEmpty,    ivtBool,    ivtFloat,       ivtInteger, ivtChar,    ivtByte,
    ivtWord,       ivtDWord,    ivtBinary,  ivtString,      ivtDate,    ivtTime,    ivtDateTime,
    ivtTimePeriod, ivtDayTime,  ivtCounter, ivtDateTimeUtc, ivtTimeUtc, ivtDateUtc, ivtTimestamp,
    ivtPercent,    ivtEnumByte, ivtScaling, ivtDimming,     ivtAngle,
};
constexpr std::size_t kTypeCount = sizeof(kTypes) / sizeof(kTypes[0]);

// The size in bits of the encoding each main number is written with; 0
// where the encoder writes nothing.
std::uint32_t EncodedBits(unsigned int main) {
  switch (main) {
    case 1: return 1;
    case 2:
    case 23: return 2;
    case 3: return 4;
    case 5:
    case 6:
    case 17:
    case 18:
    case 20:
    case 21:
    case 26:
    case 238: return 8;
    case 7:
    case 8:
    case 9:
    case 22:
    case 217:
    case 234:
    case 237: return 16;
    case 10:
    case 11:
    case 232: return 24;
    case 12:
    case 13:
    case 14:
    case 15:
    case 27: return 32;
    case 19: return 64;
    case 16: return 112;
    default: return 0;
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Zel::Fuzz::InputReader input(data, size);
  const std::uint8_t typeCode = input.U8();
  const unsigned int main = input.U8();
  const std::uint32_t code = Zel::Fuzz::CodeOf(main, input.U16());
  TAVVALUE value;
  value.ivt = typeCode < kTypeCount ? kTypes[typeCode] : static_cast<TavValueType>(typeCode);
  value.SetDWord(input.U32());
  const std::uint64_t bits = input.U32() | (static_cast<std::uint64_t>(input.U32()) << 32);
  double number;
  std::memcpy(&number, &bits, sizeof number);
  value.SetDouble(number);
  TAVTIME& time = value.GetTime();
  time.year = input.U16();
  time.month = input.U8();
  time.day = input.U8();
  time.hour = input.U8();
  time.minute = input.U8();
  time.second = input.U8();
  time.millisecond = input.U16();
  time.weekDays = input.U8();
  const std::uint8_t flags = input.U8();
  time.utc = (flags & 1u) != 0;
  time.dst = (flags & 2u) != 0;
  value.SetString(std::string(reinterpret_cast<const char*>(input.Rest()), input.RestSize()));

  const boost::optional<KnxStack::GroupValue> encoded = Zel::TavValueToGroupValue(value, code);
  if (!encoded)
    return 0;
  if (value.ivt != Zel::KnxOmbMapping::GetIvtFromDpt(code)) {
    std::fprintf(stderr, "DPT code %u: value type %d encoded, the DPT's is %d\n", code, value.ivt,
                 Zel::KnxOmbMapping::GetIvtFromDpt(code));
    std::abort();
  }
  if (encoded->GetDefinedSize() != EncodedBits(main) ||
      encoded->GetRawData().GetLength() != (EncodedBits(main) + 7) / 8) {
    std::fprintf(stderr, "DPT code %u: encoded as %u bits in %zu octets, expected %u bits\n", code,
                 encoded->GetDefinedSize(), encoded->GetRawData().GetLength(), EncodedBits(main));
    std::abort();
  }
  try {
    Zel::GroupValueToTavValue(*encoded, code);
  } catch (const std::out_of_range&) {
    if (main != 19)
      throw;
  }
  return 0;
}
