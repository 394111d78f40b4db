#include "PendingReaders.h"

namespace Zelknx {

boost::optional<LineResult> DecodeLogLine(const std::string& line, std::size_t number,
                                          const GroupAddressTable* groups,
                                          const std::string& groupSource, bool table) {
  std::string why;
  const auto bus = ParseBusLine(line, why);
  if (!bus)
    return boost::none;
  LineResult result;
  result.json["line"] = number;
  std::string error;
  if (bus->dpt) {
    try {
      result.text = AddValue(result.json, *bus->dpt,
                             DecodeOctets(table, *bus->dpt, bus->octets, bus->shortForm));
    } catch (const Refusal& refusal) {
      error = refusal.message;
    }
  } else {
    const Telegram telegram{"",        bus->source, *bus->destination,
                            bus->apci, bus->octets, bus->shortForm};
    const DecodedTelegram decoded = DecodeTelegram(telegram, groups, table);
    result.json.update(decoded.json);
    result.text = decoded.text;
    error = decoded.json.value("error", "");
    if (decoded.json["dpt"].is_null() && bus->apci != Apci::Read) {
      error = "no DPT for group address " + GroupAddressText(*bus->destination) +
              (groups != nullptr ? " in " + groupSource : "");
    }
  }
  if (!error.empty()) {
    result.json = Json{{"line", number}, {"error", error}};
    result.text = "line " + std::to_string(number) + ": error: " + error;
    result.failed = true;
  }
  return result;
}

}  // namespace Zelknx
