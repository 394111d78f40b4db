// What zelknx's `dpt`, `id ID` and `config` print, as JSON objects for every front
// end: a row of the library's DPT table with the standard's name and unit,
// what an object-model id is, and the app host's options. Facts only: every one is the library's
// (or DptNames.h's), nothing is converted here.
#pragma once

#include "Telegram.h"

#include "Zel/AppHostConfig.h"
#include "Zel/KnxOmbMapping.h"
#include "Zel/KnxValueConverter.h"

#include <boost/optional.hpp>

namespace Zelknx {

// "dpt" (9.x for a main number's wildcard row), "bits", "type",
// "subtype", "converter", "range", "omType", "omDefault" (the object-model
// type and default value of the main number), "name" and "unit" (those of
// `requested` when a DPT was asked for, else of the row), and "encoded"
// where the library hands out the encoded number of a scaled DPT.
Json DptFacts(const Zel::DptValueEntry& entry, const boost::optional<Zel::KNXDPT>& requested);

// "id", then what is known of it ("ld", "co", "parameterType",
// "parameter"), then "kind": "device", "logical KNX device", "CO channel",
// "CO value", "parameter channel", "parameter value", an app-control id,
// or "unknown".
Json DescribeObjectId(unsigned long id);

// "ip", "number", "text" and back; none for another text.
const char* ParameterTypeName(Zel::ParameterType type);
boost::optional<Zel::ParameterType> ParseParameterType(const std::string& text);

// The object-model ids of a communication object: "co", "ld", "channel",
// "value". Throws Refusal (the library's error, else why) where it has none.
Json CoIds(std::uint16_t co, Zel::LogicalDeviceId ld);
// The same of a parameter: "parameterType", "parameter", "ld", "channel",
// "value".
Json ParameterIds(Zel::ParameterType type, std::uint16_t number, Zel::LogicalDeviceId ld);
// The ids of a logical device: "ld", "device", "last" and its app-control
// ids.
Json LogicalDeviceIds(Zel::LogicalDeviceId ld);

// The app host's options as `config` holds them, after "file" (the file
// they were loaded from): "WithoutKNX", "TerminateOnFirmwareUpdate",
// "DebuggingActive", "AppHostDisableStartup",
// "AppConnectorHostDisableStartup", the root paths (null where not set),
// "ObjectModelConfigPath" and "ResponseDps".
Json ConfigFacts(const std::string& file, const Zel::AppHostConfiguration& config);

}  // namespace Zelknx
