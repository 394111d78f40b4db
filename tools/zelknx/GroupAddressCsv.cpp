// The ETS group address export (CSV) in every layout that ETS and the
// planning tools write; see GroupAddress.h.
#include "GroupAddress.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <vector>

namespace Zelknx {
namespace {

struct Record {
  std::size_t line;  // where the record starts
  std::vector<std::string> fields;
};

std::string Trim(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos)
    return std::string();
  return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

// Windows-1252 into UTF-8. 0x80..0x9F are the code page's own characters
// (its five unassigned codes become the C1 controls of the same number);
// the rest is Latin-1. Written here rather than through iconv: the device's
// C library has no code page modules.
std::string FromWindows1252(const std::string& text) {
  static constexpr std::array<std::uint16_t, 32> kHigh = {
      0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
  std::string utf8;
  utf8.reserve(text.size() + text.size() / 8);
  for (const char c : text) {
    const auto octet = static_cast<unsigned char>(c);
    const std::uint32_t code = octet >= 0x80 && octet < 0xA0 ? kHigh[octet - 0x80] : octet;
    utf8::append(code, std::back_inserter(utf8));
  }
  return utf8;
}

// The separator: the most frequent of tab, ';' and ','
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
        record.fields.push_back(Trim(field));
        field.clear();
        fieldQuoted = false;
        ++pos;
        continue;
      } else if (text[pos] == '"' && Trim(field).empty() && !fieldQuoted) {
        const std::size_t quoteLine = line;
        field.clear();
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
        while (pos < text.size() && text[pos] == ' ')
          ++pos;
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
      record.fields.push_back(Trim(field));
    }
    const bool blank = std::all_of(record.fields.begin(), record.fields.end(),
                                   [](const std::string& field) { return field.empty(); });
    if (!blank)
      records.push_back(std::move(record));
    ++line;
  }
  return records;
}

bool IsDecimal(const std::string& field) {
  return !field.empty() && field.size() <= 5 &&
         field.find_first_not_of("0123456789") == std::string::npos;
}

// 1/2/3, 1/234 or a main or middle group's 1/-/-, 1/2/-, 1/-.
bool IsSlashAddress(const std::string& field) {
  const std::size_t slashes = static_cast<std::size_t>(std::count(field.begin(), field.end(), '/'));
  return (slashes == 1 || slashes == 2) && IsDecimal(field.substr(0, field.find('/'))) &&
         field.find_first_not_of("0123456789/-") == std::string::npos &&
         field.find("//") == std::string::npos && field.back() != '/';
}

bool IsDptSpelling(const std::string& field) {
  return field.compare(0, 4, "DPT-") == 0 || field.compare(0, 5, "DPST-") == 0;
}

// Which columns hold what.
struct Layout {
  std::vector<std::size_t> names;    // the entry's name: the last one that is not empty
  std::vector<std::size_t> numbers;  // one: the address as text; two or three: a number per level
  boost::optional<std::size_t> dpt;
};

enum class Word { Other, Name, Level, Address, Dpt };

// A header cell's meaning, in ETS's English or German.
Word HeaderWord(const std::string& field) {
  std::string key;
  for (const char c : field) {
    if (c != ' ' && c != '_' && c != '-')
      key += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  static const std::array<std::pair<const char*, Word>, 17> kWords = {{
      {"groupname", Word::Name},
      {"name", Word::Name},
      {"gruppenname", Word::Name},
      {"main", Word::Level},
      {"middle", Word::Level},
      {"sub", Word::Level},
      {"maingroup", Word::Level},
      {"middlegroup", Word::Level},
      {"subgroup", Word::Level},
      {"hauptgruppe", Word::Level},
      {"mittelgruppe", Word::Level},
      {"untergruppe", Word::Level},
      {"address", Word::Address},
      {"adresse", Word::Address},
      {"gruppenadresse", Word::Address},
      {"datapointtype", Word::Dpt},
      {"datenpunkttyp", Word::Dpt},
  }};
  for (const auto& word : kWords) {
    if (key == word.first)
      return word.second;
  }
  return key == "groupaddress" ? Word::Address : key == "dpt" ? Word::Dpt : Word::Other;
}

// The layout that a header row names; none when it names no address.
boost::optional<Layout> HeaderLayout(const std::vector<std::string>& header) {
  Layout layout;
  boost::optional<std::size_t> name, address;
  std::vector<std::size_t> levels;
  for (std::size_t i = 0; i < header.size(); ++i) {
    switch (HeaderWord(header[i])) {
      case Word::Name: name = name.value_or(i); break;
      case Word::Level: levels.push_back(i); break;
      case Word::Address: address = address.value_or(i); break;
      case Word::Dpt: layout.dpt = layout.dpt.value_or(i); break;
      case Word::Other: break;
    }
  }
  if (name)
    layout.names.push_back(*name);
  if (address) {
    // "1/1" or "3/1": the level columns before the address are names.
    for (std::size_t i = 0; i < levels.size() && levels[i] < *address && !name; ++i)
      layout.names.push_back(levels[i]);
    layout.numbers.push_back(*address);
    return layout;
  }
  // A name and the levels' numbers, or as many level names as numbers.
  const std::size_t numbers = name ? levels.size() : levels.size() / 2;
  if (numbers < 2 || numbers > 3 || (!name && levels.size() % 2 != 0))
    return boost::none;
  layout.names.insert(layout.names.end(), levels.begin(), levels.end() - numbers);
  layout.numbers.assign(levels.end() - numbers, levels.end());
  return layout;
}

// The layout that the rows show: the column of slash addresses, else the
// first run of up to three columns holding numbers only; the columns before
// it are names. The DatapointType column is the one with most DPT-x
// spellings. Only the first `width` columns count (the rows that have more
// are refused later). None when no column holds addresses.
boost::optional<Layout> ContentLayout(const std::vector<Record>& records, std::size_t first,
                                      std::size_t width) {
  std::vector<std::size_t> slashes(width), decimals(width), filled(width), dpts(width);
  for (std::size_t r = first; r < records.size(); ++r) {
    const std::vector<std::string>& fields = records[r].fields;
    for (std::size_t c = 0; c < fields.size() && c < width; ++c) {
      slashes[c] += IsSlashAddress(fields[c]) ? 1 : 0;
      decimals[c] += IsDecimal(fields[c]) ? 1 : 0;
      filled[c] += fields[c].empty() ? 0 : 1;
      dpts[c] += IsDptSpelling(fields[c]) ? 1 : 0;
    }
  }
  Layout layout;
  const auto most = [](const std::vector<std::size_t>& counts) {
    const auto found = std::max_element(counts.begin(), counts.end());
    return found == counts.end() || *found == 0
               ? boost::none
               : boost::make_optional(static_cast<std::size_t>(found - counts.begin()));
  };
  const auto numeric = [&](std::size_t c) {
    return c < width && filled[c] > 0 && decimals[c] == filled[c];
  };
  if (const auto address = most(slashes)) {
    layout.numbers.push_back(*address);
  } else {
    std::size_t c = 1;
    while (c < width && !numeric(c))
      ++c;
    for (; numeric(c) && layout.numbers.size() < 3; ++c)
      layout.numbers.push_back(c);
  }
  if (layout.numbers.empty())
    return boost::none;
  for (std::size_t c = 0; c < layout.numbers.front(); ++c)
    layout.names.push_back(c);
  layout.dpt = most(dpts);
  return layout;
}

// A header row holds no address, number or DPT.
bool IsHeader(const Record& record) {
  return std::none_of(record.fields.begin(), record.fields.end(), [](const std::string& field) {
    return IsSlashAddress(field) || IsDecimal(field) || IsDptSpelling(field);
  });
}

}  // namespace

GroupAddressTable GroupAddressTable::Read(std::istream& in, const std::string& source) {
  std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (text.compare(0, 3, "\xEF\xBB\xBF") == 0)
    text.erase(0, 3);
  if (!utf8::is_valid(text.begin(), text.end()))
    text = FromWindows1252(text);
  const std::vector<Record> records = Records(text, 0, DetectSeparator(text, 0), source);
  if (records.empty())
    throw GroupAddressCsvError(source, 0, "empty file, expected an ETS group address export");
  const bool header = IsHeader(records.front());
  const std::size_t first = header ? 1 : 0;
  boost::optional<Layout> layout = header ? HeaderLayout(records.front().fields) : boost::none;
  const std::size_t width = records.front().fields.size();
  if (!layout)
    layout = ContentLayout(records, first, width);
  if (!layout) {
    throw GroupAddressCsvError(
        source, records.front().line,
        "no column of group addresses (is this an ETS group address export?)");
  }
  GroupAddressTable table;
  for (std::size_t i = first; i < records.size(); ++i) {
    const Record& record = records[i];
    const std::vector<std::string>& fields = record.fields;
    if (fields.size() != width) {
      throw GroupAddressCsvError(source, record.line,
                                 std::to_string(fields.size()) + " fields where the " +
                                     (header ? "header" : "first") + " row has " +
                                     std::to_string(width));
    }
    std::string address;
    bool range = false;  // a main or middle group: 1/-/-, 1/2/-, or lower numbers empty
    for (const std::size_t column : layout->numbers) {
      const std::string& part = fields[column];
      range = range || part.empty() ||
              (part.find('-') != std::string::npos &&
               part.find_first_not_of("0123456789/-") == std::string::npos);
      address += (address.empty() ? "" : "/") + part;
    }
    if (range)
      continue;
    GroupAddressEntry entry;
    const auto parsed = ParseGroupAddress(address);
    if (!parsed)
      throw GroupAddressCsvError(source, record.line, "bad group address '" + address + "'");
    entry.address = *parsed;
    const auto slashes = std::count(address.begin(), address.end(), '/');
    entry.style = slashes == 2   ? AddressStyle::ThreeLevel
                  : slashes == 1 ? AddressStyle::TwoLevel
                                 : AddressStyle::Free;
    for (const std::size_t column : layout->names) {
      if (!fields[column].empty())
        entry.name = fields[column];
    }
    if (layout->dpt && !SetEntryDpt(entry, fields[*layout->dpt])) {
      throw GroupAddressCsvError(source, record.line,
                                 "bad datapoint type '" + fields[*layout->dpt] + "'");
    }
    table.Add(std::move(entry));
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

}  // namespace Zelknx
