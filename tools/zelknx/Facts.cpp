#include "Facts.h"

#include "DptCatalogue.h"
#include "DptNames.h"
#include "ValueText.h"

#include "Zel/KnxConverter.h"
#include "Zel/KnxOmbMapping.h"

#include <boost/core/demangle.hpp>

#include <typeinfo>
#include <utility>

namespace Zelknx {
namespace {

Json NameOrNull(const char* text) {
  return text != nullptr ? Json(text) : Json(nullptr);
}

// The standard's entry of `requested` when a DPT was asked for, else of
// the row (a wildcard row: its main type).
const DptNameEntry* RowNames(const Zel::DptValueEntry& entry,
                             const boost::optional<Zel::KNXDPT>& requested) {
  if (requested)
    return FindDptName(*requested);
  if (entry.dpt.subNumber != 0)
    return FindDptName(entry.dpt);
  Zel::KNXDPT unknownSub = entry.dpt;
  unknownSub.subNumber = 0xFFFF;  // no entry has it: the main type's
  return FindDptName(unknownSub);
}

// The range column: the catalogue's range text of the row's DPT.
std::string RangeText(const Zel::KNXDPT& dpt) {
  for (const Zel::Catalogue::TableRow& row : Zel::Catalogue::kTableRows) {
    if (row.mainNumber == dpt.mainNumber && row.subNumber == dpt.subNumber)
      return Zel::Catalogue::RangeText(row);
  }
  return "-";
}

template <class Number>
Json OptionalId(const boost::optional<Number>& id) {
  return id ? Json(*id) : Json(nullptr);
}

Json OptionalPath(const boost::optional<Zel::AppHostConfiguration::Path>& path) {
  return path ? Json(path->string()) : Json(nullptr);
}

}  // namespace

Json DptFacts(const Zel::DptValueEntry& entry, const boost::optional<Zel::KNXDPT>& requested) {
  std::string converter = "-";
  if (entry.converter) {
    const Zel::KnxConverter& object = *entry.converter;
    converter = boost::core::demangle(typeid(object).name());
    if (converter.rfind("Zel::", 0) == 0)
      converter.erase(0, 5);
  }
  TAVVALUE defaultValue;
  const bool hasDefault = defaultValue.Deserialize(
      Zel::KnxOmbMapping::GetDefaultValueFromDpt(DptCode(entry.dpt), false));
  const DptNameEntry* names = RowNames(entry, requested);
  Json json;
  json["dpt"] = DptName(entry.dpt, true);
  json["bits"] = entry.dpt.bitSize;
  json["type"] = TAVVALUE::GetNameFromValueType(entry.valueType);
  json["subtype"] = TavDP::GetNameFromValueSubType(entry.valueSubType);
  json["converter"] = converter;
  json["range"] = entry.converter ? RangeText(entry.dpt) : "-";
  json["omType"] = Zel::KnxOmbMapping::GetIvtFromMainType(entry.dpt.mainNumber);
  json["omDefault"] = hasDefault ? JsonValue(defaultValue) : Json(nullptr);
  json["name"] = NameOrNull(names != nullptr ? names->name : nullptr);
  json["unit"] = NameOrNull(names != nullptr && *names->unit != '\0' ? names->unit : nullptr);
  const DptNameEntry* standard = requested ? names : nullptr;
  if (standard != nullptr && standard->encodedAs != nullptr)
    json["encoded"] = standard->encodedAs;
  return json;
}

const char* ParameterTypeName(Zel::ParameterType type) {
  switch (type) {
    case Zel::ParameterType::Ip: return "ip";
    case Zel::ParameterType::Number: return "number";
    case Zel::ParameterType::Text: return "text";
  }
  return "?";
}

boost::optional<Zel::ParameterType> ParseParameterType(const std::string& text) {
  for (const auto type :
       {Zel::ParameterType::Ip, Zel::ParameterType::Number, Zel::ParameterType::Text}) {
    if (text == ParameterTypeName(type))
      return type;
  }
  return boost::none;
}

Json CoIds(std::uint16_t co, Zel::LogicalDeviceId ld) {
  using M = Zel::KnxOmbMapping;
  ResetLastError();
  const auto channel = M::GetCoChannelObjModelId(co, ld);
  if (!channel)
    Refuse("CO " + std::to_string(co) + " has no object-model id (1..4095)");
  Json json;
  json["co"] = co;
  json["ld"] = ld.Get();
  json["channel"] = *channel;
  json["value"] = OptionalId(M::GetCoValueObjModelId(co, ld));
  return json;
}

Json ParameterIds(Zel::ParameterType type, std::uint16_t number, Zel::LogicalDeviceId ld) {
  using M = Zel::KnxOmbMapping;
  ResetLastError();
  const auto channel = M::GetParameterChannelObjModelId(number, ld, type);
  if (!channel) {
    Refuse(std::string(ParameterTypeName(type)) + " parameter " + std::to_string(number) +
           " has no object-model id (at most " + std::to_string(M::GetMaxParametersOfType(type)) +
           ")");
  }
  Json json;
  json["parameterType"] = ParameterTypeName(type);
  json["parameter"] = number;
  json["ld"] = ld.Get();
  json["channel"] = *channel;
  json["value"] = OptionalId(M::GetParameterValueObjModelId(number, ld, type));
  return json;
}

Json LogicalDeviceIds(Zel::LogicalDeviceId ld) {
  using M = Zel::KnxOmbMapping;
  Json json;
  json["ld"] = ld.Get();
  json["device"] = M::GetLogicalKnxDeviceObjModelId(ld);
  json["last"] = M::GetLastObjModelId(ld);
  json["appControlChannel"] = M::GetAppHostAppControlChannelObjModelId(ld);
  json["appControlState"] = M::GetAppHostAppControlStateObjModelId(ld);
  json["appControlEvent"] = M::GetAppHostAppControlEventObjModelId(ld);
  json["appControlAlive"] = M::GetAppHostAppControlAliveObjModelId(ld);
  json["appControlAppDebug"] = M::GetAppHostAppControlAppDebugObjModelId(ld);
  return json;
}

Json DescribeObjectId(unsigned long id) {
  using M = Zel::KnxOmbMapping;
  Json json;
  json["id"] = id;
  std::string kind = "unknown";
  const auto ldOpt = M::GetLogicalDeviceIdFromObject(id);
  if (id == M::GetDeviceObjModelId()) {
    kind = "device";
  } else if (ldOpt) {
    const Zel::LogicalDeviceId ld = *ldOpt;
    json["ld"] = ld.Get();
    if (id == M::GetLogicalKnxDeviceObjModelId(ld))
      kind = "logical KNX device";
    else if (id == M::GetLastObjModelId(ld))
      kind = "last id of the logical KNX device";
    else if (id == M::GetAppHostAppControlChannelObjModelId(ld))
      kind = "app-control channel";
    else if (M::IsAppHostAppControlState(id, ld))
      kind = "app-control state";
    else if (M::IsAppHostAppControlEvent(id, ld))
      kind = "app-control event";
    else if (M::IsAppHostAppControlAliveHeartbeat(id, ld))
      kind = "app-control alive heartbeat";
    else if (M::IsAppHostAppControlAppDebug(id, ld))
      kind = "app-control app debug";
    else if (M::IsCoChannel(id) || M::IsCoValue(id)) {
      kind = M::IsCoChannel(id) ? "CO channel" : "CO value";
      const auto co = M::GetCoNumberFromObjModelId(M::IsCoChannel(id) ? id + 1 : id, ld);
      json["co"] = co ? Json(*co) : Json(nullptr);
    } else if (M::IsParameterChannel(id)) {
      kind = id % 2 == 0 ? "parameter channel" : "parameter value";
      const auto type = M::GetParameterTypeFromObjModelId(id, ld);
      const auto number = M::GetParameterNumberFromObjModelId(id, ld);
      json["parameterType"] = type ? Json(ParameterTypeName(*type)) : Json(nullptr);
      json["parameter"] = number ? Json(*number) : Json(nullptr);
    }
  }
  json["kind"] = kind;
  return json;
}

Json ConfigFacts(const std::string& file, const Zel::AppHostConfiguration& config) {
  Json json;
  json["file"] = file;
  json["WithoutKNX"] = config.IsAppHostWithoutKNX();
  json["TerminateOnFirmwareUpdate"] = config.IsAppHostTerminateOnFirmwareUpdate();
  json["DebuggingActive"] = config.IsInAppDebugMode();
  json["AppHostDisableStartup"] = config.IsAppHostStartupDisabled();
  json["AppConnectorHostDisableStartup"] = config.IsAppConnectorHostStartupDisabled();
  json["AppRootPath"] = OptionalPath(config.GetRootPathNativeApp());
  json["ManagedAppRootPath"] = OptionalPath(config.GetRootPathManagedApp());
  json["AppHostRootPath"] = OptionalPath(config.GetRootPathAppHost());
  json["AppConnectorHostRootPath"] = OptionalPath(config.GetRootPathAppConnectorHost());
  json["ObjectModelConfigPath"] = OptionalPath(config.GetPathObjectModelConfig());
  json["ResponseDps"] = config.GetResponseDataPoints();
  return json;
}

}  // namespace Zelknx
