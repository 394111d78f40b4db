// KNX addresses in their text forms, and the group address list that ETS
// exports as CSV (Group addresses > Export > CSV, any of its formats):
//   - a header row naming the columns; "Group name" and "Address" are
//     needed, "DatapointType" is read when present ("Central",
//     "Unfiltered", "Description", "Security" are ignored);
//   - separator tab, semicolon or comma (the one the header row uses);
//     fields in double quotes or bare, "" for a quote inside quotes, line
//     breaks inside quotes;
//   - UTF-8 with or without a byte-order mark; lines end in LF or CR LF;
//   - addresses three-level (1/2/3), two-level (1/234) or free (4660);
//     rows of main and middle groups (1/-/-, 1/2/-) are skipped;
//   - DatapointType DPST-9-1, DPT-9 or empty.
#pragma once

#include "Zel/KnxDpt.h"

#include <boost/optional.hpp>

#include <cstdint>
#include <istream>
#include <map>
#include <stdexcept>
#include <string>

namespace Zelknx {

// "1/2/3" (5/3/8 bits), "1/234" (5/11 bits) or "4660"; none for anything else.
boost::optional<std::uint16_t> ParseGroupAddress(const std::string& text);
// Three-level: "1/2/3".
std::string GroupAddressText(std::uint16_t address);
// "1.1.5" (4/4/8 bits).
std::string IndividualAddressText(std::uint16_t address);

struct GroupAddressEntry {
  std::uint16_t address = 0;
  std::string name;
  boost::optional<Zel::KNXDPT> dpt;
};

// A malformed file or row; what() is "SOURCE:LINE: what is wrong"
// (line 0: the file as a whole).
class GroupAddressCsvError : public std::runtime_error {
 public:
  GroupAddressCsvError(const std::string& source, std::size_t line, const std::string& message);
  std::size_t Line() const { return m_line; }

 private:
  std::size_t m_line;
};

class GroupAddressTable {
 public:
  // Reads a whole export; `source` names it in errors. Throws
  // GroupAddressCsvError. The first row of an address that appears twice
  // is kept.
  static GroupAddressTable Read(std::istream& in, const std::string& source);
  static GroupAddressTable Load(const std::string& path);

  const GroupAddressEntry* Find(std::uint16_t address) const;
  std::size_t Size() const { return m_entries.size(); }
  // Every entry, in address order.
  const std::map<std::uint16_t, GroupAddressEntry>& Entries() const { return m_entries; }

 private:
  std::map<std::uint16_t, GroupAddressEntry> m_entries;
};

}  // namespace Zelknx
