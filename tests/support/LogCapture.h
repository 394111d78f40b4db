// LogCapture: records every entry written to the global default logger
// while it lives, so that a test can assert the level and exact text of
// each entry a call writes, and how many there were.
//
//   LogCapture log;                       // captures TRACE and above
//   converter.ToKnxValue(dpt, value, out);
//   EXPECT_TRUE(log.Equals({Error("No Entry found for DPT = 9.30")}));
//
// The text of an entry is the message after the line prefix (logging
// context, function name and position, " - ", recursion padding).
#pragma once

#include <gtest/gtest.h>
#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

#include <mutex>
#include <string>
#include <vector>

namespace Zel {
namespace Tests {

struct LogEntry {
  log4cplus::LogLevel level;
  std::string text;     // message without the line prefix
  std::string message;  // the whole message
  std::string source;   // for example "ZelObjectModel/KnxValueConverter"
  int line;
  std::string function;  // full signature
};

struct ExpectedEntry {
  log4cplus::LogLevel level;
  std::string text;
};

inline ExpectedEntry Fatal(std::string text) {
  return {log4cplus::FATAL_LOG_LEVEL, std::move(text)};
}
inline ExpectedEntry Error(std::string text) {
  return {log4cplus::ERROR_LOG_LEVEL, std::move(text)};
}
inline ExpectedEntry Warn(std::string text) {
  return {log4cplus::WARN_LOG_LEVEL, std::move(text)};
}
inline ExpectedEntry Info(std::string text) {
  return {log4cplus::INFO_LOG_LEVEL, std::move(text)};
}
inline ExpectedEntry Debug(std::string text) {
  return {log4cplus::DEBUG_LOG_LEVEL, std::move(text)};
}

class LogCapture {
 public:
  // Replaces the logger's appenders by the capture and sets its level to
  // `level`; both are restored on destruction.
  explicit LogCapture(log4cplus::LogLevel level = log4cplus::TRACE_LOG_LEVEL);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogEntry> Entries() const;
  // The entries at `level` or above.
  std::vector<LogEntry> EntriesAtLeast(log4cplus::LogLevel level) const;
  void Clear();

  // Exactly these entries, in this order.
  ::testing::AssertionResult Equals(const std::vector<ExpectedEntry>& expected) const;
  // Exactly these entries at INFO or above, in this order; DEBUG and TRACE
  // entries are ignored.
  ::testing::AssertionResult EqualsIgnoringDebug(const std::vector<ExpectedEntry>& expected) const;
  // No entry at all.
  ::testing::AssertionResult Empty() const { return Equals({}); }

 private:
  class Appender;
  log4cplus::Logger m_logger;
  log4cplus::LogLevel m_savedLevel;
  log4cplus::SharedAppenderPtrList m_savedAppenders;
  log4cplus::helpers::SharedObjectPtr<Appender> m_appender;
};

std::string LevelName(log4cplus::LogLevel level);

}  // namespace Tests
}  // namespace Zel
