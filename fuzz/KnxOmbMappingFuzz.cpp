// The object-model id arithmetic, both ways:
//   parts -> id -> parts  a CO number, parameter number and type built into
//                         ids by the builders are decoded back to the same
//                         parts, and the builders agree with each other;
//   id -> parts -> id     an arbitrary id that a decoder takes apart is
//                         rebuilt from its parts to the same id (its
//                         channel's, for a value id).
// The deliberate exceptions of the id scheme are listed once where they
// are skipped. A failing check aborts with the numbers involved.
//
// Input layout: id (4), CO or parameter number (2), logical device (1,
// low bit: 1 or 2), parameter type (1, modulo 3).
#include "FuzzSupport.h"

#include "Zel/KnxOmbMapping.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using Zel::KnxOmbMapping;
using Zel::LogicalDeviceId;
using Zel::ParameterType;
using Id = KnxOmbMapping::ObjModelId;

void Expect(bool holds, const char* what, unsigned long long a, unsigned long long b, int ld) {
  if (holds)
    return;
  std::fprintf(stderr, "%s (%llu, %llu, logical device %d)\n", what, a, b, ld);
  std::abort();
}

void PartsToIdToParts(unsigned int number, LogicalDeviceId ld, ParameterType type) {
  const int l = ld.Get();
  const auto coChannel =
      KnxOmbMapping::GetCoChannelObjModelId(static_cast<std::uint16_t>(number), ld);
  Expect(coChannel.has_value() == (number < 4096), "CO channel built iff the number is below 4096",
         number, 0, l);
  // CO number 0 has a channel id that IsCoChannel rejects (offset 98).
  if (coChannel && number >= 1) {
    Expect(KnxOmbMapping::IsCoChannel(*coChannel), "built CO channel is a CO channel", number,
           *coChannel, l);
    const auto value = KnxOmbMapping::GetCoValueObjModelId(*coChannel);
    Expect(value && *value == *coChannel + 1, "CO value follows its channel", number, *coChannel,
           l);
    Expect(KnxOmbMapping::GetCoValueObjModelId(static_cast<std::uint16_t>(number), ld) == value,
           "both CO value builders agree", number, *value, l);
    Expect(KnxOmbMapping::IsCoValue(*value), "built CO value is a CO value", number, *value, l);
    const auto back = KnxOmbMapping::GetCoNumberFromObjModelId(*value, ld);
    Expect(back && *back == number, "CO number decoded back", number, *value, l);
    Expect(!KnxOmbMapping::GetCoNumberFromObjModelId(*coChannel, ld),
           "a channel id has no CO number", number, *coChannel, l);
    const auto device = KnxOmbMapping::GetLogicalDeviceIdFromObject(*value);
    Expect(device && *device == ld, "CO value lies in its logical device", number, *value, l);
  }

  const unsigned int max = KnxOmbMapping::GetMaxParametersOfType(type);
  const auto channel =
      KnxOmbMapping::GetParameterChannelObjModelId(static_cast<std::uint16_t>(number), ld, type);
  Expect(channel.has_value() == (number <= max),
         "parameter channel built iff the number is within the type's", number, max, l);
  if (!channel)
    return;
  const auto value =
      KnxOmbMapping::GetParameterValueObjModelId(static_cast<std::uint16_t>(number), ld, type);
  Expect(value && *value == *channel + 1, "parameter value follows its channel", number, *channel,
         l);
  const auto typed =
      type == ParameterType::Ip       ? KnxOmbMapping::GetIpParameterValueObjModelId(number, ld)
      : type == ParameterType::Number ? KnxOmbMapping::GetNumberParameterValueObjModelId(number, ld)
                                      : KnxOmbMapping::GetTextParameterValueObjModelId(number, ld);
  Expect(typed == value, "the typed parameter builder agrees", number, *value, l);
  // Number 0 of Ip and Number lands on an offset IsParameterChannel rejects.
  if (!KnxOmbMapping::IsParameterChannel(*channel)) {
    Expect(number == 0 && type != ParameterType::Text,
           "only number 0 of Ip and Number is no channel", number, *channel, l);
    return;
  }
  Expect(KnxOmbMapping::GetParameterValueObjModelId(*channel) == value, "value of the channel id",
         number, *channel, l);
  for (const Id id : {*channel, *value}) {
    const auto decodedType = KnxOmbMapping::GetParameterTypeFromObjModelId(id, ld);
    Expect(decodedType && *decodedType == type, "parameter type decoded back", number, id, l);
    const auto decodedNumber = KnxOmbMapping::GetParameterNumberFromObjModelId(id, ld);
    // Decoded to 8 bits: Text numbers 256..500 come back modulo 256 (intended).
    Expect(decodedNumber && *decodedNumber == (number & 0xFFu), "parameter number decoded back",
           number, id, l);
  }
}

void IdToPartsToId(Id id, LogicalDeviceId ld) {
  const int l = ld.Get();
  Expect(KnxOmbMapping::IsAnyLogicalKnxDeviceId(id) == (id >= 100000),
         "logical device ids from 100000", id, 0, l);
  const auto device = KnxOmbMapping::GetLogicalDeviceIdFromObject(id);
  Expect(device.has_value() == (id >= 100000 && id < 300000),
         "logical device of ids 100000..299999", id, 0, l);
  if (device) {
    Expect(KnxOmbMapping::GetLogicalKnxDeviceObjModelId(*device) <= id &&
               id <= KnxOmbMapping::GetLastObjModelId(*device),
           "an id lies between its logical device's first and last id", id, 0, l);
  }
  // Only ids inside ld's own block are rebuilt: the decoders deliberately do
  // not check that an id belongs to the logical device they are given.
  const bool own = device && *device == ld;
  if (const auto number = KnxOmbMapping::GetCoNumberFromObjModelId(id, ld); number && own) {
    Expect(KnxOmbMapping::GetCoValueObjModelId(*number, ld) == boost::optional<Id>(id),
           "CO value id rebuilt", id, *number, l);
  }
  if (KnxOmbMapping::IsCoChannel(id)) {
    Expect(KnxOmbMapping::GetCoValueObjModelId(id) == boost::optional<Id>(id + 1),
           "value id of a CO channel", id, 0, l);
  }
  const auto type = KnxOmbMapping::GetParameterTypeFromObjModelId(id, ld);
  const auto number = KnxOmbMapping::GetParameterNumberFromObjModelId(id, ld);
  Expect(type.has_value() == number.has_value(), "a parameter id has both type and number", id, 0,
         l);
  if (type && own) {
    const Id channelId = id & ~Id(1);
    const auto rebuilt = KnxOmbMapping::GetParameterChannelObjModelId(*number, ld, *type);
    // Text numbers 256..500 decode modulo 256 (intended), so their ids are
    // rebuilt 512 lower.
    const bool folded = *type == ParameterType::Text && rebuilt && *rebuilt != channelId &&
                        channelId - *rebuilt == 512;
    Expect(folded || rebuilt == boost::optional<Id>(channelId), "parameter channel id rebuilt", id,
           *number, l);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Zel::Fuzz::InputReader input(data, size);
  const Id id = input.U32();
  const unsigned int number = input.U16();
  const LogicalDeviceId ld((input.U8() & 1u) + 1);
  const auto type = static_cast<ParameterType>(input.U8() % 3);
  PartsToIdToParts(number, ld, type);
  IdToPartsToId(id, ld);
  return 0;
}
