// KNX frames as octets, the way bus monitors and debug traces print them,
// and the group telegram that one carries:
//   cEMI        message code 11 L_Data.req, 2E L_Data.con, 29 L_Data.ind:
//               code, additional information (length, then type-length-
//               value items), control fields 1 and 2 (bit 7 of field 2
//               set: a group destination), source, destination, NPDU
//               length, TPCI/APCI and data;
//               2B L_Busmon.ind: code, additional information, a TP1 frame
//   EMI1/EMI2   message code 11 L_Data.req, 49/29 L_Data.ind, 4E/2E
//               L_Data.con: code, control, source, destination, then one
//               octet of address type (bit 7), hop count and length (low
//               four bits), TPCI/APCI and data
//   KNXnet/IP   header 06 10, service type, total length; 0420
//               TUNNELLING_REQUEST (a connection header of four octets,
//               then cEMI) and 0530 ROUTING_INDICATION (cEMI)
//   TP1         a standard frame: control (10x1xx00), source, destination,
//               address type, hop count and length as in EMI, TPCI/APCI,
//               data, and the check octet: the XOR of all other octets,
//               inverted
// The length that a frame states must be the number of octets given: that,
// and the fixed fields, tell the kinds apart (EMI2 and cEMI share message
// codes) and keep other hex dumps from passing for frames.
#pragma once

#include "Telegram.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Zelknx {

enum class FrameRead {
  NotAFrame,     // none of the kinds above
  NoGroupValue,  // a frame, but no group value read, write or response
                 // (management, an individual destination, an acknowledgement)
  Telegram,      // `telegram` holds its source, destination, APCI and data
  Corrupt,       // a TP1 group telegram whose check octet is wrong; `error` says so
};

// The frame that the `size` octets at `octets` are, exactly. Sets the
// telegram's source, destination, apci, octets and shortForm; leaves its
// time alone.
FrameRead ReadFrame(const std::uint8_t* octets, std::size_t size, Telegram& telegram,
                    std::string& error);

}  // namespace Zelknx
