#include "LogCapture.h"

#include "ZelLog/Logging.h"

#include <log4cplus/loglevel.h>
#include <log4cplus/spi/loggingevent.h>

#include <algorithm>
#include <sstream>

namespace Zel {
namespace Tests {

class LogCapture::Appender : public log4cplus::Appender {
 public:
  ~Appender() override { destructorImpl(); }
  void close() override {}

  std::vector<LogEntry> Entries() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_entries;
  }
  void Clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.clear();
  }

 protected:
  void append(const log4cplus::spi::InternalLoggingEvent& event) override {
    LogEntry entry;
    entry.level = event.getLogLevel();
    entry.message = event.getMessage();
    // The prefix ends with the position printer's "]", " - " and the
    // recursion padding.
    const std::string::size_type end = entry.message.find("] - ");
    entry.text = end == std::string::npos ? entry.message : entry.message.substr(end + 4);
    entry.source = event.getFile();
    entry.line = event.getLine();
    entry.function = event.getFunction();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.push_back(std::move(entry));
  }

 private:
  mutable std::mutex m_mutex;
  std::vector<LogEntry> m_entries;
};

LogCapture::LogCapture(log4cplus::LogLevel level)
    : m_logger(GetGlobalDefaultLogger()),
      m_savedLevel(m_logger.getLogLevel()),
      m_savedAppenders(m_logger.getAllAppenders()),
      m_appender(new Appender) {
  m_logger.removeAllAppenders();
  m_logger.addAppender(log4cplus::SharedAppenderPtr(m_appender.get()));
  m_logger.setLogLevel(level);
}

LogCapture::~LogCapture() {
  m_logger.removeAllAppenders();
  for (const auto& appender : m_savedAppenders) {
    m_logger.addAppender(appender);
  }
  m_logger.setLogLevel(m_savedLevel);
}

std::vector<LogEntry> LogCapture::Entries() const {
  return m_appender->Entries();
}

std::vector<LogEntry> LogCapture::EntriesAtLeast(log4cplus::LogLevel level) const {
  std::vector<LogEntry> result = Entries();
  result.erase(std::remove_if(result.begin(), result.end(),
                              [level](const LogEntry& entry) { return entry.level < level; }),
               result.end());
  return result;
}

void LogCapture::Clear() {
  m_appender->Clear();
}

std::string LevelName(log4cplus::LogLevel level) {
  return log4cplus::getLogLevelManager().toString(level);
}

namespace {

::testing::AssertionResult Compare(const std::vector<LogEntry>& actual,
                                   const std::vector<ExpectedEntry>& expected) {
  bool same = actual.size() == expected.size();
  for (std::size_t i = 0; same && i < actual.size(); ++i) {
    same = actual[i].level == expected[i].level && actual[i].text == expected[i].text;
  }
  if (same) {
    return ::testing::AssertionSuccess();
  }
  std::ostringstream os;
  const auto print = [&os](const auto& entries) {
    for (const auto& entry : entries)
      os << "  " << LevelName(entry.level) << " \"" << entry.text << "\"\n";
  };
  os << "expected " << expected.size() << " log entries:\n";
  print(expected);
  os << "got " << actual.size() << ":\n";
  print(actual);
  return ::testing::AssertionFailure() << os.str();
}

}  // namespace

::testing::AssertionResult LogCapture::Equals(const std::vector<ExpectedEntry>& expected) const {
  return Compare(Entries(), expected);
}

::testing::AssertionResult LogCapture::EqualsIgnoringDebug(
    const std::vector<ExpectedEntry>& expected) const {
  return Compare(EntriesAtLeast(log4cplus::INFO_LOG_LEVEL), expected);
}

}  // namespace Tests
}  // namespace Zel
