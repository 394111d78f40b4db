// zelobjectmodel: the library's conversions, DPT facts, object-model ids
// and configuration reader for Python scripts, through the same entry
// points as zelknx (tools/zelknx: Telegram.h, ValueText.h, DptNames.h,
// Facts.h). Nothing is converted here: a Python value becomes the tool's
// text form of it and ParseValue builds the TAVVALUE of the DPT's value
// type, as `zelknx encode` does; a decoded TAVVALUE becomes the Python
// value of its JSON form (JsonValue), dates and times from their fields.
#include "Binding.h"
#include "LogBridge.h"

#include "DptNames.h"
#include "Facts.h"
#include "ValueText.h"

#include "Zel/AppHostConfig.h"
#include "Zel/KnxOmbMapping.h"
#include "Zel/KnxValueConverter.h"
#include "ZelLog/Logging.h"

#include <pybind11/stl.h>

#include <cmath>
#include <cstdio>
#include <utility>

namespace ZelPython {
namespace {

using Zelknx::Json;
using Zelknx::Refusal;

constexpr const char* kWeekdays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};

// A time of day with an optional weekday, as DPT 10.001 carries it: the
// value that datetime.time cannot hold.
struct TimeOfDay {
  int hour = 0;
  int minute = 0;
  int second = 0;
  int weekday = 0;  // 1 Monday .. 7 Sunday, 0 none

  // The tool's text form: "08:30:00", "Mon 08:30:00".
  std::string Text() const {
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", hour, minute, second);
    return weekday > 0 ? std::string(kWeekdays[weekday - 1]) + " " + text : text;
  }
};

py::object DateTimeModule() {
  return py::module_::import("datetime");
}

// The DPT table, filled once; read-only afterwards, so threads share it.
const Zel::KnxValueConverter& Table() {
  static const Zel::KnxValueConverter* table = [] {
    auto* converter = new Zel::KnxValueConverter();
    converter->Init();
    return converter;
  }();
  return *table;
}

const Zel::DptValueEntry& TableRow(const Zel::KNXDPT& dpt) {
  Zelknx::ResetLastError();
  const Zel::DptValueEntry& entry = Table().GetEntry(dpt);
  if (&entry == &Zel::DptValueMap::EmptyEntry())
    Zelknx::Refuse("no table row for DPT " + Zelknx::DptName(dpt));
  return entry;
}

// The Python value of a decoded value.
py::object FromValue(const TAVVALUE& value) {
  const TAVTIME& time = value.GetTime();
  try {
    switch (value.ivt) {
      case ivtDate:
      case ivtDateUtc: return DateTimeModule().attr("date")(time.year, time.month, time.day);
      case ivtDateTime:
      case ivtDateTimeUtc:
      case ivtTimestamp:
        return DateTimeModule().attr("datetime")(time.year, time.month, time.day, time.hour,
                                                 time.minute, time.second);
      case ivtTime:
      case ivtTimeUtc:
      case ivtDayTime: {
        TimeOfDay result{time.hour, time.minute, time.second, 0};
        for (int day = 0; day < 7; ++day) {
          if (time.weekDays == (1u << day))
            result.weekday = day + 1;
        }
        return py::cast(result);
      }
      default: break;
    }
  } catch (py::error_already_set&) {
    // Fields that Python's types do not take: the tool's text form.
    return Text(Zelknx::FormatValue(value));
  }
  const Json json = Zelknx::JsonValue(value);
  if (json.is_string() && !std::isfinite(value.GetDouble()) && value.ivt != ivtString &&
      value.ivt != ivtBinary) {
    return py::float_(value.GetDouble());  // nan, inf, -inf: JSON has only their text
  }
  return ToPython(json);
}

// The tool's text form of a Python value: what ParseValue reads.
std::string ValueText(py::handle value) {
  if (value.is_none())
    return "-";
  if (py::isinstance<py::bool_>(value))
    return value.cast<bool>() ? "true" : "false";
  if (py::isinstance<py::int_>(value))
    return py::str(value);
  if (py::isinstance<py::float_>(value))
    return py::repr(value);  // the shortest text that reads back to the same double
  if (py::isinstance<py::str>(value))
    return value.cast<std::string>();
  if (py::isinstance<TimeOfDay>(value))
    return value.cast<const TimeOfDay&>().Text();
  const py::object datetime = DateTimeModule();
  char text[32];
  const auto field = [&](const char* name) { return value.attr(name).cast<int>(); };
  if (py::isinstance(value, datetime.attr("datetime"))) {
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", field("year"), field("month"),
                  field("day"), field("hour"), field("minute"), field("second"));
  } else if (py::isinstance(value, datetime.attr("date"))) {
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", field("year"), field("month"), field("day"));
  } else if (py::isinstance(value, datetime.attr("time"))) {
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", field("hour"), field("minute"),
                  field("second"));
  } else {
    throw py::type_error(
        "a value is bool, int, float, str, datetime.date, datetime.time, "
        "datetime.datetime, TimeOfDay or None, not " +
        std::string(py::str(py::type::of(value).attr("__name__"))));
  }
  return text;
}

std::vector<std::uint8_t> Octets(py::handle payload) {
  char* data = nullptr;
  Py_ssize_t size = 0;
  py::object bytes = py::reinterpret_borrow<py::object>(payload);
  if (!PyBytes_Check(payload.ptr())) {
    // bytearray, memoryview: copied, as bytes(payload) would
    bytes = py::reinterpret_steal<py::object>(PyBytes_FromObject(payload.ptr()));
    if (!bytes)
      throw py::error_already_set();
  }
  PyBytes_AsStringAndSize(bytes.ptr(), &data, &size);
  return std::vector<std::uint8_t>(data, data + size);
}

py::object Decode(const py::object& dpt, const py::object& payload, bool table,
                  const boost::optional<unsigned long long>& bits) {
  const Zel::KNXDPT parsed = ReadDpt(dpt);
  if (bits && *bits > 0xFFFFFFFFull)
    throw py::value_error("bits is 0..4294967295");
  const boost::optional<unsigned long> size =
      bits ? boost::optional<unsigned long>(static_cast<unsigned long>(*bits)) : boost::none;
  return FromValue(Zelknx::DecodeOctets(table, parsed, Octets(payload), false, size));
}

py::list DecodeMany(const py::object& dpt, const py::iterable& payloads, bool table) {
  const Zel::KNXDPT parsed = ReadDpt(dpt);
  py::list values;
  for (py::handle payload : payloads)
    values.append(FromValue(Zelknx::DecodeOctets(table, parsed, Octets(payload), false)));
  return values;
}

py::bytes Encode(const py::object& dpt, const py::object& value, bool table) {
  const Zel::KNXDPT parsed = ReadDpt(dpt);
  const TavValueType type = Zelknx::EncodingType(table, parsed);
  const std::string text = ValueText(value);
  auto tav = Zelknx::ParseValue(type, text);
  if (tav && tav->ivt == ivtNone && !value.is_none() && (type == ivtString || type == ivtBinary)) {
    // "-" is the text form's no-value, which a script writes as None: to a
    // string DPT the str "-" is the string.
    tav->ivt = type;
    tav->SetString(text);
  }
  if (!tav) {
    throw py::value_error("'" + text + "' is not a value of type " +
                          TAVVALUE::GetNameFromValueType(type));
  }
  const KnxStack::GroupValue group = Zelknx::EncodeValue(table, parsed, *tav);
  const KnxStack::BinaryData& data = group.GetRawData();
  return py::bytes(reinterpret_cast<const char*>(data.GetData()), data.GetLength());
}

py::object DptInfo(const py::object& dpt) {
  const Zel::KNXDPT parsed = ReadDpt(dpt);
  return ToPython(Zelknx::DptFacts(TableRow(parsed), parsed));
}

py::list Dpts() {
  py::list rows;
  for (const auto& main : Table().GetMap().Rows()) {
    for (const auto& row : main.second)
      rows.append(ToPython(Zelknx::DptFacts(row.second, boost::none)));
  }
  return rows;
}

Zel::LogicalDeviceId ReadLd(int ld) {
  if (ld < 1 || ld > 2)
    throw py::value_error("the logical device is 1 or 2");
  return Zel::LogicalDeviceId(ld);
}

py::object CoIds(int co, int ld) {
  const Zel::LogicalDeviceId device = ReadLd(ld);
  if (co < 0 || co > 65535)
    throw Refusal{"CO " + std::to_string(co) + " has no object-model id (1..4095)"};
  return ToPython(Zelknx::CoIds(static_cast<std::uint16_t>(co), device));
}

py::object ParameterIds(const std::string& kind, int number, int ld) {
  const auto type = Zelknx::ParseParameterType(kind);
  if (!type)
    throw py::value_error("the parameter type is 'ip', 'number' or 'text'");
  const Zel::LogicalDeviceId device = ReadLd(ld);
  if (number < 0 || number > 65535) {
    throw Refusal{kind + " parameter " + std::to_string(number) +
                  " has no object-model id (at most " +
                  std::to_string(Zel::KnxOmbMapping::GetMaxParametersOfType(*type)) + ")"};
  }
  return ToPython(Zelknx::ParameterIds(*type, static_cast<std::uint16_t>(number), device));
}

py::object LdIds(int ld) {
  return ToPython(Zelknx::LogicalDeviceIds(ReadLd(ld)));
}

py::object DescribeId(unsigned long long id) {
  if (id > 0xFFFFFFFFull)
    throw py::value_error("an object-model id is 0..4294967295");
  return ToPython(Zelknx::DescribeObjectId(static_cast<unsigned long>(id)));
}

py::object LoadConfig(const std::string& path) {
  DeliverLogEntries();  // only this call's entries below
  Zel::AppHostConfiguration config;
  try {
    config.LoadConfigurationFile(path);
  } catch (const std::exception& error) {
    throw Refusal{error.what()};
  }
  const py::object warn = py::module_::import("warnings").attr("warn");
  const py::object category = py::module_::import("zelobjectmodel").attr("ConfigWarning");
  for (const LogEntry& entry : PendingLogEntries()) {
    if (entry.level >= log4cplus::WARN_LOG_LEVEL)
      warn(Text(entry.message), category, 1);  // the caller's line
  }
  return ToPython(Zelknx::ConfigFacts(path, config));
}

void SetLogLevel(const py::object& level) {
  int number = 0;
  if (py::isinstance<py::str>(level)) {
    const py::object known = py::module_::import("logging").attr("getLevelName")(level);
    if (!py::isinstance<py::int_>(known))
      throw py::value_error("unknown log level " + std::string(py::repr(level)));
    number = known.cast<int>();
  } else {
    number = level.cast<int>();
  }
  Zel::GetGlobalDefaultLogger().setLogLevel(LibraryLevel(number));
}

int LogLevel() {
  return PythonLevel(Zel::GetGlobalDefaultLogger().getLogLevel());
}

}  // namespace

Zel::KNXDPT ReadDpt(py::handle dpt) {
  boost::optional<Zel::KNXDPT> parsed;
  if (py::isinstance<py::str>(dpt)) {
    parsed = Zelknx::ParseDptSpelling(dpt.cast<std::string>());
  } else if (py::isinstance<py::int_>(dpt) && !py::isinstance<py::bool_>(dpt)) {
    const auto code = dpt.cast<long long>();
    if (code >= 0 && code <= 0xFFFFFFFFll)
      parsed = Zelknx::ParseDptCode(std::to_string(code));
  } else if (py::isinstance<py::tuple>(dpt) && py::len(dpt) == 2) {
    std::pair<long long, long long> pair;
    try {
      pair = dpt.cast<std::pair<long long, long long>>();
    } catch (const py::cast_error&) {
      throw py::type_error("a DPT tuple is (main, sub), two int");
    }
    if (pair.first >= 0 && pair.first <= 65535 && pair.second >= 0 && pair.second <= 65535) {
      parsed = Zel::KNXDPT{};
      parsed->mainNumber = static_cast<std::uint16_t>(pair.first);
      parsed->subNumber = static_cast<std::uint16_t>(pair.second);
    }
  } else {
    throw py::type_error("a DPT is a str, a (main, sub) tuple or an int code");
  }
  if (!parsed) {
    throw py::value_error("bad DPT " + std::string(py::repr(dpt)) +
                          " (write '9.001', '9.1', '9', 'DPST-9-1', 'DPT-9', 'DPT_Value_Temp', "
                          "(9, 1) or the code 589825)");
  }
  return *parsed;
}

py::str Text(const std::string& text) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace"));
}

py::object ToPython(const Json& json) {
  switch (json.type()) {
    case Json::value_t::null: return py::none();
    case Json::value_t::boolean: return py::bool_(json.get<bool>());
    case Json::value_t::number_integer: return py::int_(json.get<std::int64_t>());
    case Json::value_t::number_unsigned: return py::int_(json.get<std::uint64_t>());
    case Json::value_t::number_float: return py::float_(json.get<double>());
    case Json::value_t::string: return Text(json.get_ref<const std::string&>());
    case Json::value_t::array: {
      py::list list;
      for (const Json& item : json)
        list.append(ToPython(item));
      return list;
    }
    case Json::value_t::object: {
      py::dict dict;
      for (const auto& item : json.items())
        dict[Text(item.key())] = ToPython(item.value());
      return dict;
    }
    default: return py::none();
  }
}

}  // namespace ZelPython

PYBIND11_MODULE(zelobjectmodel, module) {
  using namespace ZelPython;
  using Guard = py::call_guard<LogDelivery>;
  InstallLogBridge();

  module.doc() =
      "The KNX device's object-model library for scripts: DPT encoding and decoding exactly as "
      "the device does it, the DPT table, object-model ids, the app host configuration, ETS "
      "group address lists and projects, bus logs and a live knxd.\n\n"
      "Refusals raise ConversionError with the library's own message; the library's log "
      "entries go to the logging logger 'zelobjectmodel' (set_log_level sets what the library "
      "writes, ERROR by default).";

  // Never destroyed: the interpreter may be gone when static objects are.
  static auto* conversionError =
      new py::exception<Refusal>(module, "ConversionError", PyExc_ValueError);
  conversionError->doc() =
      "The library refused a conversion or lookup; the message is the text of its ERROR entry "
      "where it wrote one.";
  py::register_exception_translator([](std::exception_ptr error) {
    try {
      if (error)
        std::rethrow_exception(error);
    } catch (const Refusal& refusal) {
      PyErr_SetObject(conversionError->ptr(), Text(refusal.message).ptr());
    }
  });
  static auto* configWarning = new py::object(py::reinterpret_steal<py::object>(
      PyErr_NewExceptionWithDoc("zelobjectmodel.ConfigWarning",
                                "A log entry of the library while it loaded the configuration "
                                "(a fallback to the defaults among them).",
                                PyExc_UserWarning, nullptr)));
  module.attr("ConfigWarning") = *configWarning;

  py::class_<TimeOfDay>(module, "TimeOfDay",
                        "A time of day with an optional weekday (DPT 10.001): weekday 1 "
                        "(Monday) .. 7 (Sunday), or None. str() is the tool's text form, "
                        "'Mon 08:30:00'.")
      .def(py::init([](const py::object& time, const py::object& weekday) {
             TimeOfDay result{time.attr("hour").cast<int>(), time.attr("minute").cast<int>(),
                              time.attr("second").cast<int>(), 0};
             if (!weekday.is_none()) {
               result.weekday = weekday.cast<int>();
               if (result.weekday < 1 || result.weekday > 7)
                 throw py::value_error("weekday is 1 (Monday) .. 7 (Sunday) or None");
             }
             return result;
           }),
           py::arg("time"), py::arg("weekday") = py::none())
      .def_property_readonly(
          "time",
          [](const TimeOfDay& t) {
            return DateTimeModule().attr("time")(t.hour, t.minute, t.second);
          },
          "datetime.time")
      .def_property_readonly(
          "weekday",
          [](const TimeOfDay& t) {
            return t.weekday > 0 ? py::object(py::int_(t.weekday)) : py::none();
          },
          "1 (Monday) .. 7 (Sunday), or None")
      .def("__str__", &TimeOfDay::Text)
      .def("__repr__",
           [](const TimeOfDay& t) {
             return "TimeOfDay(" +
                    std::string(
                        py::repr(DateTimeModule().attr("time")(t.hour, t.minute, t.second))) +
                    ", " + (t.weekday > 0 ? std::to_string(t.weekday) : "None") + ")";
           })
      .def(
          "__eq__", [](const TimeOfDay& a, const TimeOfDay& b) { return a.Text() == b.Text(); },
          py::is_operator())
      .def("__hash__", [](const TimeOfDay& t) { return py::hash(py::str(t.Text())); });

  module.def("decode", &Decode, Guard(), py::arg("dpt"), py::arg("payload"), py::kw_only(),
             py::arg("table") = false, py::arg("bits") = py::none(),
             "The value the library decodes from the payload octets for the DPT.\n\n"
             "dpt: '9.001', '9.1', '9', 'DPST-9-1', 'DPT-9', 'DPT_Value_Temp', (9, 1) or the "
             "code 589825 (main * 65536 + sub).\n"
             "payload: bytes (or any bytes-like object).\n"
             "table: convert through the DPT table (KnxValueConverter) instead of by DPT code.\n"
             "bits: the group value's size; by default one octet of a DPT of at most 6 bits is "
             "the 6-bit short form, anything else 8 bits per octet.\n\n"
             "Returns bool, int, float, str, datetime.date, datetime.datetime, TimeOfDay, or "
             "None for the no-value that the table gives for invalid data. Raises "
             "ConversionError when the library refuses.\n\n"
             ">>> decode('9.001', bytes.fromhex('0c33'))\n21.5");
  module.def("decode_many", &DecodeMany, Guard(), py::arg("dpt"), py::arg("payloads"),
             py::kw_only(), py::arg("table") = false,
             "decode() of every payload of an iterable for one DPT, as a list.");
  module.def("encode", &Encode, Guard(), py::arg("dpt"), py::arg("value"), py::kw_only(),
             py::arg("table") = false,
             "The payload octets the library encodes from the value for the DPT.\n\n"
             "The value is built with the object-model type of the DPT's main number (with "
             "table, the table row's type) from bool, int, float, str (the zelknx text form, "
             "e.g. 'Mon 08:30:00' or '2024-03-15'), datetime.date, datetime.time, "
             "datetime.datetime, TimeOfDay or None (the no-value). ValueError when the value "
             "does not fit the type; ConversionError when the library refuses it. Where the "
             "library clamps (encode('7.001', 70000)), the result is its clamped value and its "
             "ERROR entry goes to logging.\n\n"
             ">>> encode('9.001', 21.5)\nb'\\x0c3'");
  module.def("dpt_info", &DptInfo, Guard(), py::arg("dpt"),
             "The DPT table's row of the DPT as a dict: 'dpt', 'bits', 'type' (the value "
             "type), 'subtype', 'converter', 'range', 'omType' and 'omDefault' (object-model "
             "type and default of the main number), 'name' and 'unit' (the KNX standard's), "
             "and 'encoded' where the value is the encoded number of a scaled DPT. "
             "ConversionError when the table has no row for it.");
  module.def("dpts", &Dpts, Guard(), "Every row of the DPT table, as dpt_info() gives them.");
  module.def("co_ids", &CoIds, Guard(), py::arg("co"), py::arg("ld") = 1,
             "The object-model ids of a communication object of logical device 1 or 2: a dict "
             "with 'co', 'ld', 'channel', 'value'. ConversionError outside 1..4095.");
  module.def("parameter_ids", &ParameterIds, Guard(), py::arg("type"), py::arg("number"),
             py::arg("ld") = 1,
             "The object-model ids of a parameter ('ip', 'number' or 'text'): a dict with "
             "'parameterType', 'parameter', 'ld', 'channel', 'value'.");
  module.def("ld_ids", &LdIds, Guard(), py::arg("ld") = 1,
             "The object-model ids of logical device 1 or 2 and its app control, as a dict.");
  module.def("describe_id", &DescribeId, Guard(), py::arg("id"),
             "What an object-model id is: a dict with 'id', what is known ('ld', 'co', "
             "'parameterType', 'parameter') and 'kind' ('CO value', 'parameter channel', "
             "'logical KNX device', ..., 'unknown').");
  module.def("load_config", &LoadConfig, Guard(),
             py::arg("path") = std::string(Zel::kAppHostConfigFilePath),
             "The app host configuration file's options as a dict, as the library loads them. "
             "Where the library falls back to its defaults (a missing or corrupt file), the "
             "defaults are returned and each of its log entries is issued as a ConfigWarning.");
  module.def("set_log_level", &SetLogLevel, Guard(), py::arg("level"),
             "What the library writes: a logging level (logging.DEBUG) or its name ('WARNING'); "
             "entries go to the logger 'zelobjectmodel'.");
  module.def("log_level", &LogLevel, Guard(), "The library's log level as a logging level.");

  AddReaders(module);
}
