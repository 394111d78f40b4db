// The lines of bus logs that `zelknx decode -` and other front ends read.
// A line holds a group telegram in one of these forms, wherever on the line
// it stands and whatever else the line holds (a time stamp, a syslog or
// journald prefix, knxd's trace prefix, NUL bytes, trailing blanks):
//   knxtool groupsocketlisten
//                  Write from 1.1.5 to 1/2/3: 0C 33
//                  Response from 1.1.5 to 1/2/3: 01     Read from 1.1.5 to 1/2/3
//   eibd/knxtool vbusmonitor1, knxd's trace (Recv, Send, Queue ...)
//                  LPDU: BC 11 05 0A 03 E3 00 80 0C 33 5A :L_Data low from 1.1.5 to
//                  1/2/3 hops: 06 T_DATA_XXX_REQ A_GroupValue_Write 0C 33
//                  Recv L_Data (repeated) low from 1.1.5 to 1/2/3 hops: 06
//                  T_Data_Group A_GroupValue_Write (small) 01
//                  ("(small)" marks the 6-bit short form)
//   a frame in hex (Frame.h: cEMI, EMI1/EMI2, KNXnet/IP, TP1), as one run
//   of octets with blanks or colons between them or none:
//                  RecvEMI(011): 29 00 BC E0 11 0F 0C 10 01 00 40
//                  Received: 061004200015041802002900bce011113b11010080
// The text form is taken where a line has both. A time stamp at the start of
// the line (or in brackets there) is kept:
//   2024-03-15 08:30:00.123, 2024-03-15T08:30:00+0100, 2024/03/15 08:30:00
//                  as ISO 8601: 2024-03-15T08:30:00.123, 2024-03-15T08:30:00+01:00
//   Mon Aug 31 23:56:48 2015
//                  as ISO 8601: 2015-08-31T23:56:48
//   Mar 15 08:30:00, Mär 21 08:28:44 (syslog: no year, a month in any
//   language), 08:30:00.123
//                  as written
// And, as a whole line (no time stamp), a payload to decode:
//   DPT HEX        9.001 0c33, DPST-9-1 0C 33, DPT_Value_Temp 0c:33
//   GA HEX         1/2/3 0c33 (the DPT comes from the group address list)
// Any other line holds no group telegram: a management frame, an individual
// destination, an acknowledgement, another trace line, a blank line.
#pragma once

#include "GroupAddress.h"
#include "Telegram.h"

#include "Zel/KnxDpt.h"

#include <boost/optional.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Zelknx {

enum class LineKind {
  None,          // no group telegram
  Telegram,      // `telegram`
  DptPayload,    // DPT HEX: `dpt` and `telegram.octets`
  GroupPayload,  // GA HEX: `telegram.destination` and `telegram.octets`
  Error,         // a telegram or payload that is malformed; `error` says why
};

struct BusLine {
  LineKind kind = LineKind::None;
  Telegram telegram;
  boost::optional<Zel::KNXDPT> dpt;
  std::string error;
};

// Reads one line (without its line feed) into `bus`. Reusing one BusLine
// for the lines of a log reuses its buffers.
void ReadBusLine(const std::string& line, BusLine& bus);

// One result of `decode -`.
struct LineResult {
  Json json;
  std::string text;
  bool failed = false;
};

// The result of line `number` of a log: none for a line that holds no group
// telegram. Else "line", then the monitor's object of the telegram
// (DecodeTelegram, with the group's DPT from `groups`, which may be null),
// and its line of text; for DPT HEX and GA HEX "line", "dst" and "group"
// (GA HEX), "dpt", "type", "value", "name", "unit" and the value as text
// ("1/2/3 Temperatur Küche: 21.5 °C"). A malformed line, a GA HEX line
// whose group has no DPT, and a value that the library refuses give
// `failed`: the JSON {"line": N, "error": "..."} and the text
// "line N: error: ..." (a refused telegram keeps the monitor's object,
// whose "error" says why). `groupSource` names the list in messages.
boost::optional<LineResult> DecodeLogLine(const std::string& line, std::size_t number,
                                          const GroupAddressTable* groups,
                                          const std::string& groupSource, bool table);
// The same, building only what `output` asks for (the other stays empty).
boost::optional<LineResult> DecodeLogLine(const std::string& line, std::size_t number,
                                          const GroupAddressTable* groups,
                                          const std::string& groupSource, bool table, Output output,
                                          BusLine& buffer);

}  // namespace Zelknx
