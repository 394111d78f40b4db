// The library's log entries, handed to Python's `logging` (logger
// "zelobjectmodel").
//
// log4cplus holds an appender's lock while the appender runs, so an
// appender that waited for the GIL there could deadlock: a thread holding
// the GIL that logs waits for the lock, while the thread holding the lock
// waits for the GIL. The appender therefore only queues the entry on the
// logging thread; the binding delivers a thread's queue to `logging` when
// a call of it returns (LogDelivery), holding the GIL and no lock of the
// library. Entries of a call thus reach `logging` before the call returns
// to Python, on the thread that made it, in order. Nothing here touches
// Python outside such a call, so interpreter shutdown has nothing to wait
// for.
#pragma once

#include <log4cplus/loglevel.h>

#include <string>
#include <vector>

namespace ZelPython {

struct LogEntry {
  log4cplus::LogLevel level;
  std::string message;   // without the line prefix ("Function [Source:Line] - ")
  std::string function;  // short name, from the prefix
  std::string file;      // the library's source name, e.g. ZelObjectModel/GroupValueTavValue
  int line;
};

// Replaces the library logger's stderr appender by the queueing one (the
// last-error appender of the readers stays). Once, at import.
void InstallLogBridge();

// The entries the calling thread logged since its last delivery.
const std::vector<LogEntry>& PendingLogEntries();

// Delivers the calling thread's queue to `logging`. REQUIRES: the GIL is held.
void DeliverLogEntries();

// Delivers on destruction: the call guard of every function of the binding.
struct LogDelivery {
  LogDelivery() = default;
  ~LogDelivery() { DeliverLogEntries(); }
  LogDelivery(const LogDelivery&) = delete;
  LogDelivery& operator=(const LogDelivery&) = delete;
};

// Python's level of a log4cplus level: TRACE 5, DEBUG 10, INFO 20, WARN 30,
// ERROR 40, FATAL 50; and back (the nearest log4cplus level at or below it).
int PythonLevel(log4cplus::LogLevel level);
log4cplus::LogLevel LibraryLevel(int pythonLevel);

}  // namespace ZelPython
