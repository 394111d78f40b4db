#include "Telegram.h"

#include "DptNames.h"
#include "ValueText.h"

#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxValueConverter.h"
#include "ZelLog/Logging.h"

#include <log4cplus/appender.h>
#include <log4cplus/loglevel.h>
#include <log4cplus/spi/loggingevent.h>

#include <chrono>
#include <ctime>
#include <iomanip>
#include <mutex>
#include <sstream>

namespace Zelknx {
namespace {

// The library logs on the thread that converts, so a thread-local text is
// the calling thread's own last error.
thread_local std::string t_lastError;

class LastErrorAppender final : public log4cplus::Appender {
 public:
  ~LastErrorAppender() override { destructorImpl(); }
  void close() override { closed = true; }

 protected:
  void append(const log4cplus::spi::InternalLoggingEvent& event) override {
    if (event.getLogLevel() >= log4cplus::ERROR_LOG_LEVEL) {
      const std::string& message = event.getMessage();
      const auto separator = message.find(" - ");
      t_lastError = separator == std::string::npos ? message : message.substr(separator + 3);
    }
  }
};

std::string Silent(const Zel::KNXDPT& dpt) {
  return "DPT " + DptName(dpt) +
         " refused the value without an error entry (--log-level WARN may say why)";
}

Json NameOrNull(const char* text) {
  return text != nullptr ? Json(text) : Json(nullptr);
}

}  // namespace

void InstallLastErrorLog() {
  static std::once_flag installed;
  std::call_once(installed, [] {
    Zel::GetGlobalDefaultLogger().addAppender(
        log4cplus::SharedAppenderPtr(new LastErrorAppender()));
  });
}

void ResetLastError() {
  t_lastError.clear();
}

const std::string& LastError() {
  return t_lastError;
}

void Refuse(const std::string& fallback) {
  throw Refusal{t_lastError.empty() ? fallback : t_lastError, !t_lastError.empty()};
}

TAVVALUE DecodeOctets(bool table, const Zel::KNXDPT& dpt, const std::vector<std::uint8_t>& octets,
                      bool shortForm, const boost::optional<unsigned long>& bits) {
  unsigned long size = 8 * static_cast<unsigned long>(octets.size());
  if (bits) {
    size = *bits;
  } else if (octets.size() == 1) {
    const std::int32_t expected = Zel::KnxValueConverter::GetExpectedBitSize(dpt.mainNumber);
    if (shortForm || (expected >= 1 && expected <= 6))
      size = 6;
  }
  const KnxStack::GroupValue group(KnxStack::BinaryData(octets.data(), octets.size()),
                                   static_cast<std::uint32_t>(size));
  ResetLastError();
  TAVVALUE value;
  if (table) {
    // One table per thread: building it for every telegram of a long log
    // would cost more than the decoding.
    struct Table {
      Zel::KnxValueConverter converter;
      Table() { converter.Init(); }
    };
    thread_local Table t_table;
    Zel::KnxValueConverter& converter = t_table.converter;
    Zel::KNXDPT resolved = dpt;
    if (!converter.FromKnxValue(resolved, group, value))
      Refuse(Silent(dpt));
    return value;
  }
  boost::optional<TAVVALUE> result;
  try {
    result = Zel::GroupValueToTavValue(group, DptCode(dpt));
  } catch (const std::exception& error) {
    throw Refusal{error.what()};
  }
  if (!result)
    Refuse(Silent(dpt));
  return *result;
}

std::string AddValue(Json& json, const Zel::KNXDPT& dpt, const TAVVALUE& value) {
  const DptNameEntry* names = FindDptName(dpt);
  const char* unit = ValueUnit(dpt);
  json["dpt"] = DptName(dpt);
  json["type"] = TAVVALUE::GetNameFromValueType(value.ivt);
  json["value"] = JsonValue(value);
  json["name"] = NameOrNull(names != nullptr ? names->name : nullptr);
  json["unit"] = NameOrNull(unit);
  const bool noValue = value.ivt == ivtNone || value.ivt == ivtEmpty;
  return FormatValue(value) + (unit != nullptr && !noValue ? std::string(" ") + unit : "");
}

std::string Hex(const std::vector<std::uint8_t>& octets, const char* separator) {
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < octets.size(); ++i) {
    if (i > 0)
      text += separator;
    text += kDigits[octets[i] >> 4];
    text += kDigits[octets[i] & 0x0F];
  }
  return text;
}

const char* ApciName(Apci apci) {
  switch (apci) {
    case Apci::Write: return "write";
    case Apci::Response: return "response";
    case Apci::Read: return "read";
  }
  return "?";
}

DecodedTelegram DecodeTelegram(const Telegram& telegram, const GroupAddressTable* groups,
                               bool table) {
  const GroupAddressEntry* group = groups != nullptr ? groups->Find(telegram.destination) : nullptr;
  const boost::optional<Zel::KNXDPT> dpt = group != nullptr ? group->dpt : boost::none;
  DecodedTelegram result;
  Json& json = result.json;
  std::string& text = result.text;
  if (!telegram.time.empty()) {
    json["time"] = telegram.time;
    text = telegram.time + " ";
  }
  if (telegram.source) {
    json["src"] = IndividualAddressText(*telegram.source);
    text += IndividualAddressText(*telegram.source) + " -> ";
  }
  json["dst"] = GroupAddressText(telegram.destination);
  json["name"] = group != nullptr ? Json(group->name) : Json(nullptr);
  json["dpt"] = dpt ? Json(DptName(*dpt)) : Json(nullptr);
  json["apci"] = ApciName(telegram.apci);
  json["hex"] = Hex(telegram.octets, "");
  json["value"] = nullptr;
  json["unit"] = nullptr;
  text += GroupAddressText(telegram.destination) + (group != nullptr ? " " + group->name : "") +
          (dpt ? " (" + DptName(*dpt) + ")" : "") + " " + ApciName(telegram.apci);
  if (telegram.apci == Apci::Read)
    return result;
  if (!dpt) {
    text += " " + Hex(telegram.octets, " ");
    return result;
  }
  try {
    const TAVVALUE value = DecodeOctets(table, *dpt, telegram.octets, telegram.shortForm);
    Json decoded;
    text += " " + AddValue(decoded, *dpt, value);
    json["value"] = decoded["value"];
    json["unit"] = decoded["unit"];
  } catch (const Refusal& refusal) {
    json["error"] = refusal.message;
    text += " " + Hex(telegram.octets, " ") + " (not decoded: " + refusal.message + ")";
  }
  return result;
}

std::string LocalTimeNow() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  std::ostringstream out;
  out << std::put_time(&local, "%Y-%m-%dT%H:%M:%S") << '.' << std::setw(3) << std::setfill('0')
      << millis;
  return out.str();
}

}  // namespace Zelknx
