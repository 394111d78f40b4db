// One group telegram as zelknx's front ends see it, and its decoding by the
// library: the object that the live monitor prints, that `decode -` prints
// for every telegram of a log, and that other front ends (a scripting
// binding, a web page) hand on. Every value in it is the library's.
//
// Thread-safety: the functions here may be called from several threads at
// once; the text of the library's last error entry is kept per thread.
#pragma once

#include "GroupAddress.h"

#include "BasePlatform/TavValue.h"
#include "Zel/KnxDpt.h"

#include <nlohmann/json.hpp>

#include <boost/optional.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Zelknx {

using Json = nlohmann::ordered_json;

// The library refused a conversion; `message` is the text of its ERROR
// entry where it wrote one (then `logged`), else a description.
struct Refusal {
  std::string message;
  bool logged = false;  // the library's log line already says it
};

// Keeps the text of the library's last ERROR or FATAL entry on the calling
// thread, without the line prefix ("Function [Source:Line] - "). Installed
// once per process, before the first conversion; further calls do nothing.
void InstallLastErrorLog();
void ResetLastError();
const std::string& LastError();
// Throws the refusal with the library's last error text, else `fallback`.
[[noreturn]] void Refuse(const std::string& fallback);

// The group value of `octets`: `bits` when given, the 6-bit short form
// when `shortForm` or when one octet belongs to a DPT of at most 6 bits,
// else 8 bits per octet. The value the library decodes from it, by DPT
// code or, with `table`, through the DPT table; throws Refusal.
TAVVALUE DecodeOctets(bool table, const Zel::KNXDPT& dpt, const std::vector<std::uint8_t>& octets,
                      bool shortForm, const boost::optional<unsigned long>& bits = boost::none);

// "dpt", "type", "value", "name", "unit" of a decoded value into `json`;
// returns the value with its unit as text.
std::string AddValue(Json& json, const Zel::KNXDPT& dpt, const TAVVALUE& value);

// The octets in hex, two lower-case digits each, `separator` between them.
std::string Hex(const std::vector<std::uint8_t>& octets, const char* separator);

enum class Apci { Write, Response, Read };

const char* ApciName(Apci apci);  // "write", "response", "read"

struct Telegram {
  std::string time;  // as the source gives it (ISO 8601 where known); empty: none
  boost::optional<std::uint16_t> source;  // individual address
  std::uint16_t destination = 0;          // group address
  Apci apci = Apci::Write;
  std::vector<std::uint8_t> octets;  // the data; empty for a read
  bool shortForm = false;            // the data is the 6-bit short form
};

struct DecodedTelegram {
  // The monitor's object, in this order: "time" (where the telegram has
  // one), "src" (where known), "dst", "name" (the group's name, or null),
  // "dpt" (the group's DPT, or null), "apci", "hex" (the data), "value"
  // and "unit" (null for a read, without a DPT, or when the library
  // refuses, which adds "error" with its message).
  Json json;
  // The monitor's line:
  //   2024-03-15T08:30:00.123 1.1.5 -> 1/2/3 Temperatur Küche (9.001) write 21.5 °C
  std::string text;
};

// The telegram decoded with the DPT that `groups` (may be null) gives its
// group address. Never throws for what a telegram holds.
DecodedTelegram DecodeTelegram(const Telegram& telegram, const GroupAddressTable* groups,
                               bool table);

// Local time now with milliseconds: 2024-03-15T08:30:00.123.
std::string LocalTimeNow();

}  // namespace Zelknx
