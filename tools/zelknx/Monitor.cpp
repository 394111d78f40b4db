// zelknx monitor: every group telegram that a running knxd sees, decoded by
// the library with the DPT that the group address list gives its group
// address, until a count or a signal ends it.
#include "Commands.h"

#include "KnxdGroupSocket.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>

namespace Zelknx {
namespace {

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
  try {
    KnxdGroupSocket socket(options.url);
    const GroupAddressTable* groups = session.groups ? &*session.groups : nullptr;
    for (unsigned long received = 0; count == 0 || received < count; ++received) {
      const auto telegram = socket.Next(stop.Fd());
      if (!telegram)
        return 0;  // SIGINT or SIGTERM
      const DecodedTelegram decoded = DecodeTelegram(*telegram, groups, options.table);
      Print(options, decoded.json, decoded.text);
      std::cout.flush();
    }
  } catch (const KnxdError& error) {
    throw Unreachable{error.what()};
  }
  return 0;
}

}  // namespace Zelknx
