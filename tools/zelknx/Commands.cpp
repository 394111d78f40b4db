#include "Commands.h"

#include "DptCatalogue.h"
#include "DptNames.h"

#include "Zel/AppHostConfig.h"
#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxConverter.h"
#include "Zel/KnxOmbMapping.h"
#include "Zel/KnxValueConverter.h"
#include "ZelLog/Logging.h"

#include <boost/core/demangle.hpp>

#include <iomanip>
#include <iostream>
#include <sstream>
#include <typeinfo>

namespace Zelknx {
namespace {

std::string Join(const std::vector<std::string>& parts, std::size_t from, const char* separator) {
  std::string text;
  for (std::size_t i = from; i < parts.size(); ++i) {
    text += (i > from ? separator : "") + parts[i];
  }
  return text;
}

std::string Silent(const Zel::KNXDPT& dpt) {
  return "DPT " + DptName(dpt) +
         " refused the value without an error entry (--log-level WARN may say why)";
}

TAVVALUE ReadValue(TavValueType type, const std::string& text) {
  const auto value = ParseValue(type, text);
  if (!value) {
    throw UsageError{"'" + text + "' is not a value of type " +
                     TAVVALUE::GetNameFromValueType(type)};
  }
  return *value;
}

// The table row of `dpt`, refusing (with the table's own message) when it has none.
const Zel::DptValueEntry& ReadEntry(const Zel::KnxValueConverter& converter,
                                    const Zel::KNXDPT& dpt) {
  const Zel::DptValueEntry& entry = converter.GetEntry(dpt);
  if (&entry == &Zel::DptValueMap::EmptyEntry()) {
    Refuse("no table row for DPT " + DptName(dpt));
  }
  return entry;
}

std::vector<std::uint8_t> ReadHex(const std::string& text) {
  std::string error;
  auto octets = ParseHex(text, error);
  if (!octets)
    throw UsageError{error};
  if (octets->size() > 255)
    throw UsageError{"payload longer than 255 octets"};
  return *octets;
}

Json NameOrNull(const char* text) {
  return text != nullptr ? Json(text) : Json(nullptr);
}

// The group address list's entry of `address`, or null.
const GroupAddressEntry* FindGroup(const Session& session, std::uint16_t address) {
  return session.groups ? session.groups->Find(address) : nullptr;
}

// One line of `decode -`: its result, or its error with the line number.
bool DecodeLine(const Session& session, std::size_t number, const std::string& line) {
  const Options& options = session.options;
  Json json;
  json["line"] = number;
  std::string text;
  boost::optional<std::string> error;  // the line's error instead of its result
  try {
    std::string why;
    const auto bus = ParseBusLine(line, why);
    if (!bus)
      throw UsageError{why};
    const GroupAddressEntry* group =
        bus->destination ? FindGroup(session, *bus->destination) : nullptr;
    if (bus->source)
      json["src"] = IndividualAddressText(*bus->source);
    if (bus->destination) {
      json["dst"] = GroupAddressText(*bus->destination);
      json["group"] = group != nullptr ? Json(group->name) : Json(nullptr);
      if (bus->source)
        json["apci"] = ApciName(bus->apci);  // a telegram, not "GA HEX"
      text =
          GroupAddressText(*bus->destination) + (group != nullptr ? " " + group->name : "") + ": ";
    }
    boost::optional<Zel::KNXDPT> dpt = bus->dpt;
    if (!dpt && group != nullptr)
      dpt = group->dpt;
    if (bus->apci == Apci::Read) {
      json["dpt"] = dpt ? Json(DptName(*dpt)) : Json(nullptr);
      json["value"] = nullptr;
      text += "read";
    } else if (!dpt) {
      throw UsageError{
          "no DPT for group address " + GroupAddressText(*bus->destination) +
          (session.groups ? " in " + options.gaCsv : " (give the ETS export with --ga-csv)")};
    } else {
      ResetLastError();
      const TAVVALUE value = DecodeOctets(options.table, *dpt, bus->octets, bus->shortForm);
      text += AddValue(json, *dpt, value);
    }
  } catch (const UsageError& failure) {
    error = failure.message;
  } catch (const Refusal& failure) {
    error = failure.message;
  }
  if (error) {
    Print(options, Json{{"line", number}, {"error", *error}},
          "line " + std::to_string(number) + ": error: " + *error);
    return false;
  }
  Print(options, json, text);
  return true;
}

int DecodeLines(const Session& session) {
  bool allDecoded = true;
  std::string line;
  for (std::size_t number = 1; std::getline(std::cin, line); ++number) {
    if (line.find_first_not_of(" \t\r") == std::string::npos)
      continue;  // no result for a blank line
    allDecoded = DecodeLine(session, number, line) && allDecoded;
    std::cout.flush();
  }
  return allDecoded ? 0 : 1;
}

// The name and unit columns of the DPT table: those of `requested` when a
// DPT was asked for, else of the row (a wildcard row: its main type).
std::pair<const char*, const char*> NameAndUnit(const Zel::DptValueEntry& entry,
                                                const boost::optional<Zel::KNXDPT>& requested) {
  const DptNameEntry* names = nullptr;
  if (requested) {
    names = FindDptName(*requested);
  } else if (entry.dpt.subNumber == 0) {
    Zel::KNXDPT unknownSub = entry.dpt;
    unknownSub.subNumber = 0xFFFF;  // no entry has it: the main type's
    names = FindDptName(unknownSub);
  } else {
    names = FindDptName(entry.dpt);
  }
  if (names == nullptr)
    return {nullptr, nullptr};
  return {names->name, *names->unit != '\0' ? names->unit : nullptr};
}

// The range column: the catalogue's range text of the row's DPT.
std::string RangeText(const Zel::KNXDPT& dpt) {
  for (const Zel::Catalogue::TableRow& row : Zel::Catalogue::kTableRows) {
    if (row.mainNumber == dpt.mainNumber && row.subNumber == dpt.subNumber)
      return Zel::Catalogue::RangeText(row);
  }
  return "-";
}

void PrintRow(const Options& options, const Zel::DptValueEntry& entry,
              const boost::optional<Zel::KNXDPT>& requested) {
  std::string converter = "-";
  if (entry.converter) {
    const Zel::KnxConverter& object = *entry.converter;
    converter = boost::core::demangle(typeid(object).name());
    if (converter.rfind("Zel::", 0) == 0)
      converter.erase(0, 5);
  }
  const std::string range = entry.converter ? RangeText(entry.dpt) : "-";
  const std::string omType = Zel::KnxOmbMapping::GetIvtFromMainType(entry.dpt.mainNumber);
  TAVVALUE defaultValue;
  const std::string serialized =
      Zel::KnxOmbMapping::GetDefaultValueFromDpt(DptCode(entry.dpt), false);
  const bool hasDefault = defaultValue.Deserialize(serialized);
  const auto names = NameAndUnit(entry, requested);
  const DptNameEntry* standard = requested ? FindDptName(*requested) : nullptr;
  Json json;
  json["dpt"] = DptName(entry.dpt, true);
  json["bits"] = entry.dpt.bitSize;
  json["type"] = TAVVALUE::GetNameFromValueType(entry.valueType);
  json["subtype"] = TavDP::GetNameFromValueSubType(entry.valueSubType);
  json["converter"] = converter;
  json["range"] = range;
  json["omType"] = omType;
  json["omDefault"] = hasDefault ? JsonValue(defaultValue) : Json(nullptr);
  json["name"] = NameOrNull(names.first);
  json["unit"] = NameOrNull(names.second);
  if (standard != nullptr && standard->encodedAs != nullptr)
    json["encoded"] = standard->encodedAs;
  std::ostringstream text;
  text << std::left << std::setw(9) << json["dpt"].get<std::string>() << std::right << std::setw(4)
       << unsigned{entry.dpt.bitSize} << "  " << std::left << std::setw(12)
       << json["type"].get<std::string>() << std::setw(14) << json["subtype"].get<std::string>()
       << std::setw(34) << converter << std::setw(12) << omType << std::setw(12)
       << (hasDefault ? FormatValue(defaultValue) : "") << std::setw(48) << range << ' '
       << (names.first != nullptr ? names.first : "-");
  if (names.second != nullptr)
    text << " [" << names.second << "]";
  if (standard != nullptr && standard->encodedAs != nullptr) {
    text << " (the value is the encoded number: " << standard->encodedAs << ")";
  }
  Print(options, json, text.str());
}

Zel::LogicalDeviceId ReadLd(const Options& options, std::size_t index) {
  if (options.args.size() <= index)
    return Zel::LogicalDeviceId(1);
  if (options.args.size() > index + 1)
    throw UsageError{"too many arguments"};
  const auto ld = ParseUnsigned(options.args[index], 2);
  if (!ld || *ld < 1)
    throw UsageError{"the logical device is 1 or 2"};
  return Zel::LogicalDeviceId(static_cast<int>(*ld));
}

template <class Number>
Json OptionalId(const boost::optional<Number>& id) {
  return id ? Json(*id) : Json(nullptr);
}

template <class Number>
std::string IdText(const boost::optional<Number>& id) {
  return id ? std::to_string(*id) : "-";
}

const char* TypeName(Zel::ParameterType type) {
  switch (type) {
    case Zel::ParameterType::Ip: return "ip";
    case Zel::ParameterType::Number: return "number";
    case Zel::ParameterType::Text: return "text";
  }
  return "?";
}

void IdOf(const Options& options, unsigned long id) {
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
      json["parameterType"] = type ? Json(TypeName(*type)) : Json(nullptr);
      json["parameter"] = number ? Json(*number) : Json(nullptr);
    }
  }
  json["kind"] = kind;
  std::string text = std::to_string(id) + ": " + kind;
  for (const auto& item : json.items()) {
    if (item.key() != "id" && item.key() != "kind") {
      text += ", " + item.key() + " " +
              (item.value().is_string() ? item.value().get<std::string>() : item.value().dump());
    }
  }
  Print(options, json, text);
}

}  // namespace

int Id(const Session& session) {
  using M = Zel::KnxOmbMapping;
  const Options& options = session.options;
  const auto& args = options.args;
  if (args.empty())
    throw UsageError{"id needs what to look up"};
  if (args[0] == "co" && args.size() >= 2) {
    const auto co = ParseUnsigned(args[1], 65535);
    if (!co)
      throw UsageError{"bad CO number '" + args[1] + "'"};
    const auto ld = ReadLd(options, 2);
    const auto number = static_cast<std::uint16_t>(*co);
    const auto channel = M::GetCoChannelObjModelId(number, ld);
    if (!channel)
      Refuse("CO " + args[1] + " has no object-model id (1..4095)");
    const auto value = M::GetCoValueObjModelId(number, ld);
    Json json;
    json["co"] = number;
    json["ld"] = ld.Get();
    json["channel"] = *channel;
    json["value"] = OptionalId(value);
    Print(options, json,
          "CO " + std::to_string(number) + " of logical device " + std::to_string(ld.Get()) +
              ": channel " + IdText(channel) + ", value " + IdText(value));
  } else if (args[0] == "param" && args.size() >= 3) {
    Zel::ParameterType type;
    if (args[1] == "ip")
      type = Zel::ParameterType::Ip;
    else if (args[1] == "number")
      type = Zel::ParameterType::Number;
    else if (args[1] == "text")
      type = Zel::ParameterType::Text;
    else
      throw UsageError{"the parameter type is ip, number or text"};
    const auto n = ParseUnsigned(args[2], 65535);
    if (!n)
      throw UsageError{"bad parameter number '" + args[2] + "'"};
    const auto ld = ReadLd(options, 3);
    const auto number = static_cast<std::uint16_t>(*n);
    const auto channel = M::GetParameterChannelObjModelId(number, ld, type);
    if (!channel) {
      Refuse(args[1] + " parameter " + args[2] + " has no object-model id (at most " +
             std::to_string(M::GetMaxParametersOfType(type)) + ")");
    }
    const auto value = M::GetParameterValueObjModelId(number, ld, type);
    Json json;
    json["parameterType"] = TypeName(type);
    json["parameter"] = number;
    json["ld"] = ld.Get();
    json["channel"] = *channel;
    json["value"] = OptionalId(value);
    Print(options, json,
          std::string(TypeName(type)) + " parameter " + std::to_string(number) +
              " of logical device " + std::to_string(ld.Get()) + ": channel " + IdText(channel) +
              ", value " + IdText(value));
  } else if (args[0] == "ld" && args.size() <= 2) {
    const auto ld = ReadLd(options, 1);
    Json json;
    json["ld"] = ld.Get();
    json["device"] = M::GetLogicalKnxDeviceObjModelId(ld);
    json["last"] = M::GetLastObjModelId(ld);
    json["appControlChannel"] = M::GetAppHostAppControlChannelObjModelId(ld);
    json["appControlState"] = M::GetAppHostAppControlStateObjModelId(ld);
    json["appControlEvent"] = M::GetAppHostAppControlEventObjModelId(ld);
    json["appControlAlive"] = M::GetAppHostAppControlAliveObjModelId(ld);
    json["appControlAppDebug"] = M::GetAppHostAppControlAppDebugObjModelId(ld);
    std::string text;
    for (const auto& item : json.items())
      text += (text.empty() ? "" : "\n") + item.key() + ": " + item.value().dump();
    Print(options, json, text);
  } else if (args.size() == 1) {
    const auto id = ParseUnsigned(args[0], 0xFFFFFFFFu);
    if (!id)
      throw UsageError{"bad id '" + args[0] + "'"};
    IdOf(options, *id);
  } else {
    throw UsageError{"unknown id query"};
  }
  return 0;
}

namespace {

Json OptionalPath(const boost::optional<Zel::AppHostConfiguration::Path>& path) {
  return path ? Json(path->string()) : Json(nullptr);
}

}  // namespace

int Config(const Session& session) {
  const Options& options = session.options;
  if (options.args.size() > 1)
    throw UsageError{"config takes at most one file"};
  const std::string file = options.args.empty() ? Zel::kAppHostConfigFilePath : options.args[0];
  Zel::AppHostConfiguration config;
  try {
    config.LoadConfigurationFile(file);
  } catch (const std::exception& error) {
    throw Refusal{error.what()};
  }
  if (!LastError().empty())
    Refuse("");
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
  std::string text;
  for (const auto& item : json.items()) {
    text += (text.empty() ? "" : "\n") + item.key() + ": " +
            (item.value().is_string() ? item.value().get<std::string>()
             : item.value().is_null() ? "-"
                                      : item.value().dump());
  }
  Print(options, json, text);
  return 0;
}

void Print(const Options& options, const Json& json, const std::string& text) {
  std::cout << (options.json ? DumpJson(json) : text) << '\n';
}

Zel::KNXDPT ReadDpt(const Session& session, const std::string& text) {
  if (session.options.code) {
    const auto dpt = ParseDptCode(text);
    if (!dpt)
      throw UsageError{"bad DPT code '" + text + "'"};
    return *dpt;
  }
  if (session.groups && text.find('/') != std::string::npos) {
    const auto address = ParseGroupAddress(text);
    if (!address)
      throw UsageError{"bad group address '" + text + "'"};
    const GroupAddressEntry* group = session.groups->Find(*address);
    if (group == nullptr)
      throw UsageError{"group address " + text + " is not in " + session.options.gaCsv};
    if (!group->dpt)
      throw UsageError{"group address " + text + " has no DPT in " + session.options.gaCsv};
    return *group->dpt;
  }
  const auto dpt = ParseDptSpelling(text);
  if (!dpt) {
    throw UsageError{
        "bad DPT '" + text +
        "' (write 9.001, 9.1, 9, DPST-9-1, DPT-9 or DPT_Value_Temp, a code with --code, or a "
        "group address with --ga-csv)"};
  }
  return *dpt;
}

int Encode(const Session& session) {
  const Options& options = session.options;
  if (options.args.size() < 2)
    throw UsageError{"encode needs a DPT and a value"};
  const Zel::KNXDPT dpt = ReadDpt(session, options.args[0]);
  const std::string text = Join(options.args, 1, " ");
  KnxStack::GroupValue group;
  if (options.table) {
    Zel::KnxValueConverter converter;
    converter.Init();
    const TAVVALUE value = ReadValue(ReadEntry(converter, dpt).valueType, text);
    Zel::KNXDPT resolved = dpt;
    if (!converter.ToKnxValue(resolved, value, group))
      Refuse(Silent(dpt));
  } else {
    const unsigned long code = DptCode(dpt);
    const TAVVALUE value = ReadValue(Zel::KnxOmbMapping::GetIvtFromDpt(code), text);
    const auto result = Zel::TavValueToGroupValue(value, code);
    if (!result)
      Refuse(Silent(dpt));
    group = *result;
  }
  const std::string hex = group.GetRawData().ToString();
  std::string packed;
  for (const char c : hex) {
    if (c != ' ')
      packed += c;
  }
  Json json;
  json["dpt"] = DptName(dpt);
  json["bits"] = group.GetDefinedSize();
  json["hex"] = packed;
  Print(options, json,
        hex + " (" + std::to_string(group.GetDefinedSize()) +
            (group.GetDefinedSize() == 1 ? " bit)" : " bits)"));
  return 0;
}

int Decode(const Session& session) {
  const Options& options = session.options;
  if (options.args.size() == 1 && options.args[0] == "-")
    return DecodeLines(session);
  if (options.args.size() < 2)
    throw UsageError{"decode needs a DPT and a hex payload, or - to read lines"};
  const Zel::KNXDPT dpt = ReadDpt(session, options.args[0]);
  const auto octets = ReadHex(Join(options.args, 1, ""));
  boost::optional<unsigned long> bits;
  if (!options.bits.empty()) {
    bits = ParseUnsigned(options.bits, 0xFFFFFFFFul);
    if (!bits)
      throw UsageError{"bad bit size '" + options.bits + "'"};
  }
  const TAVVALUE value = DecodeOctets(options.table, dpt, octets, false, bits);
  Json json;
  const std::string text = AddValue(json, dpt, value);
  Print(options, json, text);
  return 0;
}

int Dpt(const Session& session) {
  const Options& options = session.options;
  if (options.args.size() > 1)
    throw UsageError{"dpt takes at most one DPT"};
  Zel::KnxValueConverter converter;
  converter.Init();
  if (!options.json) {
    std::cout << std::left << std::setw(9) << "DPT" << std::right << std::setw(4) << "bits"
              << "  " << std::left << std::setw(12) << "type" << std::setw(14) << "subtype"
              << std::setw(34) << "converter" << std::setw(12) << "OM type" << std::setw(12)
              << "OM default" << std::setw(48) << "range"
              << " name [unit]\n";
  }
  if (options.args.empty()) {
    for (const auto& main : converter.GetMap().Rows()) {
      for (const auto& row : main.second)
        PrintRow(options, row.second, boost::none);
    }
    return 0;
  }
  const Zel::KNXDPT dpt = ReadDpt(session, options.args[0]);
  PrintRow(options, ReadEntry(converter, dpt), dpt);
  return 0;
}

}  // namespace Zelknx
