// The KNX standard's names and units of the datapoint types that the library
// converts, and the ways integrators write a DPT:
//   9.001, 9.1, 9          main and sub number (no sub: the main type)
//   DPST-9-1, DPT-9        as ETS writes them in its exports
//   DPT_Value_Temp         the standard's name of a subtype
// Facts only: no conversion happens here; every value is the library's.
#pragma once

#include "Zel/KnxDpt.h"

#include <boost/optional.hpp>

#include <string>
#include <vector>

namespace Zelknx {

struct DptNameEntry {
  unsigned short mainNumber;
  unsigned short subNumber;  // 0: the main type
  const char* name;          // DPT_Value_Temp; for a main type the standard's description
  const char* unit;          // "" for none
  // Set where the standard scales the encoded number (5.001: 0..255 is
  // 0..100 %) and the library hands out the encoded number unscaled: the
  // unit then belongs to the standard's reading, not to the value shown.
  const char* encodedAs = nullptr;
};

// Every entry, by main and sub number.
const std::vector<DptNameEntry>& DptNameTable();

// The entry of `dpt`, else the entry of its main type, else none.
const DptNameEntry* FindDptName(const Zel::KNXDPT& dpt);

// The unit to print beside a value of `dpt` as the library gives it: none
// for a DPT without a unit and for one whose encoded number is shown.
const char* ValueUnit(const Zel::KNXDPT& dpt);

// Any of the spellings above (names compared without regard to case); none
// for anything else.
boost::optional<Zel::KNXDPT> ParseDptSpelling(const std::string& text);

}  // namespace Zelknx
