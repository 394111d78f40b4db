// SIGINT and SIGTERM made readable from a pipe, so that a command's loops
// end between two telegrams: poll Fd() beside what they wait for. It stays
// readable once a signal came, for every thread that polls it. A handler
// rather than a blocked signal set: the logging library's threads would not
// block them.
//
// One instance at a time; the previous handlers come back with its end.
#pragma once

namespace Zelknx {

class StopSignals {
 public:
  StopSignals();  // throws Unreachable when no pipe can be made
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  int Fd() const;
  // Stops as a signal would (a thread that failed ends the others).
  void Trigger() const;
};

}  // namespace Zelknx
