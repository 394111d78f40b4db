#include "Zel/KnxOmbMapping.h"

#include "DptCatalogue.h"
#include "NumericCast.h"
#include "Zel/KnxDpt.h"
#include "Zel/TavValueHelper.h"

#include "ZelLog/Logging.h"

#include <functional>
#include <initializer_list>

namespace Zel {
namespace {

using ObjModelId = KnxOmbMapping::ObjModelId;
using Id = std::uint32_t;  // what the arithmetic works in

constexpr Id kDeviceId = 1000;
constexpr Id kBlock = 100000;  // ids of one logical device
constexpr Id kAppControlOffset = 20;
constexpr Id kCoOffset = 98;  // channel of CO number 0
constexpr Id kCoFirstOffset = 100;
constexpr Id kCoLastOffset = 8289;  // value id of CO number 4095
constexpr std::uint32_t kCoNumbers = 4096;
constexpr Id kParameterOffset = 60000;
constexpr Id kParameterTypeSpan = 10000;

Id Base(LogicalDeviceId ld) {
  return kBlock * static_cast<Id>(ld.Get());
}

Id TypeNumber(ParameterType type) {
  return static_cast<Id>(static_cast<int>(type));
}

// The parameter channel without the range check of its number.
Id ParameterChannel(std::uint16_t number, LogicalDeviceId ld, ParameterType type) {
  return Base(ld) + kParameterOffset + kParameterTypeSpan * TypeNumber(type) + 2u * number;
}

// The parameter value id of `type`, up to `max` (inclusive).
boost::optional<ObjModelId> ParameterValue(std::uint16_t number, LogicalDeviceId ld,
                                           ParameterType type, std::uint32_t max) {
  if (number > max) {
    return boost::none;
  }
  return ObjModelId{ParameterChannel(number, ld, type) + 1};
}

bool IsCoChannel32(Id id) {
  const Id offset = id % kBlock;
  return id >= kBlock && offset >= kCoFirstOffset && offset <= kCoLastOffset && id % 2 == 0;
}

bool IsParameterChannel32(Id id) {
  if (id <= kBlock + kParameterOffset - 1) {
    return false;
  }
  // Both halves of a block fold onto the parameter layout (intended).
  Id r = (id % kBlock) % kParameterOffset;
  if (r <= 1 || r - 2 > 3 * kParameterTypeSpan - 1) {
    return false;
  }
  const Id type = (r - 2) / kParameterTypeSpan;
  if (type >= 1) {
    // Offsets 20000 and 20001 fold onto Number's 0 and pass as Text 0 (intended).
    r %= kParameterTypeSpan * type;
  }
  // Halving without a parity test lets value ids pass too (intended).
  return KnxOmbMapping::GetMaxParametersOfType(static_cast<ParameterType>(type)) >= r / 2;
}

boost::optional<ParameterType> ParameterType32(Id id, LogicalDeviceId ld) {
  if (!IsParameterChannel32(id)) {
    return boost::none;
  }
  const Id r = id % (Base(ld) + kParameterOffset);
  if (r > 3 * kParameterTypeSpan - 1) {
    return boost::none;
  }
  return static_cast<ParameterType>(r / kParameterTypeSpan);
}

// Zero of the type that T stands for; ToTavValue asserts that it is the
// row's type.
template <class T>
TAVVALUE CreateDefaultValueZero(TavValueType ivt) {
  return ToTavValue<T>(T{}, ivt);
}

TAVVALUE CreateDefaultValueEmptyString(TavValueType ivt) {
  return ToTavValue(std::string(), ivt);
}

// No date and midnight, local time, no weekday.
TAVVALUE CreateDefaultValueTime(TavValueType ivt) {
  ZEL_ASSERT(ivt == ivtDate || ivt == ivtDateTime || ivt == ivtDayTime);
  TAVVALUE value;
  value.ivt = ivt;
  value.GetTime().Clear(false);
  return value;
}

using Creator = TAVVALUE (*)(TavValueType);

// The creator of a row's default value: one of the row's own type, so that
// every default agrees with the type the row announces.
Creator CreatorOf(const Catalogue::MainRow& row) {
  switch (row.defaultValue) {
    case Catalogue::DefaultValue::None: return nullptr;
    case Catalogue::DefaultValue::Empty: return &KnxOmbMapping::CreateDefaultValueEmpty;
    case Catalogue::DefaultValue::EmptyText: return &CreateDefaultValueEmptyString;
    case Catalogue::DefaultValue::NoDate: return &CreateDefaultValueTime;
    case Catalogue::DefaultValue::Zero:
      switch (row.modelType) {
        case ivtBool: return &CreateDefaultValueZero<bool>;
        case ivtByte: return &CreateDefaultValueZero<unsigned char>;
        case ivtWord: return &CreateDefaultValueZero<unsigned short>;
        case ivtInteger: return &CreateDefaultValueZero<long>;
        case ivtFloat: return &CreateDefaultValueZero<double>;
        case ivtDWord: return &CreateDefaultValueZero<unsigned long>;
        default: return nullptr;
      }
  }
  return nullptr;
}

// The object model's row of a main number (from the DPT catalogue), or null.
// The catalogue is constant, so this is read without locking.
const Catalogue::MainRow* FindMain(unsigned long mainNumber) {
  const Catalogue::MainRow& row = Catalogue::Main(mainNumber);
  return row.defaultValue == Catalogue::DefaultValue::None ? nullptr : &row;
}

constexpr unsigned long kDpt6020 = DptCode(KNXDPT{8, 6, 20});

}  // namespace

ObjModelId KnxOmbMapping::GetDeviceObjModelId() {
  return kDeviceId;
}

ObjModelId KnxOmbMapping::GetKnxDeviceObjModelId() {
  return kDeviceId;
}

ObjModelId KnxOmbMapping::GetLogicalKnxDeviceObjModelId(LogicalDeviceId ld) {
  return Base(ld);
}

ObjModelId KnxOmbMapping::GetLastObjModelId(LogicalDeviceId ld) {
  return Base(ld) + kBlock - 1;
}

ObjModelId KnxOmbMapping::GetAppHostAppControlChannelObjModelId(LogicalDeviceId ld) {
  return Base(ld) + kAppControlOffset;
}

ObjModelId KnxOmbMapping::GetAppHostAppControlStateObjModelId(LogicalDeviceId ld) {
  return GetAppHostAppControlChannelObjModelId(ld) + 1;
}

ObjModelId KnxOmbMapping::GetAppHostAppControlEventObjModelId(LogicalDeviceId ld) {
  return GetAppHostAppControlChannelObjModelId(ld) + 2;
}

ObjModelId KnxOmbMapping::GetAppHostAppControlAliveObjModelId(LogicalDeviceId ld) {
  return GetAppHostAppControlChannelObjModelId(ld) + 3;
}

ObjModelId KnxOmbMapping::GetAppHostAppControlAppDebugObjModelId(LogicalDeviceId ld) {
  return GetAppHostAppControlChannelObjModelId(ld) + 4;
}

std::uint32_t KnxOmbMapping::GetMaxParametersOfType(ParameterType type) {
  switch (type) {
    case ParameterType::Ip: return 100;
    case ParameterType::Number: return 200;
    case ParameterType::Text: return 500;
  }
  return 0;  // a number cast to ParameterType that is none of them
}

bool KnxOmbMapping::IsAnyLogicalKnxDeviceId(ObjModelId id) {
  const bool fits = Fits32(id);
  const Id id32 = static_cast<Id>(id);
  return fits && id32 >= kBlock;
}

bool KnxOmbMapping::IsCoChannel(ObjModelId id) {
  const bool fits = Fits32(id);
  const Id id32 = static_cast<Id>(id);
  return fits && IsCoChannel32(id32);
}

bool KnxOmbMapping::IsCoValue(ObjModelId id) {
  const bool fits = Fits32(id);
  const Id id32 = static_cast<Id>(id);
  return fits && id32 != 0 && IsCoChannel32(id32 - 1);
}

bool KnxOmbMapping::IsAppHostAppControlState(ObjModelId id, LogicalDeviceId ld) {
  return id == GetAppHostAppControlStateObjModelId(ld);
}

bool KnxOmbMapping::IsAppHostAppControlEvent(ObjModelId id, LogicalDeviceId ld) {
  return id == GetAppHostAppControlEventObjModelId(ld);
}

bool KnxOmbMapping::IsAppHostAppControlAliveHeartbeat(ObjModelId id, LogicalDeviceId ld) {
  return id == GetAppHostAppControlAliveObjModelId(ld);
}

bool KnxOmbMapping::IsAppHostAppControlAppDebug(ObjModelId id, LogicalDeviceId ld) {
  return id == GetAppHostAppControlAppDebugObjModelId(ld);
}

bool KnxOmbMapping::IsParameterChannel(ObjModelId id) {
  const bool fits = Fits32(id);
  const Id id32 = static_cast<Id>(id);
  return fits && IsParameterChannel32(id32);
}

boost::optional<ObjModelId> KnxOmbMapping::GetCoChannelObjModelId(std::uint16_t coNumber,
                                                                  LogicalDeviceId ld) {
  if (coNumber >= kCoNumbers) {
    return boost::none;
  }
  return ObjModelId{Base(ld) + kCoOffset + 2u * coNumber};
}

boost::optional<ObjModelId> KnxOmbMapping::GetCoValueObjModelId(ObjModelId channelId) {
  const bool fits = Fits32(channelId);
  const Id id32 = static_cast<Id>(channelId);
  if (!fits || !IsCoChannel32(id32)) {
    return boost::none;
  }
  return ObjModelId{id32 + 1};
}

boost::optional<ObjModelId> KnxOmbMapping::GetCoValueObjModelId(std::uint16_t coNumber,
                                                                LogicalDeviceId ld) {
  const boost::optional<ObjModelId> channel = GetCoChannelObjModelId(coNumber, ld);
  if (!channel) {
    return boost::none;
  }
  return GetCoValueObjModelId(*channel);
}

boost::optional<ObjModelId> KnxOmbMapping::GetParameterChannelObjModelId(std::uint16_t number,
                                                                         LogicalDeviceId ld,
                                                                         ParameterType type) {
  if (number > GetMaxParametersOfType(type)) {
    return boost::none;
  }
  return ObjModelId{ParameterChannel(number, ld, type)};
}

boost::optional<ObjModelId> KnxOmbMapping::GetParameterValueObjModelId(ObjModelId channelId) {
  const bool fits = Fits32(channelId);
  const Id id32 = static_cast<Id>(channelId);
  if (!fits || !IsParameterChannel32(id32)) {
    return boost::none;
  }
  return ObjModelId{id32 + 1};
}

boost::optional<ObjModelId> KnxOmbMapping::GetParameterValueObjModelId(std::uint16_t number,
                                                                       LogicalDeviceId ld,
                                                                       ParameterType type) {
  return ParameterValue(number, ld, type, GetMaxParametersOfType(type));
}

boost::optional<ObjModelId> KnxOmbMapping::GetIpParameterValueObjModelId(std::uint16_t number,
                                                                         LogicalDeviceId ld) {
  return ParameterValue(number, ld, ParameterType::Ip, GetMaxParametersOfType(ParameterType::Ip));
}

boost::optional<ObjModelId> KnxOmbMapping::GetNumberParameterValueObjModelId(std::uint16_t number,
                                                                             LogicalDeviceId ld) {
  return ParameterValue(number, ld, ParameterType::Number,
                        GetMaxParametersOfType(ParameterType::Number));
}

boost::optional<ObjModelId> KnxOmbMapping::GetTextParameterValueObjModelId(std::uint16_t number,
                                                                           LogicalDeviceId ld) {
  // A literal limit rather than GetMaxParametersOfType(Text) (intended; the
  // two agree).
  return ParameterValue(number, ld, ParameterType::Text, 500);
}

boost::optional<std::uint16_t> KnxOmbMapping::GetCoNumberFromObjModelId(ObjModelId valueId,
                                                                        LogicalDeviceId ld) {
  const bool fits = Fits32(valueId);
  const Id id32 = static_cast<Id>(valueId);
  if (!fits || id32 % 2 == 0 || !IsCoChannel32(id32 & ~Id{1})) {
    return boost::none;
  }
  // Modulo 100000 * ld, not 100000, and no check that the id lies in
  // logical device ld (intended).
  return static_cast<std::uint16_t>(((id32 % Base(ld)) - kCoFirstOffset) / 2 + 1);
}

boost::optional<ParameterType> KnxOmbMapping::GetParameterTypeFromObjModelId(ObjModelId id,
                                                                             LogicalDeviceId ld) {
  const bool fits = Fits32(id);
  const Id id32 = static_cast<Id>(id);
  return fits ? ParameterType32(id32, ld) : boost::none;
}

boost::optional<std::uint8_t> KnxOmbMapping::GetParameterNumberFromObjModelId(ObjModelId id,
                                                                              LogicalDeviceId ld) {
  const bool fits = Fits32(id);
  const Id id32 = static_cast<Id>(id);
  const boost::optional<ParameterType> type = fits ? ParameterType32(id32, ld) : boost::none;
  if (!type) {
    return boost::none;
  }
  const Id firstChannel = Base(ld) + kParameterOffset + kParameterTypeSpan * TypeNumber(*type);
  // Kept to 8 bits: Text numbers 256..500 come back modulo 256 (intended).
  return static_cast<std::uint8_t>((id32 % firstChannel) / 2);
}

boost::optional<LogicalDeviceId> KnxOmbMapping::GetLogicalDeviceIdFromObject(ObjModelId id) {
  const bool fits = Fits32(id);
  const Id id32 = static_cast<Id>(id);
  if (!fits || id32 < kBlock || id32 >= 3 * kBlock) {
    return boost::none;
  }
  return LogicalDeviceId(static_cast<int>(id32 / kBlock));
}

std::string KnxOmbMapping::GetIvtFromMainType(unsigned long mainNumber) {
  const Catalogue::MainRow* row = FindMain(mainNumber);
  return row ? TAVVALUE::GetNameFromValueType(row->modelType) : "Empty";
}

TavValueType KnxOmbMapping::GetIvtFromDpt(unsigned int dptCode) {
  const Catalogue::MainRow* row = FindMain(MainOfCode(dptCode));
  return row ? row->modelType : ivtEmpty;
}

std::string KnxOmbMapping::GetIstFromMainType(unsigned long mainNumber) {
  const Catalogue::MainRow* row = FindMain(mainNumber);
  return row ? TavDP::GetNameFromValueSubType(row->modelSubType) : "Generic";
}

std::string KnxOmbMapping::GetDefaultValueFromDpt(unsigned long dptCode, bool internalFormat) {
  const Catalogue::MainRow* row = FindMain(MainOfCode(dptCode));
  if (!row) {
    return std::string();
  }
  TAVVALUE value;
  if (dptCode == kDpt6020) {
    // The status byte's default is 1, not the row's (intended).
    value = ToTavValue<unsigned char>(1, row->modelType);
  } else {
    const Creator create = CreatorOf(*row);
    if (create == nullptr) {
      throw std::bad_function_call();  // a row without a creator
    }
    value = create(row->modelType);
  }
  std::string text;
  value.Serialize(text, internalFormat);
  return text;
}

TAVVALUE KnxOmbMapping::CreateDefaultValueEmpty(TavValueType ivt) {
  TAVVALUE emptyTavValue;
  ZEL_ASSERT(emptyTavValue.ivt == ivt);
  return emptyTavValue;
}

}  // namespace Zel
