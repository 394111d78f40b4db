#include "StopSignals.h"

#include "Commands.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace Zelknx {
namespace {

int g_stopPipe[2] = {-1, -1};
struct sigaction g_previousInt {};
struct sigaction g_previousTerm {};

void OnStopSignal(int) {
  const char byte = 1;
  const ssize_t written = write(g_stopPipe[1], &byte, 1);
  (void)written;  // a full pipe already says "stop"
}

}  // namespace

StopSignals::StopSignals() {
  if (pipe2(g_stopPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
    throw Unreachable{std::string("pipe: ") + std::strerror(errno)};
  }
  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, &g_previousInt);
  sigaction(SIGTERM, &action, &g_previousTerm);
}

StopSignals::~StopSignals() {
  sigaction(SIGINT, &g_previousInt, nullptr);
  sigaction(SIGTERM, &g_previousTerm, nullptr);
  close(g_stopPipe[0]);
  close(g_stopPipe[1]);
}

int StopSignals::Fd() const {
  return g_stopPipe[0];
}

void StopSignals::Trigger() const {
  OnStopSignal(0);
}

}  // namespace Zelknx
