// zelknx serve: the group monitor as a web page. A source thread decodes
// telegrams, live from knxd or from a recorded log, and appends them to
// the web monitor's ring; the server streams them to the page. A signal
// (or a source that fails) ends both.
#include "Commands.h"

#include "StopSignals.h"
#include "WebMonitor.h"

#ifdef ZELKNX_WITH_KNXD
#include "KnxdGroupSocket.h"
#endif

#include <boost/date_time/gregorian/gregorian.hpp>
#include <boost/date_time/posix_time/posix_time.hpp>

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

namespace Zelknx {

namespace {

using Clock = std::chrono::steady_clock;

// The log reader's time stamp as a moment: "2024-03-15T08:30:00.123" (any
// number of fractional digits, a zone offset after them ignored), or a time
// of day at the end ("Mar 15 08:30:00", "08:30:00.123"), taken on one day
// (a log that passes midnight then replays the rest at once); none for
// anything else.
boost::optional<boost::posix_time::ptime> ReadTime(const std::string& text) {
  const bool dated = text.size() >= 19 && text[4] == '-' && text[10] == 'T';
  const std::string clock = dated ? text.substr(11) : text.substr(text.rfind(' ') + 1);
  const auto end = clock.find_first_not_of("0123456789", 9);
  if (clock.size() < 8 || clock[2] != ':' || clock[5] != ':')
    return boost::none;
  try {
    const boost::gregorian::date day =
        dated ? boost::gregorian::from_simple_string(text.substr(0, 10))
              : boost::gregorian::date(1970, 1, 1);
    return boost::posix_time::ptime(day, boost::posix_time::duration_from_string(clock.substr(
                                             0, clock.size() > 8 && clock[8] == '.' ? end : 8)));
  } catch (const std::exception&) {
    return boost::none;
  }
}

// Waits until `deadline` or the stop pipe; false for the stop pipe.
bool WaitUntil(Clock::time_point deadline, int stopFd) {
  for (;;) {
    const auto left = deadline - Clock::now();
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
    timespec wait{static_cast<time_t>(ns > 0 ? ns / 1000000000 : 0),
                  static_cast<long>(ns > 0 ? ns % 1000000000 : 0)};
    pollfd fd{stopFd, POLLIN, 0};
    const int ready = ppoll(&fd, 1, &wait, nullptr);
    if (ready > 0)
      return false;
    if (ready == 0 || errno != EINTR)
      return true;
  }
}

// Every telegram of the log, as fast as the ring takes them or, with
// `pace`, at the pace of their time stamps (lines without one follow the
// one before at once).
void Replay(const Session& session, std::istream& log, WebMonitor& monitor, int stopFd) {
  const Options& options = session.options;
  const GroupAddressTable* groups = session.groups ? &*session.groups : nullptr;
  boost::optional<boost::posix_time::ptime> firstTime;
  const Clock::time_point start = Clock::now();
  std::size_t number = 0;
  for (std::string line; std::getline(log, line);) {
    ++number;
    const auto result = DecodeLogLine(line, number, groups, session.groupSource, options.table);
    if (!result)
      continue;
    if (!result->json.contains("apci")) {  // not a telegram: a malformed line, DPT HEX, GA HEX
      if (result->failed)
        std::cerr << "zelknx: " << options.replay << ": " << result->text << "\n";
      continue;
    }
    const auto time = options.pace && result->json.contains("time")
                          ? ReadTime(result->json["time"].get<std::string>())
                          : boost::none;
    if (time && !firstTime)
      firstTime = time;
    if (time) {
      const auto offset = std::chrono::microseconds((*time - *firstTime).total_microseconds());
      if (!WaitUntil(start + offset, stopFd))
        return;
    } else if (number % 1024 == 0 && !WaitUntil(Clock::now(), stopFd)) {
      return;
    }
    monitor.Append(result->json);
  }
}

#ifdef ZELKNX_WITH_KNXD
void Live(const Session& session, WebMonitor& monitor, int stopFd) {
  KnxdGroupSocket socket(session.options.url);
  const GroupAddressTable* groups = session.groups ? &*session.groups : nullptr;
  while (const auto telegram = socket.Next(stopFd))
    monitor.Append(DecodeTelegram(*telegram, groups, session.options.table).json);
}
#endif

Json GroupsJson(const Session& session) {
  Json groups = Json::array();
  if (!session.groups)
    return groups;
  for (const auto& item : session.groups->Entries()) {
    // Three-level whatever the source's style: the page joins the list
    // with the telegrams' "dst".
    groups.push_back(EntryJson(item.second, AddressStyle::ThreeLevel));
  }
  return groups;
}

// The page's folder: installed beside the program (PREFIX/share/zelknx/web),
// else the source tree's.
std::string WebRoot() {
  char path[4096];
  const ssize_t size = readlink("/proc/self/exe", path, sizeof path - 1);
  if (size > 0) {
    std::string exe(path, static_cast<std::size_t>(size));
    const std::string installed = exe.substr(0, exe.rfind('/')) + "/../share/zelknx/web";
    if (std::ifstream(installed + "/index.html"))
      return installed;
  }
  return ZELKNX_SOURCE_WEB_DIR;
}

}  // namespace

int Serve(const Session& session) {
  const Options& options = session.options;
  if (!options.args.empty())
    throw UsageError{"serve takes no arguments"};
  if (options.pace && options.replay.empty())
    throw UsageError{"--pace needs --replay"};
#ifndef ZELKNX_WITH_KNXD
  if (options.replay.empty())
    throw UsageError{"zelknx is built without knxd's client library: serve needs --replay"};
#endif
  WebMonitorOptions web;
  if (!ParseListen(options.listen, web))
    throw UsageError{"bad --listen '" + options.listen + "' (ADDR:PORT)"};
  web.token = options.token;
  web.webRoot = WebRoot();
  web.chartJs = ZELKNX_CHART_JS;
  web.groups = GroupsJson(session);
  std::ifstream log;
  if (!options.replay.empty()) {
    log.open(options.replay);
    if (!log)
      throw UsageError{"cannot read " + options.replay};
  }
  std::unique_ptr<WebMonitor> monitor;
  try {
    monitor = std::make_unique<WebMonitor>(web);
  } catch (const std::invalid_argument& error) {
    throw UsageError{error.what()};
  } catch (const std::runtime_error& error) {
    throw Unreachable{error.what()};
  }
  StopSignals stop;
  std::cerr << "zelknx: serving on http://" << web.host << ":" << monitor->Port() << "/"
            << std::endl;
  std::string failure;
  std::thread server([&] { monitor->Run(); });
  std::thread source([&] {
    try {
      if (!options.replay.empty()) {
        Replay(session, log, *monitor, stop.Fd());
        return;
      }
#ifdef ZELKNX_WITH_KNXD
      Live(session, *monitor, stop.Fd());
#endif
    } catch (const std::exception& error) {
      failure = error.what();
      stop.Trigger();
    }
  });
  pollfd fd{stop.Fd(), POLLIN, 0};
  while (poll(&fd, 1, -1) < 0 && errno == EINTR) {
  }
  monitor->Stop();
  server.join();
  source.join();
  if (!failure.empty())
    throw Unreachable{failure};
  return 0;
}

}  // namespace Zelknx
