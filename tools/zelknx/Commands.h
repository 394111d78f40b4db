// The commands of zelknx and what they share: options, the two ways a
// command fails, and the decoding and printing of one group value. Every
// value printed is the library's; this layer only reads arguments and
// writes results.
#pragma once

#include "BusLine.h"
#include "GroupAddress.h"
#include "Telegram.h"
#include "ValueText.h"

#include "BasePlatform/TavValue.h"
#include "Zel/KnxDpt.h"

#include <nlohmann/json.hpp>

#include <boost/optional.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Zelknx {

// Exit status 2: the command line (or a file it names) is wrong.
struct UsageError {
  std::string message;
};
// Exit status 1: knxd is out of reach or went away.
struct Unreachable {
  std::string message;
};

struct Options {
  bool json = false;
  bool table = false;  // convert with the DPT table instead of by DPT code
  bool code = false;   // DPTs are numeric codes
  std::string bits;    // decode: the group value's size, as given
  std::string gaCsv;   // the ETS group address export, if any
  std::string url = "local:/run/knx";
  std::string count;  // monitor: stop after this many telegrams, as given
  std::vector<std::string> args;
};

struct Session {
  Options options;
  boost::optional<GroupAddressTable> groups;  // loaded from options.gaCsv
};

// One result: JSON on one line with --json, else `text`.
void Print(const Options& options, const Json& json, const std::string& text);

// A DPT in any spelling, a numeric code with --code, or a group address of
// the --ga-csv list.
Zel::KNXDPT ReadDpt(const Session& session, const std::string& text);

// The commands; each returns its exit status or throws.
int Encode(const Session& session);
int Decode(const Session& session);  // one payload, or lines from stdin with "-"
int Dpt(const Session& session);
int Id(const Session& session);
int Config(const Session& session);
int Monitor(const Session& session);  // Monitor.cpp, where knxd's client library is found

}  // namespace Zelknx
