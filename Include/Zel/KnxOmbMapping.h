// KnxOmbMapping: the object-model ids of the KNX items and the value type,
// subtype and default value of each DPT main number.
//
// Every item of the device-stack object model has an unsigned 32-bit id.
// With ld the logical KNX device (1 or 2), the layout is:
//   1000                                   the device (also the KNX device)
//   100000 * ld                            the logical KNX device
//   100000 * (ld + 1) - 1                  its last id
//   100000 * ld + 20                       its app-control channel; + 1 state,
//                                          + 2 event, + 3 alive, + 4 app debug
//   100000 * ld + 98 + 2 * c               channel of communication object c
//                                          (1..4095: c = 1 lands on offset 100)
//   100000 * ld + 60000 + 10000 * t + 2 * n
//                                          channel of parameter n of type t
//                                          (Ip 0, Number 1, Text 2)
// Channels are even; the value id of a channel is the odd id after it.
//
// The predicates and decoders keep some behaviour that callers depend on
// and that looks like a slip at first sight; each is marked "intended" at
// its declaration.
//
// Everything is static and side-effect free; all of it may be called from
// any thread. Failures give false or an empty optional; nothing logs.
//
// Ids, main numbers and DPT codes are `unsigned long` as on the device,
// where that is 32 bits; the arithmetic is 32-bit unsigned. On a 64-bit
// host an argument above 0xFFFFFFFF is an id no device has: predicates
// answer false, decoders none, and the DPT lookups "no row".
#pragma once

#include "Zel/BoundedInt.h"
#include "Zel/Export.h"

#include "BasePlatform/TavValue.h"

#include <boost/optional.hpp>

#include <cstdint>
#include <string>

namespace Zel {

class ZEL_EXPORT KnxOmbMapping {
 public:
  // 32 bits on the device; see the note on ids above 0xFFFFFFFF below.
  using ObjModelId = unsigned long;

  KnxOmbMapping() = delete;

  // Fixed ids. No range checks beyond those of LogicalDeviceId.
  static ObjModelId GetDeviceObjModelId();
  static ObjModelId GetKnxDeviceObjModelId();
  static ObjModelId GetLogicalKnxDeviceObjModelId(LogicalDeviceId ld);
  static ObjModelId GetLastObjModelId(LogicalDeviceId ld);
  static ObjModelId GetAppHostAppControlChannelObjModelId(LogicalDeviceId ld);
  static ObjModelId GetAppHostAppControlStateObjModelId(LogicalDeviceId ld);
  static ObjModelId GetAppHostAppControlEventObjModelId(LogicalDeviceId ld);
  static ObjModelId GetAppHostAppControlAliveObjModelId(LogicalDeviceId ld);
  static ObjModelId GetAppHostAppControlAppDebugObjModelId(LogicalDeviceId ld);

  // 100, 200 and 500 for Ip, Number and Text; 0 for any other value.
  static std::uint32_t GetMaxParametersOfType(ParameterType type);

  // id >= 100000, with no upper bound.
  static bool IsAnyLogicalKnxDeviceId(ObjModelId id);
  // id >= 100000, even, and 100 <= id % 100000 <= 8289 in any block of
  // 100000 (the logical device is not checked).
  static bool IsCoChannel(ObjModelId id);
  static bool IsCoValue(ObjModelId id);
  static bool IsAppHostAppControlState(ObjModelId id, LogicalDeviceId ld);
  static bool IsAppHostAppControlEvent(ObjModelId id, LogicalDeviceId ld);
  static bool IsAppHostAppControlAliveHeartbeat(ObjModelId id, LogicalDeviceId ld);
  static bool IsAppHostAppControlAppDebug(ObjModelId id, LogicalDeviceId ld);
  // True for the parameter channels AND their value ids (there is no parity
  // test, intended), in every block of 100000 from 160000 upwards, with both
  // halves of a block folded onto the parameter layout (intended): per block
  // the offsets 2..201 (Ip), 10002..10401 (Number) and 20000..21001 (Text,
  // from parameter number 0, intended), and the same plus 60000. The
  // channel of Ip or Number parameter 0 is refused.
  static bool IsParameterChannel(ObjModelId id);

  // None for c >= 4096. CO number 0 has a channel id, but that id is not a
  // CO channel, so it has no value id.
  static boost::optional<ObjModelId> GetCoChannelObjModelId(std::uint16_t coNumber,
                                                            LogicalDeviceId ld);
  // channelId + 1 when channelId is a CO channel.
  static boost::optional<ObjModelId> GetCoValueObjModelId(ObjModelId channelId);
  static boost::optional<ObjModelId> GetCoValueObjModelId(std::uint16_t coNumber,
                                                          LogicalDeviceId ld);
  // None when number > GetMaxParametersOfType(type).
  static boost::optional<ObjModelId> GetParameterChannelObjModelId(std::uint16_t number,
                                                                   LogicalDeviceId ld,
                                                                   ParameterType type);
  // channelId + 1 when IsParameterChannel(channelId); a value id passes
  // that test too, so this also answers for value ids (intended).
  static boost::optional<ObjModelId> GetParameterValueObjModelId(ObjModelId channelId);
  static boost::optional<ObjModelId> GetParameterValueObjModelId(std::uint16_t number,
                                                                 LogicalDeviceId ld,
                                                                 ParameterType type);
  static boost::optional<ObjModelId> GetIpParameterValueObjModelId(std::uint16_t number,
                                                                   LogicalDeviceId ld);
  static boost::optional<ObjModelId> GetNumberParameterValueObjModelId(std::uint16_t number,
                                                                       LogicalDeviceId ld);
  static boost::optional<ObjModelId> GetTextParameterValueObjModelId(std::uint16_t number,
                                                                     LogicalDeviceId ld);

  // The CO number of a CO value id: ((valueId % (100000 * ld)) - 100) / 2 + 1.
  // The id is not checked to lie in logical device ld (intended): with
  // ld = 1 the value ids of either device decode to their CO number, with
  // ld = 2 one of device 1 decodes to a large number (100101 gives 50001).
  static boost::optional<std::uint16_t> GetCoNumberFromObjModelId(ObjModelId valueId,
                                                                  LogicalDeviceId ld);
  // The type of a parameter channel or value id of logical device ld; an id
  // of the other device normally gives none.
  static boost::optional<ParameterType> GetParameterTypeFromObjModelId(ObjModelId id,
                                                                       LogicalDeviceId ld);
  // The parameter number of a channel or value id, in 8 bits: Text
  // parameters 256..500 come back modulo 256 (intended).
  static boost::optional<std::uint8_t> GetParameterNumberFromObjModelId(ObjModelId id,
                                                                        LogicalDeviceId ld);
  // id / 100000 for 100000 <= id < 300000.
  static boost::optional<LogicalDeviceId> GetLogicalDeviceIdFromObject(ObjModelId id);

  // Value types per DPT main number. A main number without a row answers
  // "Empty", ivtEmpty, "Generic" and "". Rows 4, 29, 219, 222, 229 and 230
  // exist with the empty type, so that both conversion directions refuse
  // them (intended).

  // The platform name of the row's value type (TAVVALUE::GetNameFromValueType).
  static std::string GetIvtFromMainType(unsigned long mainNumber);
  // The value type of the row of main = dptCode >> 16.
  static TavValueType GetIvtFromDpt(unsigned int dptCode);
  // The platform name of the row's subtype (TavDP::GetNameFromValueSubType).
  static std::string GetIstFromMainType(unsigned long mainNumber);
  // The default value of the DPT, serialised with TAVVALUE::Serialize(text,
  // internalFormat). DPT 6.020 (393236) is the byte 1 rather than the row's
  // default (intended); every other sub number gets the row's default.
  static std::string GetDefaultValueFromDpt(unsigned long dptCode, bool internalFormat);

  // The platform's empty value. REQUIRES: ivt is the type of that value,
  // ivtEmpty (asserted: a row pairing this creator with another type is a
  // programming error).
  static TAVVALUE CreateDefaultValueEmpty(TavValueType ivt);
};

}  // namespace Zel
