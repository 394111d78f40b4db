#include "ZelLog/Logging.h"

#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>

#include <cstdlib>
#include <iostream>
#include <memory>

namespace Zel {
namespace {

log4cplus::Logger CreateDefaultLogger() {
  log4cplus::Logger logger = log4cplus::Logger::getInstance("Zel");
  logger.setLogLevel(log4cplus::ERROR_LOG_LEVEL);
  logger.setAdditivity(false);
  log4cplus::SharedAppenderPtr appender(new log4cplus::ConsoleAppender(true /*stderr*/, true));
  appender->setLayout(std::make_unique<log4cplus::PatternLayout>("%-5p %m%n"));
  logger.addAppender(appender);
  return logger;
}

thread_local std::string t_context;
thread_local int t_recursionDepth = 0;

}  // namespace

log4cplus::Logger& GetGlobalDefaultLogger() {
  static log4cplus::Logger logger = CreateDefaultLogger();
  return logger;
}

const std::string& GetLoggingContext() {
  return t_context;
}

void SetLoggingContext(std::string context) {
  t_context = std::move(context);
}

std::ostream& operator<<(std::ostream& os, const PrettyFunctionNamePrinter& printer) {
  return os << printer.m_function << " [" << printer.m_source << ':' << printer.m_line << ']';
}

std::ostream& operator<<(std::ostream& os, LoggingRecursionPadding) {
  for (int i = 0; i < t_recursionDepth; ++i) {
    os << "  ";
  }
  return os;
}

LoggingRecursionGuard::LoggingRecursionGuard() {
  ++t_recursionDepth;
}
LoggingRecursionGuard::~LoggingRecursionGuard() {
  --t_recursionDepth;
}

void AssertionFailed(const std::string& message, const char* source, int line,
                     const char* function) {
  std::cerr << "Assertion failed: " << message << " at " << source << ':' << line << " in "
            << function << std::endl;
  GetGlobalDefaultLogger().forcedLog(log4cplus::FATAL_LOG_LEVEL, message, source, line, function);
  std::abort();
}

}  // namespace Zel
