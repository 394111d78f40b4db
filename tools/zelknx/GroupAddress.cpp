#include "GroupAddress.h"

#include "DptNames.h"
#include "ValueText.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

namespace Zelknx {
namespace {

struct Record {
  std::size_t line;  // where the record starts
  std::vector<std::string> fields;
};

// Splits `text` at '/' into at most three parts.
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

// The separator of the header row: the most frequent of tab, ';' and ','
// outside quotes (ties in that order).
char DetectSeparator(const std::string& text, std::size_t begin) {
  std::array<std::size_t, 3> counts{};
  constexpr std::array<char, 3> kSeparators = {'\t', ';', ','};
  bool quoted = false;
  for (std::size_t i = begin; i < text.size() && (quoted || text[i] != '\n'); ++i) {
    if (text[i] == '"')
      quoted = !quoted;
    for (std::size_t s = 0; s < kSeparators.size() && !quoted; ++s) {
      counts[s] += text[i] == kSeparators[s] ? 1 : 0;
    }
  }
  const auto most = std::max_element(counts.begin(), counts.end());
  return kSeparators[static_cast<std::size_t>(most - counts.begin())];
}

// Every record of `text` from `pos`; blank lines give no record.
std::vector<Record> Records(const std::string& text, std::size_t pos, char separator,
                            const std::string& source) {
  std::vector<Record> records;
  std::size_t line = 1;
  while (pos < text.size()) {
    Record record{line, {}};
    std::string field;
    bool fieldQuoted = false;
    bool endOfRecord = false;
    while (!endOfRecord) {
      if (pos >= text.size() || text[pos] == '\n') {
        endOfRecord = true;
        ++pos;
      } else if (text[pos] == '\r' && pos + 1 < text.size() && text[pos + 1] == '\n') {
        ++pos;  // the LF ends the record
        continue;
      } else if (text[pos] == separator) {
        record.fields.push_back(field);
        field.clear();
        fieldQuoted = false;
        ++pos;
        continue;
      } else if (text[pos] == '"' && field.empty() && !fieldQuoted) {
        const std::size_t quoteLine = line;
        fieldQuoted = true;
        for (++pos;; ++pos) {
          if (pos >= text.size()) {
            throw GroupAddressCsvError(source, quoteLine, "a quoted field is not closed");
          }
          if (text[pos] == '"') {
            if (pos + 1 < text.size() && text[pos + 1] == '"') {
              field += '"';
              ++pos;
              continue;
            }
            ++pos;
            break;
          }
          if (text[pos] == '\n')
            ++line;
          field += text[pos];
        }
        if (pos < text.size() && text[pos] != separator && text[pos] != '\n' && text[pos] != '\r') {
          throw GroupAddressCsvError(source, line, "text after the closing quote of a field");
        }
        continue;
      } else {
        if (fieldQuoted) {
          throw GroupAddressCsvError(source, line, "text after the closing quote of a field");
        }
        field += text[pos];
        ++pos;
        continue;
      }
      record.fields.push_back(field);
    }
    const bool blank = record.fields.size() == 1 &&
                       record.fields[0].find_first_not_of(" \t\r") == std::string::npos;
    if (!blank)
      records.push_back(std::move(record));
    ++line;
  }
  return records;
}

std::size_t Column(const std::vector<std::string>& header, const char* name) {
  const auto found = std::find(header.begin(), header.end(), name);
  return found == header.end() ? header.size() : static_cast<std::size_t>(found - header.begin());
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
  return std::to_string(address >> 11) + "/" + std::to_string((address >> 8) & 7) + "/" +
         std::to_string(address & 255);
}

std::string IndividualAddressText(std::uint16_t address) {
  return std::to_string(address >> 12) + "." + std::to_string((address >> 8) & 15) + "." +
         std::to_string(address & 255);
}

GroupAddressCsvError::GroupAddressCsvError(const std::string& source, std::size_t line,
                                           const std::string& message)
    : std::runtime_error(source + ":" + std::to_string(line) + ": " + message), m_line(line) {}

GroupAddressTable GroupAddressTable::Read(std::istream& in, const std::string& source) {
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const std::size_t begin = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  const std::vector<Record> records = Records(text, begin, DetectSeparator(text, begin), source);
  if (records.empty()) {
    throw GroupAddressCsvError(
        source, 0, "empty file, expected a header row with \"Group name\" and \"Address\"");
  }
  const std::vector<std::string>& header = records.front().fields;
  const std::size_t nameColumn = Column(header, "Group name");
  const std::size_t addressColumn = Column(header, "Address");
  const std::size_t dptColumn = Column(header, "DatapointType");
  if (nameColumn == header.size() || addressColumn == header.size()) {
    throw GroupAddressCsvError(
        source, records.front().line,
        "the header row has no \"Group name\" or no \"Address\" column (is this an ETS "
        "group address export?)");
  }
  GroupAddressTable table;
  for (std::size_t i = 1; i < records.size(); ++i) {
    const Record& record = records[i];
    if (record.fields.size() != header.size()) {
      throw GroupAddressCsvError(source, record.line,
                                 std::to_string(record.fields.size()) +
                                     " fields where the header row has " +
                                     std::to_string(header.size()));
    }
    const std::string& address = record.fields[addressColumn];
    if (address.find('-') != std::string::npos &&
        address.find_first_not_of("0123456789/-") == std::string::npos) {
      continue;  // a main or middle group: 1/-/-, 1/2/-
    }
    GroupAddressEntry entry;
    const auto parsed = ParseGroupAddress(address);
    if (!parsed) {
      throw GroupAddressCsvError(source, record.line, "bad group address '" + address + "'");
    }
    entry.address = *parsed;
    entry.name = record.fields[nameColumn];
    if (dptColumn < header.size() && !record.fields[dptColumn].empty()) {
      entry.dpt = ParseDptSpelling(record.fields[dptColumn]);
      if (!entry.dpt) {
        throw GroupAddressCsvError(source, record.line,
                                   "bad datapoint type '" + record.fields[dptColumn] + "'");
      }
    }
    table.m_entries.emplace(entry.address, std::move(entry));
  }
  return table;
}

GroupAddressTable GroupAddressTable::Load(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw GroupAddressCsvError(path, 0, "cannot be read");
  }
  return Read(in, path);
}

const GroupAddressEntry* GroupAddressTable::Find(std::uint16_t address) const {
  const auto found = m_entries.find(address);
  return found == m_entries.end() ? nullptr : &found->second;
}

}  // namespace Zelknx
