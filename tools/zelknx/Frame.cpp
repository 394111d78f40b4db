#include "Frame.h"

#include <cstdio>

namespace Zelknx {
namespace {

std::uint16_t Word(const std::uint8_t* octets) {
  return static_cast<std::uint16_t>(octets[0] << 8 | octets[1]);
}

// The group value service of a TPDU: `tpdu` starts with the TPCI octet,
// `length` octets follow it (the NPDU length). T_Data_Group and
// T_Data_Tag_Group only; APCI 0 read, 1 response, 2 write.
FrameRead ReadTpdu(const std::uint8_t* tpdu, std::size_t length, Telegram& telegram) {
  if (length < 1 || (tpdu[0] & 0xF8) != 0)
    return FrameRead::NoGroupValue;
  const unsigned apci = static_cast<unsigned>((tpdu[0] & 0x03) << 2 | tpdu[1] >> 6);
  switch (apci) {
    case 0: telegram.apci = Apci::Read; break;
    case 1: telegram.apci = Apci::Response; break;
    case 2: telegram.apci = Apci::Write; break;
    default: return FrameRead::NoGroupValue;
  }
  telegram.octets.clear();
  telegram.shortForm = length == 1;
  if (telegram.apci == Apci::Read)
    return length == 1 ? FrameRead::Telegram : FrameRead::NoGroupValue;
  if (length == 1)
    telegram.octets.push_back(static_cast<std::uint8_t>(tpdu[1] & 0x3F));
  else
    telegram.octets.assign(tpdu + 2, tpdu + 1 + length);
  return FrameRead::Telegram;
}

// Source, destination and TPDU of the EMI and TP1 layout from the source
// on: source, destination, address type/hop count/length, TPDU, then
// `trailer` octets (the check octet of TP1).
FrameRead ReadShortLayout(const std::uint8_t* octets, std::size_t size, std::size_t trailer,
                          Telegram& telegram) {
  if (size < 6 + trailer || size != 6 + (octets[4] & 0x0Fu) + trailer)
    return FrameRead::NotAFrame;
  if ((octets[4] & 0x80) == 0)
    return FrameRead::NoGroupValue;
  telegram.source = Word(octets);
  telegram.destination = Word(octets + 2);
  return ReadTpdu(octets + 5, octets[4] & 0x0Fu, telegram);
}

FrameRead ReadTp1(const std::uint8_t* octets, std::size_t size, Telegram& telegram,
                  std::string& error) {
  if (size < 1 || (octets[0] & 0xD3) != 0x90)
    return FrameRead::NotAFrame;
  const FrameRead read = ReadShortLayout(octets + 1, size - 1, 1, telegram);
  if (read != FrameRead::Telegram)
    return read;
  std::uint8_t check = 0;
  for (std::size_t i = 0; i + 1 < size; ++i)
    check ^= octets[i];
  check = static_cast<std::uint8_t>(~check);
  if (octets[size - 1] != check) {
    char text[80];
    std::snprintf(text, sizeof text, "TP1 frame with a wrong check octet %02X (should be %02X)",
                  octets[size - 1], check);
    error = text;
    return FrameRead::Corrupt;
  }
  return read;
}

FrameRead ReadCemi(const std::uint8_t* octets, std::size_t size, Telegram& telegram,
                   std::string& error) {
  if (size < 2)
    return FrameRead::NotAFrame;
  const std::uint8_t code = octets[0];
  if (code != 0x11 && code != 0x29 && code != 0x2E && code != 0x2B)
    return FrameRead::NotAFrame;
  // The additional information: items of type, length and data that fill
  // its length exactly.
  const std::size_t infoEnd = 2 + std::size_t{octets[1]};
  std::size_t at = 2;
  while (at + 2 <= infoEnd && at + 2 <= size)
    at += 2 + std::size_t{octets[at + 1]};
  if (at != infoEnd || infoEnd > size)
    return FrameRead::NotAFrame;
  const std::uint8_t* frame = octets + infoEnd;
  const std::size_t rest = size - infoEnd;
  if (code == 0x2B)
    return ReadTp1(frame, rest, telegram, error);
  // Control 1, control 2, source, destination, NPDU length, TPCI, APCI.
  if (rest < 8 || rest != 8 + std::size_t{frame[6]})
    return FrameRead::NotAFrame;
  if ((frame[1] & 0x80) == 0)
    return FrameRead::NoGroupValue;
  telegram.source = Word(frame + 2);
  telegram.destination = Word(frame + 4);
  return ReadTpdu(frame + 7, frame[6], telegram);
}

FrameRead ReadEmi(const std::uint8_t* octets, std::size_t size, Telegram& telegram) {
  if (size < 2)
    return FrameRead::NotAFrame;
  switch (octets[0]) {
    case 0x11:
    case 0x29:
    case 0x2E:
    case 0x49:
    case 0x4E: return ReadShortLayout(octets + 2, size - 2, 0, telegram);
    default: return FrameRead::NotAFrame;
  }
}

FrameRead ReadKnxIp(const std::uint8_t* octets, std::size_t size, Telegram& telegram,
                    std::string& error) {
  if (size < 6 || octets[0] != 0x06 || octets[1] != 0x10 || Word(octets + 4) != size)
    return FrameRead::NotAFrame;
  FrameRead read = FrameRead::NotAFrame;
  switch (Word(octets + 2)) {
    case 0x0420:
      if (size > 10 && octets[6] == 4)
        read = ReadCemi(octets + 10, size - 10, telegram, error);
      break;
    case 0x0530: read = ReadCemi(octets + 6, size - 6, telegram, error); break;
    default: break;
  }
  // A KNXnet/IP frame all the same: a connection's service, or one that
  // carries no L_Data.
  return read == FrameRead::NotAFrame ? FrameRead::NoGroupValue : read;
}

}  // namespace

FrameRead ReadFrame(const std::uint8_t* octets, std::size_t size, Telegram& telegram,
                    std::string& error) {
  FrameRead read = ReadKnxIp(octets, size, telegram, error);
  if (read == FrameRead::NotAFrame)
    read = ReadCemi(octets, size, telegram, error);
  if (read == FrameRead::NotAFrame)
    read = ReadEmi(octets, size, telegram);
  if (read == FrameRead::NotAFrame)
    read = ReadTp1(octets, size, telegram, error);
  return read;
}

}  // namespace Zelknx
