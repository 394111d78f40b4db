#include "GroupAddress.h"

#include "DptNames.h"
#include "ValueText.h"

#include <vector>

namespace Zelknx {
namespace {

// Splits `text` at '/'.
std::vector<std::string> Levels(const std::string& text) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t slash; (slash = text.find('/', start)) != std::string::npos; start = slash + 1) {
    parts.push_back(text.substr(start, slash - start));
  }
  parts.push_back(text.substr(start));
  return parts;
}

// A decimal number of at most `max`. (An out-parameter rather than an
// optional: GCC 12 warns falsely about optionals here at -O1.)
bool Decimal(const std::string& text, unsigned long max, unsigned long& number) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  const auto parsed = ParseUnsigned(text, max);
  number = parsed.value_or(0);
  return parsed.has_value();
}

}  // namespace

boost::optional<std::uint16_t> ParseGroupAddress(const std::string& text) {
  const std::vector<std::string> parts = Levels(text);
  unsigned long main = 0, middle = 0, sub = 0;
  if (parts.size() == 3) {
    if (!Decimal(parts[0], 31, main) || !Decimal(parts[1], 7, middle) ||
        !Decimal(parts[2], 255, sub)) {
      return boost::none;
    }
    return static_cast<std::uint16_t>(main << 11 | middle << 8 | sub);
  }
  if (parts.size() == 2) {
    if (!Decimal(parts[0], 31, main) || !Decimal(parts[1], 2047, sub))
      return boost::none;
    return static_cast<std::uint16_t>(main << 11 | sub);
  }
  if (parts.size() != 1 || !Decimal(parts[0], 65535, sub))
    return boost::none;
  return static_cast<std::uint16_t>(sub);
}

std::string GroupAddressText(std::uint16_t address) {
  return GroupAddressText(address, AddressStyle::ThreeLevel);
}

std::string GroupAddressText(std::uint16_t address, AddressStyle style) {
  switch (style) {
    case AddressStyle::TwoLevel:
      return std::to_string(address >> 11) + "/" + std::to_string(address & 2047);
    case AddressStyle::Free: return std::to_string(address);
    case AddressStyle::ThreeLevel: break;
  }
  return std::to_string(address >> 11) + "/" + std::to_string((address >> 8) & 7) + "/" +
         std::to_string(address & 255);
}

std::string IndividualAddressText(std::uint16_t address) {
  return std::to_string(address >> 12) + "." + std::to_string((address >> 8) & 15) + "." +
         std::to_string(address & 255);
}

boost::optional<std::string> EntryDptText(const GroupAddressEntry& entry) {
  if (!entry.dpt)
    return boost::none;
  return entry.mainOnly ? std::to_string(entry.dpt->mainNumber) : DptName(*entry.dpt);
}

nlohmann::ordered_json EntryJson(const GroupAddressEntry& entry, AddressStyle style) {
  const auto dpt = EntryDptText(entry);
  nlohmann::ordered_json json;
  json["address"] = GroupAddressText(entry.address, style);
  json["name"] = entry.name;
  json["dpt"] = dpt ? nlohmann::ordered_json(*dpt) : nlohmann::ordered_json(nullptr);
  return json;
}

bool SetEntryDpt(GroupAddressEntry& entry, const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" ,;");
  entry.dpt = boost::none;
  entry.mainOnly = false;
  if (begin == std::string::npos)
    return true;
  const std::string first = text.substr(begin, text.find_first_of(" ,;", begin) - begin);
  entry.dpt = ParseDptSpelling(first);
  entry.mainOnly = entry.dpt && (first.compare(0, 4, "DPT-") == 0 ||
                                 first.find_first_not_of("0123456789") == std::string::npos);
  return entry.dpt.has_value();
}

GroupAddressCsvError::GroupAddressCsvError(const std::string& source, std::size_t line,
                                           const std::string& message)
    : GroupAddressSourceError(source + ":" + std::to_string(line) + ": " + message), m_line(line) {}

const GroupAddressEntry* GroupAddressTable::Find(std::uint16_t address) const {
  const auto found = m_entries.find(address);
  return found == m_entries.end() ? nullptr : &found->second;
}

void GroupAddressTable::Add(GroupAddressEntry entry) {
  const std::uint16_t address = entry.address;
  m_entries.emplace(address, std::move(entry));
}

}  // namespace Zelknx
