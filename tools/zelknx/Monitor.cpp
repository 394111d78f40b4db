// zelknx monitor: every group telegram that a running knxd sees, through
// knxd's own client library (a group socket), decoded by the library with
// the DPT that the ETS group address list gives its group address.
#include "Commands.h"

#include <eibclient.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace Zelknx {
namespace {

// Closes the connection however the monitor ends.
struct Connection {
  EIBConnection* handle = nullptr;
  ~Connection() {
    if (handle != nullptr)
      EIBClose(handle);
  }
};

// SIGINT and SIGTERM made readable from a pipe, so that the receive loop
// ends between two telegrams. A handler rather than a blocked signal set:
// the logging library's threads would not block them.
int g_stopPipe[2] = {-1, -1};

void OnStopSignal(int) {
  const char byte = 1;
  const ssize_t written = write(g_stopPipe[1], &byte, 1);
  (void)written;  // a full pipe already says "stop"
}

struct StopSignals {
  struct sigaction previousInt {};
  struct sigaction previousTerm {};
  StopSignals() {
    if (pipe2(g_stopPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
      throw Unreachable{std::string("pipe: ") + std::strerror(errno)};
    }
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &previousInt);
    sigaction(SIGTERM, &action, &previousTerm);
  }
  ~StopSignals() {
    sigaction(SIGINT, &previousInt, nullptr);
    sigaction(SIGTERM, &previousTerm, nullptr);
    close(g_stopPipe[0]);
    close(g_stopPipe[1]);
  }
  int Fd() const { return g_stopPipe[0]; }
};

// Local time with milliseconds: 2024-03-15T08:30:00.123.
std::string Now() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  std::ostringstream out;
  out << std::put_time(&local, "%Y-%m-%dT%H:%M:%S") << '.' << std::setw(3) << std::setfill('0')
      << millis;
  return out.str();
}

std::string Hex(const std::vector<std::uint8_t>& octets, const char* separator) {
  std::ostringstream out;
  for (std::size_t i = 0; i < octets.size(); ++i) {
    out << (i > 0 ? separator : "") << std::hex << std::setw(2) << std::setfill('0')
        << unsigned{octets[i]};
  }
  return out.str();
}

// One telegram: the APDU as knxd hands it over (TPCI/APCI octets, then the
// data; a 2-octet APDU carries the 6-bit short form in its last octet).
// False for a service other than group value read, response and write.
bool PrintTelegram(const Session& session, eibaddr_t src, eibaddr_t dst, const std::uint8_t* apdu,
                   int length) {
  const Options& options = session.options;
  const unsigned service = ((apdu[0] & 0x03u) << 2) | (apdu[1] >> 6);
  Apci apci = Apci::Write;
  if (service == 0) {
    apci = Apci::Read;
  } else if (service == 1) {
    apci = Apci::Response;
  } else if (service != 2) {
    return false;  // not a group value service
  }
  std::vector<std::uint8_t> octets;
  const bool shortForm = length == 2;
  if (apci != Apci::Read) {
    if (shortForm) {
      octets.push_back(apdu[1] & 0x3Fu);
    } else {
      octets.assign(apdu + 2, apdu + length);
    }
  }
  const GroupAddressEntry* group = session.groups ? session.groups->Find(dst) : nullptr;
  const boost::optional<Zel::KNXDPT> dpt = group != nullptr ? group->dpt : boost::none;

  Json json;
  json["time"] = Now();
  json["src"] = IndividualAddressText(src);
  json["dst"] = GroupAddressText(dst);
  json["name"] = group != nullptr ? Json(group->name) : Json(nullptr);
  json["dpt"] = dpt ? Json(DptName(*dpt)) : Json(nullptr);
  json["apci"] = ApciName(apci);
  json["hex"] = Hex(octets, "");
  json["value"] = nullptr;
  json["unit"] = nullptr;
  std::string text = json["time"].get<std::string>() + " " + json["src"].get<std::string>() +
                     " -> " + json["dst"].get<std::string>() +
                     (group != nullptr ? " " + group->name : "") +
                     (dpt ? " (" + DptName(*dpt) + ")" : "") + " " + ApciName(apci);
  if (apci != Apci::Read && !dpt) {
    text += " " + Hex(octets, " ");
  } else if (apci != Apci::Read) {
    try {
      ResetLastError();
      const TAVVALUE value = DecodeOctets(options, *dpt, octets, shortForm);
      Json decoded;
      const std::string valueText = AddValue(decoded, *dpt, value);
      json["value"] = decoded["value"];
      json["unit"] = decoded["unit"];
      text += " " + valueText;
    } catch (const Refusal& refusal) {
      json["error"] = refusal.message;
      text += " " + Hex(octets, " ") + " (not decoded: " + refusal.message + ")";
    }
  }
  Print(options, json, text);
  std::cout.flush();
  return true;
}

}  // namespace

int Monitor(const Session& session) {
  const Options& options = session.options;
  if (!options.args.empty())
    throw UsageError{"monitor takes no arguments"};
  unsigned long count = 0;  // 0: until a signal
  if (!options.count.empty()) {
    const auto parsed = ParseUnsigned(options.count, 0xFFFFFFFFul);
    if (!parsed || *parsed == 0)
      throw UsageError{"bad count '" + options.count + "'"};
    count = *parsed;
  }
  StopSignals stop;
  Connection connection;
  connection.handle = EIBSocketURL(options.url.c_str());
  if (connection.handle == nullptr) {
    throw Unreachable{"cannot connect to knxd at " + options.url + ": " + std::strerror(errno)};
  }
  if (EIBOpen_GroupSocket(connection.handle, 0) == -1) {
    throw Unreachable{"knxd at " + options.url +
                      " refused a group socket: " + std::strerror(errno)};
  }
  std::array<std::uint8_t, 256> apdu{};
  for (unsigned long received = 0; count == 0 || received < count;) {
    const int complete = EIB_Poll_Complete(connection.handle);
    if (complete == -1) {
      throw Unreachable{"lost the connection to knxd at " + options.url};
    }
    if (complete == 0) {
      std::array<pollfd, 2> fds = {
          {{EIB_Poll_FD(connection.handle), POLLIN, 0}, {stop.Fd(), POLLIN, 0}}};
      if (poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) {
        throw Unreachable{std::string("poll: ") + std::strerror(errno)};
      }
      if ((fds[1].revents & POLLIN) != 0)
        return 0;  // SIGINT or SIGTERM
      continue;
    }
    eibaddr_t src = 0;
    eibaddr_t dst = 0;
    const int length =
        EIBGetGroup_Src(connection.handle, static_cast<int>(apdu.size()), apdu.data(), &src, &dst);
    if (length < 0) {
      throw Unreachable{"lost the connection to knxd at " + options.url};
    }
    if (length < 2)
      continue;
    if (PrintTelegram(session, src, dst, apdu.data(), length))
      ++received;
  }
  return 0;
}

}  // namespace Zelknx
