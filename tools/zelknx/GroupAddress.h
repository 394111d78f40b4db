// KNX addresses in their text forms, and the group address lists of an
// installation: ETS's CSV exports (GroupAddressCsv.cpp) and ETS projects
// (EtsProject.cpp), read into one GroupAddressTable.
//
// The CSV exports are recognised from their content; a header row, when
// there is one, only names the columns (in English or German):
//   - "1/1": a name column, then the address as text (1/2/3, 1/234, 4660);
//     "3/1": three name columns (main, middle, sub group), then the address;
//     both with Central, Unfiltered, Description, DatapointType and
//     Security after them, or, from old ETS versions, without;
//   - a name, then one number column per level (Group name, Main, Middle,
//     Sub), or three names then three numbers, as planning tools write
//     ETS's import shape;
//   - separator tab, semicolon or comma (the most frequent one of the first
//     row); fields in double quotes or bare, "" for a quote inside quotes,
//     line breaks inside quotes; blanks around a field dropped;
//   - UTF-8 with or without a byte-order mark, or Windows-1252 (any file
//     that is not valid UTF-8), read into UTF-8; lines end in LF or CR LF;
//   - rows of main and middle groups (1/-/-, 1/2/-, or the numbers of the
//     lower levels empty) skipped;
//   - DatapointType DPST-9-1, DPT-9, 9.001 or empty; of several types in
//     one cell the first.
// An entry's name is the last name column that is not empty.
#pragma once

#include "Zel/KnxDpt.h"

#include <nlohmann/json.hpp>

#include <boost/optional.hpp>

#include <cstddef>
#include <cstdint>
#include <istream>
#include <map>
#include <stdexcept>
#include <string>

namespace Zelknx {

// How an installation writes its group addresses.
enum class AddressStyle {
  ThreeLevel,  // 1/2/3: 5/3/8 bits
  TwoLevel,    // 1/515: 5/11 bits
  Free,        // 2563: 16 bits
};

// "1/2/3" (5/3/8 bits), "1/234" (5/11 bits) or "4660"; none for anything else.
boost::optional<std::uint16_t> ParseGroupAddress(const std::string& text);
// Three-level: "1/2/3".
std::string GroupAddressText(std::uint16_t address);
std::string GroupAddressText(std::uint16_t address, AddressStyle style);
// "1.1.5" (4/4/8 bits).
std::string IndividualAddressText(std::uint16_t address);

struct GroupAddressEntry {
  std::uint16_t address = 0;
  std::string name;  // UTF-8
  boost::optional<Zel::KNXDPT> dpt;
  // The source names the main type alone (DPT-9): the sub number is 0 then,
  // which is a subtype of its own for some main numbers (14.000).
  bool mainOnly = false;
  AddressStyle style = AddressStyle::ThreeLevel;  // as the source writes it
};

// The entry's DPT as the source names it: "9.001", or "9" for a main type
// alone; none without a DPT.
boost::optional<std::string> EntryDptText(const GroupAddressEntry& entry);
// The entry as every front end lists it: {"address": "1/2/3" (in
// `style`), "name": "...", "dpt": "9.001", "9" or null}.
nlohmann::ordered_json EntryJson(const GroupAddressEntry& entry, AddressStyle style);
// Sets the entry's DPT from an ETS DatapointType text: "DPST-9-1", "DPT-9"
// (a main type alone) or "9.001"; of several types ("DPST-1-1 DPST-1-8",
// "DPST-1-1, DPST-1-8") the first; none for empty text. False when the
// text names no DPT.
bool SetEntryDpt(GroupAddressEntry& entry, const std::string& text);

// A list that cannot be read; what() is "SOURCE: what is wrong".
class GroupAddressSourceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A malformed CSV file or row; what() is "SOURCE:LINE: what is wrong"
// (line 0: the file as a whole).
class GroupAddressCsvError : public GroupAddressSourceError {
 public:
  GroupAddressCsvError(const std::string& source, std::size_t line, const std::string& message);
  std::size_t Line() const { return m_line; }

 private:
  std::size_t m_line;
};

// What a project may inflate: each entry read (the project's own archive
// included) and all of them together; past either the project is refused.
struct ProjectLimits {
  std::size_t entryBytes = std::size_t{256} << 20;
  std::size_t totalBytes = std::size_t{512} << 20;
};

// The password of an ETS 6 project's own archive, derived from the project
// password: base64 of PBKDF2-HMAC-SHA256 over its UTF-16LE form, salt
// "21.project.ets.knx.org", 65536 iterations, 32 bytes. Empty for text that
// is not UTF-8.
std::string Ets6ArchivePassword(const std::string& password);

class GroupAddressTable {
 public:
  // Reads a whole CSV export; `source` names it in errors. Throws
  // GroupAddressCsvError. The first row of an address that appears twice
  // is kept.
  static GroupAddressTable Read(std::istream& in, const std::string& source);
  static GroupAddressTable Load(const std::string& path);

  // Reads an ETS 4, 5 or 6 project (.knxproj) from its bytes, in memory:
  // the group addresses of its first installation with their names and
  // DatapointTypes, in the project's group address style. The project's
  // own archive, when it is password-protected, is opened with `password`
  // and with the password ETS 6 derives from it. Throws
  // GroupAddressSourceError naming `source`: not a ZIP archive or a
  // damaged one, a missing or wrong password, no project in it, XML that
  // is not a project's, more than `limits` inflated.
  static GroupAddressTable ReadProject(const std::string& bytes, const std::string& source,
                                       const std::string& password,
                                       const ProjectLimits& limits = ProjectLimits());
  static GroupAddressTable LoadProject(const std::string& path, const std::string& password = "");

  const GroupAddressEntry* Find(std::uint16_t address) const;
  std::size_t Size() const { return m_entries.size(); }
  // Every entry, in address order.
  const std::map<std::uint16_t, GroupAddressEntry>& Entries() const { return m_entries; }

  // Adds `entry` unless its address is there already.
  void Add(GroupAddressEntry entry);

 private:
  std::map<std::uint16_t, GroupAddressEntry> m_entries;
};

}  // namespace Zelknx
