#include "Commands.h"

#include "DptNames.h"
#include "Facts.h"

#include "Zel/AppHostConfig.h"
#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxOmbMapping.h"
#include "Zel/KnxValueConverter.h"
#include "ZelLog/Logging.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace Zelknx {
namespace {

std::string Join(const std::vector<std::string>& parts, std::size_t from, const char* separator) {
  std::string text;
  for (std::size_t i = from; i < parts.size(); ++i) {
    text += (i > from ? separator : "") + parts[i];
  }
  return text;
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

// Calls `each` with every line of stdin, without its line feed. The output
// is flushed whenever the input has nothing more at hand, so that a live
// log (tail -f) is decoded as it grows.
template <class Each>
void ForEachLine(Each each) {
  std::vector<char> buffer(1 << 16);
  std::string line;
  std::string partial;  // the start of a line that the next read continues
  for (;;) {
    std::cout.flush();
    const ssize_t got = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR)
      continue;
    if (got <= 0)
      break;
    const char* at = buffer.data();
    const char* const end = at + got;
    for (const char* feed; (feed = static_cast<const char*>(std::memchr(at, '\n', end - at)));
         at = feed + 1) {
      if (partial.empty()) {
        line.assign(at, feed);
      } else {
        line = std::move(partial.append(at, feed));
        partial.clear();
      }
      each(line);
    }
    partial.append(at, end);
  }
  if (!partial.empty())
    each(partial);
}

// `decode -`: one result per line that holds a telegram or a payload.
int DecodeLines(const Session& session) {
  const Options& options = session.options;
  const GroupAddressTable* groups = session.groups ? &*session.groups : nullptr;
  const Output output = options.json ? Output::Json : Output::Text;
  BusLine buffer;
  bool allDecoded = true;
  std::size_t number = 0;
  ForEachLine([&](const std::string& line) {
    const auto result =
        DecodeLogLine(line, ++number, groups, session.groupSource, options.table, output, buffer);
    if (result) {
      Print(options, result->json, result->text);
      allDecoded = allDecoded && !result->failed;
    }
  });
  return allDecoded ? 0 : 1;
}

void PrintRow(const Options& options, const Zel::DptValueEntry& entry,
              const boost::optional<Zel::KNXDPT>& requested) {
  const Json json = DptFacts(entry, requested);
  TAVVALUE defaultValue;  // in the text form, as the JSON object has it as a number
  const bool hasDefault = defaultValue.Deserialize(
      Zel::KnxOmbMapping::GetDefaultValueFromDpt(DptCode(entry.dpt), false));
  const auto string = [&](const char* key) {
    return json[key].is_null() ? std::string("-") : json[key].get<std::string>();
  };
  std::ostringstream text;
  text << std::left << std::setw(9) << string("dpt") << std::right << std::setw(4)
       << unsigned{entry.dpt.bitSize} << "  " << std::left << std::setw(12) << string("type")
       << std::setw(14) << string("subtype") << std::setw(34) << string("converter")
       << std::setw(12) << string("omType") << std::setw(12)
       << (hasDefault ? FormatValue(defaultValue) : "") << std::setw(48) << string("range") << ' '
       << string("name");
  if (!json["unit"].is_null())
    text << " [" << string("unit") << "]";
  if (json.contains("encoded"))
    text << " (the value is the encoded number: " << string("encoded") << ")";
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

// "N" or "-".
std::string IdText(const Json& id) {
  return id.is_null() ? "-" : id.dump();
}

void IdOf(const Options& options, unsigned long id) {
  const Json json = DescribeObjectId(id);
  const std::string kind = json["kind"];
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
  const Options& options = session.options;
  const auto& args = options.args;
  if (args.empty())
    throw UsageError{"id needs what to look up"};
  if (args[0] == "co" && args.size() >= 2) {
    const auto co = ParseUnsigned(args[1], 65535);
    if (!co)
      throw UsageError{"bad CO number '" + args[1] + "'"};
    const Json json = CoIds(static_cast<std::uint16_t>(*co), ReadLd(options, 2));
    Print(options, json,
          "CO " + json["co"].dump() + " of logical device " + json["ld"].dump() + ": channel " +
              IdText(json["channel"]) + ", value " + IdText(json["value"]));
  } else if (args[0] == "param" && args.size() >= 3) {
    const auto type = ParseParameterType(args[1]);
    if (!type)
      throw UsageError{"the parameter type is ip, number or text"};
    const auto number = ParseUnsigned(args[2], 65535);
    if (!number)
      throw UsageError{"bad parameter number '" + args[2] + "'"};
    const Json json = ParameterIds(*type, static_cast<std::uint16_t>(*number), ReadLd(options, 3));
    Print(options, json,
          args[1] + " parameter " + json["parameter"].dump() + " of logical device " +
              json["ld"].dump() + ": channel " + IdText(json["channel"]) + ", value " +
              IdText(json["value"]));
  } else if (args[0] == "ld" && args.size() <= 2) {
    const Json json = LogicalDeviceIds(ReadLd(options, 1));
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
  const Json json = ConfigFacts(file, config);
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
      throw UsageError{"group address " + text + " is not in " + session.groupSource};
    if (!group->dpt)
      throw UsageError{"group address " + text + " has no DPT in " + session.groupSource};
    return *group->dpt;
  }
  const auto dpt = ParseDptSpelling(text);
  if (!dpt) {
    throw UsageError{
        "bad DPT '" + text +
        "' (write 9.001, 9.1, 9, DPST-9-1, DPT-9 or DPT_Value_Temp, a code with --code, or a "
        "group address with --ga-csv or --project)"};
  }
  return *dpt;
}

int Encode(const Session& session) {
  const Options& options = session.options;
  if (options.args.size() < 2)
    throw UsageError{"encode needs a DPT and a value"};
  const Zel::KNXDPT dpt = ReadDpt(session, options.args[0]);
  const std::string text = Join(options.args, 1, " ");
  const TAVVALUE value = ReadValue(EncodingType(options.table, dpt), text);
  const KnxStack::GroupValue group = EncodeValue(options.table, dpt, value);
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

// ga: one line per group address of the list, in address order.
int GroupAddresses(const Session& session) {
  const Options& options = session.options;
  if (!session.groups)
    throw UsageError{"ga lists the group addresses of --ga-csv FILE or --project FILE"};
  if (!options.args.empty())
    throw UsageError{"ga takes no arguments"};
  for (const auto& item : session.groups->Entries()) {
    const GroupAddressEntry& entry = item.second;
    const Json json = EntryJson(entry, entry.style);
    const std::string address = json["address"];
    std::string text = address + " " + entry.name;
    if (const auto dpt = EntryDptText(entry)) {
      // A main type alone: its entry, not that of its subtype 0.
      const DptNameEntry* names =
          FindDptName(entry.mainOnly ? Zel::KNXDPT{0, entry.dpt->mainNumber, 0xFFFF} : *entry.dpt);
      text += " (" + *dpt;
      if (names != nullptr)
        text += std::string(" ") + names->name + (*names->unit != '\0' ? ", " : "") + names->unit;
      text += ")";
    }
    Print(options, json, text);
  }
  return 0;
}

}  // namespace Zelknx
