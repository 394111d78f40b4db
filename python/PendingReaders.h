// The log line reader that the readers library is getting (BusLine.h:
// LineResult, DecodeLogLine), with the same names and signature, until it
// is there: python/CMakeLists.txt builds PendingReaders.cpp only while
// BusLine.h lacks DecodeLogLine. Both files go once it has it.
#pragma once

#include "BusLine.h"

#ifndef ZEL_PYTHON_WITH_LOG_LINES

#include "GroupAddress.h"

#include <boost/optional.hpp>

#include <cstddef>
#include <string>

namespace Zelknx {

struct LineResult {
  Json json;
  std::string text;
  bool failed = false;
};

// None for a line that holds no group telegram (and no DPT HEX / GA HEX
// form); else {"line": N} and the monitor's keys for it, or
// {"line": N, "error": "..."} with `failed` set.
boost::optional<LineResult> DecodeLogLine(const std::string& line, std::size_t number,
                                          const GroupAddressTable* groups,
                                          const std::string& groupSource, bool table);

}  // namespace Zelknx

#endif
