// Logging of the platform: the global default logger (log4cplus), the pieces
// of the line prefix, and the assertion handler with ZEL_ASSERT. The
// library writes its entries through its own macro family (Zel/Log.h),
// which is built on these.
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

// Assertions of programming errors; the failure text is
// " ZEL_ASSERT(<condition>) failed" or " ZEL_ASSERT2(<condition>) failed".
#define ZEL_ASSERT_IMPL(kind, condition)                                                       \
  do {                                                                                         \
    if (!(condition)) {                                                                        \
      ::std::ostringstream zelAssertStream_;                                                   \
      zelAssertStream_ << " " kind "(" << #condition << ") failed";                            \
      ::Zel::AssertionFailed(zelAssertStream_.str(), __FILE__, __LINE__, __PRETTY_FUNCTION__); \
    }                                                                                          \
  } while (false)
#define ZEL_ASSERT(condition) ZEL_ASSERT_IMPL("ZEL_ASSERT", condition)
#define ZEL_ASSERT2(condition) ZEL_ASSERT_IMPL("ZEL_ASSERT2", condition)
