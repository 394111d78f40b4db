// The lines that `zelknx decode -` reads, one telegram or payload each:
//   DPT HEX        9.001 0c33, DPST-9-1 0C 33, DPT_Value_Temp 0c:33
//   GA HEX         1/2/3 0c33 (the DPT comes from the group address list)
//   knxtool groupsocketlisten:
//                  Write from 1.1.5 to 1/2/3: 0C 33
//                  Response from 1.1.5 to 1/2/3: 01
//                  Read from 1.1.5 to 1/2/3
//   knxtool vbusmonitor1 (and busmonitor1):
//                  L_Busmon: BC 11 05 0A 03 E3 00 80 0C 33 5A :L_Data low from
//                  1.1.5 to 1/2/3 hops: 06 T_Data_Group A_GroupValue_Write 0C 33
//                  ("(small)" before the data marks the 6-bit short form)
#pragma once

#include "Telegram.h"

#include "Zel/KnxDpt.h"

#include <boost/optional.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Zelknx {

struct BusLine {
  boost::optional<Zel::KNXDPT> dpt;  // given on the line
  boost::optional<std::uint16_t> source;
  boost::optional<std::uint16_t> destination;
  Apci apci = Apci::Write;
  std::vector<std::uint8_t> octets;
  bool shortForm = false;  // the line says the data is the 6-bit short form
};

// The line in one of the forms above; none, with `error` saying why, for
// anything else (a blank line included).
boost::optional<BusLine> ParseBusLine(const std::string& line, std::string& error);

}  // namespace Zelknx
