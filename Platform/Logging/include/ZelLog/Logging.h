// Logging of the platform: the global default logger (log4cplus), the line
// prefix pieces, the assertion handler, and the one macro family through
// which every entry of the library is written.
//
// An entry is built only when its level is enabled: the macros ask the
// logger first, and only then stream
//   GetLoggingContext() PrettyFunctionNamePrinter(...) " - " LoggingRecursionPadding() pieces...
// into a string and hand it to log4cplus with the level, the source name
// (for example "ZelObjectModel/KnxValueConverter"), the line and the full
// function signature. A DEBUG line at the usual ERROR level costs one level
// test and no allocation.
//
// A source file defines ZEL_LOG_SOURCE (its path without extension) and then
// uses ZEL_LOG_FATAL ... ZEL_LOG_TRACE; code in headers uses ZEL_LOG_AT with
// its own source name.
#pragma once

#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

#include <iosfwd>
#include <sstream>
#include <string>

namespace Zel {

// The logger every entry of the library goes to. Created on first use with
// level ERROR and one appender on stderr; thread-safe.
log4cplus::Logger& GetGlobalDefaultLogger();

// Per-thread text that prefixes every entry (empty unless set), for example
// the name of the app a thread works for.
const std::string& GetLoggingContext();
void SetLoggingContext(std::string context);

// Streams the short function name and its position: "Name [Source:Line]".
struct PrettyFunctionNamePrinter {
  PrettyFunctionNamePrinter(const char* function, const char* source, int line)
      : m_function(function), m_source(source), m_line(line) {}
  const char* m_function;
  const char* m_source;
  int m_line;
};
std::ostream& operator<<(std::ostream& os, const PrettyFunctionNamePrinter& printer);

// Indentation that shows logging from inside logging (for example a value's
// ToString that logs): two blanks per nesting level of the current thread,
// nothing at the top level.
struct LoggingRecursionPadding {};
std::ostream& operator<<(std::ostream& os, LoggingRecursionPadding);

// Raises the current thread's nesting level while it lives.
class LoggingRecursionGuard {
public:
  LoggingRecursionGuard();
  ~LoggingRecursionGuard();
  LoggingRecursionGuard(const LoggingRecursionGuard&) = delete;
  LoggingRecursionGuard& operator=(const LoggingRecursionGuard&) = delete;
};

// The platform's assertion handler: writes `message` to stderr and as a FATAL
// entry, then aborts. Never returns.
[[noreturn]] void AssertionFailed(const std::string& message, const char* source, int line,
                                  const char* function);

}  // namespace Zel

// The entry as written from `function` (short name) with the full
// signature `signature`: for a helper that writes on behalf of the public
// operation that called it.
#define ZEL_LOG_AT_FUNCTION(level, source, function, signature, pieces)                         \
  do {                                                                                          \
    const ::log4cplus::Logger& zelLogger_ = ::Zel::GetGlobalDefaultLogger();                    \
    if (zelLogger_.isEnabledFor(level)) {                                                       \
      ::std::ostringstream zelLogStream_;                                                       \
      zelLogStream_ << ::Zel::GetLoggingContext()                                               \
                    << ::Zel::PrettyFunctionNamePrinter(function, source, __LINE__) << " - "    \
                    << ::Zel::LoggingRecursionPadding() << pieces;                              \
      zelLogger_.forcedLog(level, zelLogStream_.str(), source, __LINE__, signature);            \
    }                                                                                           \
  } while (false)

#define ZEL_LOG_AT(level, source, pieces) \
  ZEL_LOG_AT_FUNCTION(level, source, __func__, __PRETTY_FUNCTION__, pieces)

#define ZEL_LOG_FATAL(pieces) ZEL_LOG_AT(::log4cplus::FATAL_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_ERROR(pieces) ZEL_LOG_AT(::log4cplus::ERROR_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_WARN(pieces) ZEL_LOG_AT(::log4cplus::WARN_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_INFO(pieces) ZEL_LOG_AT(::log4cplus::INFO_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_DEBUG(pieces) ZEL_LOG_AT(::log4cplus::DEBUG_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_TRACE(pieces) ZEL_LOG_AT(::log4cplus::TRACE_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)

// Assertions of programming errors; the failure text is
// " ZEL_ASSERT(<condition>) failed" or " ZEL_ASSERT2(<condition>) failed".
#define ZEL_ASSERT_IMPL(kind, condition)                                                     \
  do {                                                                                      \
    if (!(condition)) {                                                                     \
      ::std::ostringstream zelAssertStream_;                                                \
      zelAssertStream_ << " " kind "(" << #condition << ") failed";                         \
      ::Zel::AssertionFailed(zelAssertStream_.str(), __FILE__, __LINE__, __PRETTY_FUNCTION__); \
    }                                                                                       \
  } while (false)
#define ZEL_ASSERT(condition) ZEL_ASSERT_IMPL("ZEL_ASSERT", condition)
#define ZEL_ASSERT2(condition) ZEL_ASSERT_IMPL("ZEL_ASSERT2", condition)
