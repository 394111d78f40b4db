// zelknx: the library's KNX conversions, DPT table, object-model ids and app
// host configuration on the command line. A thin shell: every answer comes
// from the library; this file only reads arguments and prints results.
//
// Exit status: 0 success, 1 the library refused (its log line on stderr
// says why), 2 usage error.
#include "ValueText.h"

#include "Zel/AppHostConfig.h"
#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxConverter.h"
#include "Zel/KnxOmbMapping.h"
#include "Zel/KnxValueConverter.h"
#include "ZelLog/Logging.h"

#include <boost/core/demangle.hpp>
#include <log4cplus/appender.h>
#include <log4cplus/loglevel.h>
#include <log4cplus/spi/loggingevent.h>

#include <cctype>
#include <cstdint>
#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

using Json = nlohmann::ordered_json;

// Remembers the text of the last ERROR or FATAL entry of the library, without
// the line prefix ("Function [Source:Line] - ").
class LastErrorAppender final : public log4cplus::Appender {
public:
  ~LastErrorAppender() override { destructorImpl(); }
  void close() override { closed = true; }
  void Reset() { m_last.clear(); }
  const std::string& Last() const { return m_last; }

protected:
  void append(const log4cplus::spi::InternalLoggingEvent& event) override {
    if (event.getLogLevel() >= log4cplus::ERROR_LOG_LEVEL) {
      const std::string& message = event.getMessage();
      const auto separator = message.find(" - ");
      m_last = separator == std::string::npos ? message : message.substr(separator + 3);
    }
  }

private:
  std::string m_last;
};

struct UsageError {
  std::string message;
};
struct Refusal {
  std::string message;
  bool logged = false;  // the library's log line on stderr already says it
};

struct Options {
  bool json = false;
  bool table = false;
  bool code = false;
  bool help = false;
  boost::optional<std::uint32_t> bits;
  std::vector<std::string> args;
};

struct Command {
  const char* name;
  std::string usage;
  std::vector<std::string> options;  // beyond --json, --log-level, --help
  std::function<void(const Options&)> run;
};

LastErrorAppender* g_lastError = nullptr;

void Print(const Options& options, const Json& json, const std::string& text) {
  std::cout << (options.json ? json.dump() : text) << '\n';
}

// Throws the refusal with the library's last error text, else `fallback`.
[[noreturn]] void Refuse(const std::string& fallback) {
  const std::string& last = g_lastError->Last();
  throw Refusal{last.empty() ? fallback : last, !last.empty()};
}

std::string Join(const std::vector<std::string>& parts, std::size_t from, const char* separator) {
  std::string text;
  for (std::size_t i = from; i < parts.size(); ++i) {
    text += (i > from ? separator : "") + parts[i];
  }
  return text;
}

std::string Silent(const Zel::KNXDPT& dpt) {
  return "DPT " + Zelknx::DptName(dpt) + " refused the value without an error entry (--log-level WARN may say why)";
}

Zel::KNXDPT ReadDpt(const Options& options, const std::string& text) {
  const auto dpt = options.code ? Zelknx::ParseDptCode(text) : Zelknx::ParseDpt(text);
  if (!dpt) {
    throw UsageError{"bad DPT '" + text + "' (write 9.001, 9.1 or 9, or a code with --code)"};
  }
  return *dpt;
}

TAVVALUE ReadValue(TavValueType type, const std::string& text) {
  const auto value = Zelknx::ParseValue(type, text);
  if (!value) {
    throw UsageError{"'" + text + "' is not a value of type " + TAVVALUE::GetNameFromValueType(type)};
  }
  return *value;
}

// The table row of `dpt`, refusing (with the table's own message) when it has none.
const Zel::DptValueEntry& ReadEntry(const Zel::KnxValueConverter& converter, const Zel::KNXDPT& dpt) {
  const Zel::DptValueEntry& entry = converter.GetEntry(dpt);
  if (&entry == &Zel::DptValueMap::EmptyEntry()) {
    Refuse("no table row for DPT " + Zelknx::DptName(dpt));
  }
  return entry;
}

void Encode(const Options& options) {
  if (options.args.size() < 2) throw UsageError{"encode needs a DPT and a value"};
  Zel::KNXDPT dpt = ReadDpt(options, options.args[0]);
  const std::string text = Join(options.args, 1, " ");
  KnxStack::GroupValue group;
  if (options.table) {
    Zel::KnxValueConverter converter;
    converter.Init();
    const TAVVALUE value = ReadValue(ReadEntry(converter, dpt).valueType, text);
    if (!converter.ToKnxValue(dpt, value, group)) Refuse(Silent(dpt));
  } else {
    const std::uint32_t code = Zelknx::DptCode(dpt);
    const TAVVALUE value = ReadValue(Zel::KnxOmbMapping::GetIvtFromDpt(code), text);
    const auto result = Zel::TavValueToGroupValue(value, code);
    if (!result) Refuse(Silent(dpt));
    group = *result;
  }
  const std::string hex = group.GetRawData().ToString();
  std::string packed;
  for (const char c : hex) {
    if (c != ' ') packed += c;
  }
  Json json;
  json["dpt"] = Zelknx::DptName(dpt);
  json["bits"] = group.GetDefinedSize();
  json["hex"] = packed;
  Print(options, json, hex + " (" + std::to_string(group.GetDefinedSize()) +
                           (group.GetDefinedSize() == 1 ? " bit)" : " bits)"));
}

std::vector<std::uint8_t> ReadHex(const std::string& text) {
  std::string digits;
  for (const char c : text) {
    if (c == ' ' || c == ':') continue;
    if (!std::isxdigit(static_cast<unsigned char>(c))) {
      throw UsageError{"bad hex string '" + text + "'"};
    }
    digits += c;
  }
  if (digits.size() % 2 != 0) throw UsageError{"odd number of hex digits in '" + text + "'"};
  std::vector<std::uint8_t> octets;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    octets.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return octets;
}

void Decode(const Options& options) {
  if (options.args.size() < 2) throw UsageError{"decode needs a DPT and a hex payload"};
  Zel::KNXDPT dpt = ReadDpt(options, options.args[0]);
  const auto octets = ReadHex(Join(options.args, 1, ""));
  if (octets.size() > 255) throw UsageError{"payload longer than 255 octets"};
  std::uint32_t bits = 8 * static_cast<std::uint32_t>(octets.size());
  if (options.bits) {
    bits = *options.bits;
  } else {
    // A one-octet payload of a small DPT is the short telegram form.
    const std::int32_t expected = Zel::KnxValueConverter::GetExpectedBitSize(dpt.mainNumber);
    if (octets.size() == 1 && expected >= 1 && expected <= 6) bits = 6;
  }
  const KnxStack::GroupValue group(KnxStack::BinaryData(octets.data(), octets.size()), bits);
  TAVVALUE value;
  if (options.table) {
    Zel::KnxValueConverter converter;
    converter.Init();
    if (!converter.FromKnxValue(dpt, group, value)) Refuse(Silent(dpt));
  } else {
    boost::optional<TAVVALUE> result;
    try {
      result = Zel::GroupValueToTavValue(group, Zelknx::DptCode(dpt));
    } catch (const std::exception& error) {
      throw Refusal{error.what()};
    }
    if (!result) Refuse(Silent(dpt));
    value = *result;
  }
  Json json;
  json["dpt"] = Zelknx::DptName(dpt);
  json["type"] = TAVVALUE::GetNameFromValueType(value.ivt);
  json["value"] = Zelknx::JsonValue(value);
  Print(options, json, Zelknx::FormatValue(value));
}

template <class Converter>
bool RangeOf(const Zel::KnxConverter& converter, std::string& text) {
  const auto* ranged = dynamic_cast<const Converter*>(&converter);
  if (ranged != nullptr) text = Zel::ToString(ranged->GetRange());
  return ranged != nullptr;
}

std::string RangeText(const Zel::KnxConverter& c) {
  using namespace Zel;
  std::string t = "-";
  RangeOf<KnxConverter4Bit>(c, t) || RangeOf<KnxConverter8BitString>(c, t) ||
      RangeOf<KnxConverterByte8BitUnsigned>(c, t) || RangeOf<KnxConverterInteger8BitSigned>(c, t) ||
      RangeOf<KnxConverterStatus8Bit>(c, t) || RangeOf<KnxConverterInteger16BitUnsigned>(c, t) ||
      RangeOf<KnxConverterInteger16BitSigned>(c, t) || RangeOf<KnxConverterFloat16BitFloat>(c, t) ||
      RangeOf<KnxConverterFloat32BitFloat>(c, t) || RangeOf<KnxConverterInteger24BitUnsigned>(c, t) ||
      RangeOf<KnxConverterInteger32BitUnsigned>(c, t) || RangeOf<KnxConverterInteger32BitSigned>(c, t) ||
      RangeOf<KnxConverter14ByteString>(c, t) || RangeOf<KnxConverterSceneNumber>(c, t) ||
      RangeOf<KnxConverterSceneControl>(c, t) || RangeOf<KnxConverterSceneInfo>(c, t);
  return t;
}

void PrintRow(const Options& options, const Zel::DptValueEntry& entry) {
  std::string converter = "-";
  if (entry.converter) {
    const Zel::KnxConverter& object = *entry.converter;
    converter = boost::core::demangle(typeid(object).name());
    if (converter.rfind("Zel::", 0) == 0) converter.erase(0, 5);
  }
  const std::string range = entry.converter ? RangeText(*entry.converter) : "-";
  const std::string omType = Zel::KnxOmbMapping::GetIvtFromMainType(entry.dpt.mainNumber);
  TAVVALUE defaultValue;
  const std::string serialized = Zel::KnxOmbMapping::GetDefaultValueFromDpt(Zelknx::DptCode(entry.dpt), false);
  const bool hasDefault = defaultValue.Deserialize(serialized);
  Json json;
  json["dpt"] = Zelknx::DptName(entry.dpt, true);
  json["bits"] = entry.dpt.bitSize;
  json["type"] = TAVVALUE::GetNameFromValueType(entry.valueType);
  json["subtype"] = TavDP::GetNameFromValueSubType(entry.valueSubType);
  json["converter"] = converter;
  json["range"] = range;
  json["omType"] = omType;
  json["omDefault"] = hasDefault ? Zelknx::JsonValue(defaultValue) : Json(nullptr);
  std::ostringstream text;
  text << std::left << std::setw(9) << json["dpt"].get<std::string>() << std::right << std::setw(4)
       << unsigned{entry.dpt.bitSize} << "  " << std::left << std::setw(12)
       << json["type"].get<std::string>() << std::setw(14) << json["subtype"].get<std::string>()
       << std::setw(34) << converter << std::setw(12) << omType << std::setw(12)
       << (hasDefault ? Zelknx::FormatValue(defaultValue) : "") << range;
  Print(options, json, text.str());
}

void Dpt(const Options& options) {
  if (options.args.size() > 1) throw UsageError{"dpt takes at most one DPT"};
  Zel::KnxValueConverter converter;
  converter.Init();
  if (!options.json) {
    std::cout << std::left << std::setw(9) << "DPT" << std::right << std::setw(4) << "bits" << "  "
              << std::left << std::setw(12) << "type" << std::setw(14) << "subtype" << std::setw(34)
              << "converter" << std::setw(12) << "OM type" << std::setw(12) << "OM default"
              << "range\n";
  }
  if (options.args.empty()) {
    for (const auto& main : converter.GetMap().Rows()) {
      for (const auto& row : main.second) PrintRow(options, row.second);
    }
    return;
  }
  PrintRow(options, ReadEntry(converter, ReadDpt(options, options.args[0])));
}

Zel::LogicalDeviceId ReadLd(const Options& options, std::size_t index) {
  if (options.args.size() <= index) return Zel::LogicalDeviceId(1);
  if (options.args.size() > index + 1) throw UsageError{"too many arguments"};
  const auto ld = Zelknx::ParseUnsigned(options.args[index], 2);
  if (!ld || *ld < 1) throw UsageError{"the logical device is 1 or 2"};
  return Zel::LogicalDeviceId(static_cast<int>(*ld));
}

Json OptionalId(const boost::optional<unsigned long>& id) { return id ? Json(*id) : Json(nullptr); }

std::string IdText(const boost::optional<unsigned long>& id) { return id ? std::to_string(*id) : "-"; }

const char* TypeName(Zel::ParameterType type) {
  switch (type) {
    case Zel::ParameterType::Ip: return "ip";
    case Zel::ParameterType::Number: return "number";
    case Zel::ParameterType::Text: return "text";
  }
  return "?";
}

void IdOf(const Options& options, std::uint32_t id) {
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
    if (id == M::GetLogicalKnxDeviceObjModelId(ld)) kind = "logical KNX device";
    else if (id == M::GetLastObjModelId(ld)) kind = "last id of the logical KNX device";
    else if (id == M::GetAppHostAppControlChannelObjModelId(ld)) kind = "app-control channel";
    else if (M::IsAppHostAppControlState(id, ld)) kind = "app-control state";
    else if (M::IsAppHostAppControlEvent(id, ld)) kind = "app-control event";
    else if (M::IsAppHostAppControlAliveHeartbeat(id, ld)) kind = "app-control alive heartbeat";
    else if (M::IsAppHostAppControlAppDebug(id, ld)) kind = "app-control app debug";
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
      text += ", " + item.key() + " " + (item.value().is_string() ? item.value().get<std::string>() : item.value().dump());
    }
  }
  Print(options, json, text);
}

void Id(const Options& options) {
  using M = Zel::KnxOmbMapping;
  const auto& args = options.args;
  if (args.empty()) throw UsageError{"id needs what to look up"};
  if (args[0] == "co" && args.size() >= 2) {
    const auto co = Zelknx::ParseUnsigned(args[1], 65535);
    if (!co) throw UsageError{"bad CO number '" + args[1] + "'"};
    const auto ld = ReadLd(options, 2);
    const auto number = static_cast<std::uint16_t>(*co);
    const auto channel = M::GetCoChannelObjModelId(number, ld);
    if (!channel) Refuse("CO " + args[1] + " has no object-model id (1..4095)");
    const auto value = M::GetCoValueObjModelId(number, ld);
    Json json;
    json["co"] = number;
    json["ld"] = ld.Get();
    json["channel"] = *channel;
    json["value"] = OptionalId(value);
    Print(options, json, "CO " + std::to_string(number) + " of logical device " + std::to_string(ld.Get()) +
                             ": channel " + IdText(channel) + ", value " + IdText(value));
  } else if (args[0] == "param" && args.size() >= 3) {
    Zel::ParameterType type;
    if (args[1] == "ip") type = Zel::ParameterType::Ip;
    else if (args[1] == "number") type = Zel::ParameterType::Number;
    else if (args[1] == "text") type = Zel::ParameterType::Text;
    else throw UsageError{"the parameter type is ip, number or text"};
    const auto n = Zelknx::ParseUnsigned(args[2], 65535);
    if (!n) throw UsageError{"bad parameter number '" + args[2] + "'"};
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
    Print(options, json, std::string(TypeName(type)) + " parameter " + std::to_string(number) +
                             " of logical device " + std::to_string(ld.Get()) + ": channel " +
                             IdText(channel) + ", value " + IdText(value));
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
    for (const auto& item : json.items()) text += (text.empty() ? "" : "\n") + item.key() + ": " + item.value().dump();
    Print(options, json, text);
  } else if (args.size() == 1) {
    const auto id = Zelknx::ParseUnsigned(args[0], 0xFFFFFFFFu);
    if (!id) throw UsageError{"bad id '" + args[0] + "'"};
    IdOf(options, *id);
  } else {
    throw UsageError{"unknown id query"};
  }
}

Json OptionalPath(const boost::optional<Zel::AppHostConfiguration::Path>& path) {
  return path ? Json(path->string()) : Json(nullptr);
}

void Config(const Options& options) {
  if (options.args.size() > 1) throw UsageError{"config takes at most one file"};
  const std::string file = options.args.empty() ? Zel::kAppHostConfigFilePath : options.args[0];
  Zel::AppHostConfiguration config;
  try {
    config.LoadConfigurationFile(file);
  } catch (const std::exception& error) {
    throw Refusal{error.what()};
  }
  if (!g_lastError->Last().empty()) Refuse("");
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
                                      : item.value().is_null() ? "-" : item.value().dump());
  }
  Print(options, json, text);
}

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {"encode",
       "zelknx encode [--table] [--code] DPT VALUE\n"
       "  The payload of VALUE for DPT, in hex, and its size in bits.\n"
       "  DPT: 9.001, 9.1 or 9; with --code a numeric code (main * 65536 + sub).\n"
       "  VALUE: true/false/1/0, 42, 0x2a, 21.5, nan, inf, a string, [Mon] 08:30:00,\n"
       "  2024-03-15, \"2024-03-15 08:30:00\", - (no value).\n"
       "  --table  convert with the DPT table (KnxValueConverter) instead of by DPT code",
       {"--table", "--code"}, Encode},
      {"decode",
       "zelknx decode [--table] [--code] [--bits N] DPT HEX\n"
       "  The value of the payload HEX (0c33 or \"0c 33\") for DPT.\n"
       "  --bits N  the group value's size in bits (default: 6 for one octet of a DPT\n"
       "            of at most 6 bits, else 8 per octet)\n"
       "  --table   convert with the DPT table (KnxValueConverter) instead of by DPT code",
       {"--table", "--code", "--bits"}, Decode},
      {"dpt",
       "zelknx dpt [--code] [DPT]\n"
       "  The DPT table, or its row for DPT: bit size, value type, subtype, converter,\n"
       "  object-model value type and default value of the main number, range.",
       {"--code"}, Dpt},
      {"id",
       "zelknx id co NUMBER [LD] | id param ip|number|text NUMBER [LD] | id ld [LD] | id ID\n"
       "  Object-model ids of a communication object, a parameter or a logical device\n"
       "  (LD 1 or 2, default 1), or what the object-model id ID is.",
       {}, Id},
      {"config",
       "zelknx config [FILE]\n"
       "  Loads the app host configuration (default " +
           std::string(Zel::kAppHostConfigFilePath) + ") and prints every option.",
       {}, Config},
  };
  return commands;
}

const char kCommonOptions[] =
    "Options of every command:\n"
    "  --json             one JSON object per result, on one line\n"
    "  --log-level LEVEL  library log level on stderr: TRACE DEBUG INFO WARN ERROR FATAL OFF\n"
    "                     (default ERROR)\n"
    "  --help             this text\n"
    "Exit status: 0 success, 1 the library refused, 2 usage error.\n";

void PrintUsage(std::ostream& out, const Command* command) {
  if (command != nullptr) {
    out << "usage: " << command->usage << "\n";
  } else {
    out << "usage: zelknx COMMAND [OPTIONS] ARGS...\n";
    for (const Command& each : Commands()) out << "  " << each.usage.substr(0, each.usage.find('\n')) << "\n";
  }
  out << kCommonOptions;
}

Options ReadOptions(const Command& command, int argc, char** argv) {
  Options options;
  for (int i = 2; i < argc; ++i) {
    const std::string arg = argv[i];
    const auto allowed = [&command, &arg] {
      for (const auto& name : command.options) {
        if (name == arg) return true;
      }
      return false;
    };
    if (arg == "--help" || arg == "-h") {
      options.help = true;
    } else if (arg == "--json") {
      options.json = true;
    } else if (arg == "--log-level" || (arg == "--bits" && allowed())) {
      if (i + 1 >= argc) throw UsageError{arg + " needs a value"};
      const std::string value = argv[++i];
      if (arg == "--bits") {
        options.bits = Zelknx::ParseUnsigned(value, 0xFFFFFFFFu);
        if (!options.bits) throw UsageError{"bad bit size '" + value + "'"};
        continue;
      }
      const auto level = log4cplus::getLogLevelManager().fromString(value);
      if (level == log4cplus::NOT_SET_LOG_LEVEL) throw UsageError{"bad log level '" + value + "'"};
      Zel::GetGlobalDefaultLogger().setLogLevel(level);
    } else if (arg == "--table" && allowed()) {
      options.table = true;
    } else if (arg == "--code" && allowed()) {
      options.code = true;
    } else if (arg.size() > 2 && arg.compare(0, 2, "--") == 0) {
      throw UsageError{"unknown option " + arg};
    } else {
      options.args.push_back(arg);
    }
  }
  return options;
}

bool WantsJson(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--json") return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  log4cplus::SharedAppenderPtr appender(new LastErrorAppender());
  g_lastError = static_cast<LastErrorAppender*>(appender.get());
  Zel::GetGlobalDefaultLogger().addAppender(appender);

  const bool json = WantsJson(argc, argv);
  const Command* command = nullptr;
  try {
    const std::string name = argc > 1 ? argv[1] : "";
    if (name == "--help" || name == "-h" || name == "help") {
      PrintUsage(std::cout, nullptr);
      return 0;
    }
    for (const Command& each : Commands()) {
      if (name == each.name) command = &each;
    }
    if (command == nullptr) throw UsageError{name.empty() ? "no command" : "unknown command '" + name + "'"};
    const Options options = ReadOptions(*command, argc, argv);
    if (options.help) {
      PrintUsage(std::cout, command);
      return 0;
    }
    g_lastError->Reset();
    command->run(options);
    return 0;
  } catch (const UsageError& error) {
    if (json) std::cout << Json{{"error", error.message}}.dump() << '\n';
    std::cerr << "zelknx: " << error.message << "\n";
    PrintUsage(std::cerr, command);
    return 2;
  } catch (const Refusal& refusal) {
    if (json) {
      std::cout << Json{{"error", refusal.message}}.dump() << '\n';
    } else if (!refusal.logged) {
      std::cerr << "zelknx: refused: " << refusal.message << "\n";
    }
    return 1;
  }
}
