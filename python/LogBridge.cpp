#include "LogBridge.h"

#include "Binding.h"

#include "ZelLog/Logging.h"

#include <log4cplus/appender.h>
#include <log4cplus/spi/loggingevent.h>
#include <mutex>
#include <utility>

namespace ZelPython {
namespace {

thread_local std::vector<LogEntry> t_pending;

class QueueAppender final : public log4cplus::Appender {
 public:
  ~QueueAppender() override { destructorImpl(); }
  void close() override { closed = true; }

 protected:
  void append(const log4cplus::spi::InternalLoggingEvent& event) override {
    const std::string& text = event.getMessage();
    LogEntry entry{event.getLogLevel(), text, "", event.getFile(), event.getLine()};
    const auto separator = text.find(" - ");
    if (separator != std::string::npos) {
      entry.message = text.substr(separator + 3);
      const std::string prefix = text.substr(0, separator);
      entry.function = prefix.substr(0, prefix.find(" ["));
      const auto blank = entry.function.find_last_of(' ');
      if (blank != std::string::npos)
        entry.function.erase(0, blank + 1);  // after the thread's logging context
    }
    t_pending.push_back(std::move(entry));
  }
};

}  // namespace

void InstallLogBridge() {
  static std::once_flag installed;
  std::call_once(installed, [] {
    log4cplus::Logger& logger = Zel::GetGlobalDefaultLogger();
    logger.removeAllAppenders();
    Zelknx::InstallLastErrorLog();
    logger.addAppender(log4cplus::SharedAppenderPtr(new QueueAppender()));
  });
}

const std::vector<LogEntry>& PendingLogEntries() {
  return t_pending;
}

void DeliverLogEntries() {
  if (t_pending.empty())
    return;
  std::vector<LogEntry> entries;
  entries.swap(t_pending);
  try {
    const py::object logger = py::module_::import("logging").attr("getLogger")("zelobjectmodel");
    for (const LogEntry& entry : entries) {
      const int level = PythonLevel(entry.level);
      if (!logger.attr("isEnabledFor")(level).cast<bool>())
        continue;
      const py::object record =
          logger.attr("makeRecord")("zelobjectmodel", level, entry.file, entry.line,
                                    Text(entry.message), py::tuple(), py::none(), entry.function);
      logger.attr("handle")(record);
    }
  } catch (py::error_already_set& error) {
    // A failing handler must not turn a conversion into an error.
    error.discard_as_unraisable("zelobjectmodel: delivering a log entry");
  }
}

int PythonLevel(log4cplus::LogLevel level) {
  if (level < log4cplus::DEBUG_LOG_LEVEL)
    return 5;
  return level / 1000;  // DEBUG 10000 -> 10, ..., FATAL 50000 -> 50
}

log4cplus::LogLevel LibraryLevel(int pythonLevel) {
  if (pythonLevel < 10)
    return log4cplus::TRACE_LOG_LEVEL;
  if (pythonLevel > 50)
    return log4cplus::OFF_LOG_LEVEL;
  return pythonLevel / 10 * 10000;
}

}  // namespace ZelPython
