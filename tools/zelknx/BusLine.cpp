#include "BusLine.h"

#include "DptNames.h"
#include "GroupAddress.h"
#include "ValueText.h"

#include <array>
#include <cctype>

namespace Zelknx {
namespace {

struct ApciWord {
  const char* groupSocket;  // groupsocketlisten's word
  const char* busMonitor;   // vbusmonitor1's service name
  Apci apci;
};

constexpr std::array<ApciWord, 3> kApciWords = {{
    {"Write", "A_GroupValue_Write", Apci::Write},
    {"Response", "A_GroupValue_Response", Apci::Response},
    {"Read", "A_GroupValue_Read", Apci::Read},
}};

std::string Trim(const std::string& text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos)
    return "";
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// A decimal number of at most `max`. (An out-parameter rather than an
// optional: GCC 12 warns falsely about optionals here at -O1.)
bool ReadNumber(const std::string& text, unsigned long max, unsigned long& number) {
  const auto parsed = ParseUnsigned(text, max);
  number = parsed.value_or(0);
  return parsed.has_value() && !text.empty() &&
         text.find_first_not_of("0123456789") == std::string::npos;
}

// An individual address "1.1.5" (4/4/8 bits).
bool ReadIndividualAddress(const std::string& text, std::uint16_t& address) {
  const auto first = text.find('.');
  const auto second = first == std::string::npos ? first : text.find('.', first + 1);
  unsigned long area = 0, line = 0, device = 0;
  if (second == std::string::npos || !ReadNumber(text.substr(0, first), 15, area) ||
      !ReadNumber(text.substr(first + 1, second - first - 1), 15, line) ||
      !ReadNumber(text.substr(second + 1), 255, device)) {
    return false;
  }
  address = static_cast<std::uint16_t>(area << 12 | line << 8 | device);
  return true;
}

// "from SRC to DST" somewhere in `text`, DST a group address; the rest of
// the text after DST goes to `after`.
bool ReadAddresses(const std::string& text, BusLine& bus, std::string& after, std::string& error) {
  const auto from = text.find(" from ");
  const auto to = from == std::string::npos ? from : text.find(" to ", from + 6);
  if (to == std::string::npos) {
    error = "no \"from ... to ...\" in the line";
    return false;
  }
  const auto dstStart = to + 4;
  const auto dstEnd = text.find_first_of(" :", dstStart);
  const std::string src = text.substr(from + 6, to - from - 6);
  const std::string dst =
      text.substr(dstStart, dstEnd == std::string::npos ? dstEnd : dstEnd - dstStart);
  std::uint16_t source = 0;
  if (!ReadIndividualAddress(src, source)) {
    error = "bad source address '" + src + "'";
    return false;
  }
  bus.source = source;
  const auto destination = ParseGroupAddress(dst);
  if (dst.find('/') == std::string::npos || !destination) {
    error = "'" + dst + "' is not a group address (not a group telegram)";
    return false;
  }
  bus.destination = *destination;
  after = dstEnd == std::string::npos ? "" : text.substr(dstEnd);
  return true;
}

bool ReadOctets(const std::string& text, BusLine& bus, std::string& error) {
  auto octets = ParseHex(text, error);
  if (!octets)
    return false;
  bus.octets = std::move(*octets);
  return true;
}

// groupsocketlisten: "Write from 1.1.5 to 1/2/3: 0C 33".
boost::optional<BusLine> ParseGroupSocketLine(const std::string& line, const ApciWord& word,
                                              std::string& error) {
  BusLine bus;
  bus.apci = word.apci;
  std::string after;
  if (!ReadAddresses(line, bus, after, error))
    return boost::none;
  if (word.apci == Apci::Read) {
    if (!Trim(after).empty()) {
      error = "data after a read";
      return boost::none;
    }
    return bus;
  }
  if (after.empty() || after[0] != ':') {
    error = "no ':' before the data";
    return boost::none;
  }
  if (!ReadOctets(after.substr(1), bus, error))
    return boost::none;
  if (bus.octets.empty()) {
    error = "no data";
    return boost::none;
  }
  return bus;
}

// vbusmonitor1: "L_Busmon: ... from 1.1.5 to 1/2/3 hops: 06 T_Data_Group A_GroupValue_Write 0C 33".
boost::optional<BusLine> ParseBusMonitorLine(const std::string& line, std::string& error) {
  BusLine bus;
  std::string after;
  if (!ReadAddresses(line, bus, after, error))
    return boost::none;
  for (const ApciWord& word : kApciWords) {
    const std::string service = std::string(" ") + word.busMonitor;
    const auto at = after.find(service);
    if (at == std::string::npos)
      continue;
    const auto end = at + service.size();
    if (end < after.size() && after[end] != ' ')
      continue;  // a longer service name
    bus.apci = word.apci;
    std::string data = Trim(after.substr(end));
    if (data.compare(0, 7, "(small)") == 0) {
      bus.shortForm = true;
      data = data.substr(7);
    }
    if (!ReadOctets(data, bus, error))
      return boost::none;
    if ((word.apci == Apci::Read) != bus.octets.empty()) {
      error = word.apci == Apci::Read ? "data after a read" : "no data";
      return boost::none;
    }
    return bus;
  }
  error = "not a group value read, write or response";
  return boost::none;
}

}  // namespace

boost::optional<BusLine> ParseBusLine(const std::string& text, std::string& error) {
  const std::string line = Trim(text);
  if (line.empty()) {
    error = "empty line";
    return boost::none;
  }
  if (line.compare(0, 9, "L_Busmon:") == 0) {
    return ParseBusMonitorLine(line, error);
  }
  for (const ApciWord& word : kApciWords) {
    const std::string start = std::string(word.groupSocket) + " from ";
    if (line.compare(0, start.size(), start) == 0) {
      return ParseGroupSocketLine(" " + line, word, error);
    }
  }
  // "DPT HEX" or "GA HEX".
  const auto blank = line.find_first_of(" \t");
  const std::string first = line.substr(0, blank);
  BusLine bus;
  if (first.find('/') != std::string::npos) {
    bus.destination = ParseGroupAddress(first);
    if (!bus.destination) {
      error = "bad group address '" + first + "'";
      return boost::none;
    }
  } else {
    bus.dpt = ParseDptSpelling(first);
    if (!bus.dpt) {
      error = "not a DPT, a group address or a line of knxtool: '" + first + "'";
      return boost::none;
    }
  }
  if (blank == std::string::npos) {
    error = "no data after '" + first + "'";
    return boost::none;
  }
  if (!ReadOctets(line.substr(blank + 1), bus, error))
    return boost::none;
  if (bus.octets.empty()) {
    error = "no data after '" + first + "'";
    return boost::none;
  }
  return bus;
}

}  // namespace Zelknx
