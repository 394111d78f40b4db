// The library's one logging macro family.
//
// An entry is built only when its level is enabled: the macros ask the
// platform's global default logger first, and only then build
//   GetLoggingContext() PrettyFunctionNamePrinter(...) " - " LoggingRecursionPadding() pieces...
// and hand it to log4cplus with the level, the source name (for example
// "ZelObjectModel/KnxValueConverter"), the line and the full function
// signature. A disabled level costs one level test and builds nothing.
//
// The text is built out of line, by Zel::LogEntry, so that a log statement
// costs its site a level test and a few calls, not a string stream.
//
// A source file defines ZEL_LOG_SOURCE (its path without extension) and
// then uses ZEL_LOG_FATAL ... ZEL_LOG_TRACE; code in headers uses
// ZEL_LOG_AT with its own source name; a helper that writes on behalf of
// the operation that called it uses ZEL_LOG_AT_FUNCTION with that
// operation's name and signature.
#pragma once

#include "Zel/Export.h"
#include "ZelLog/Logging.h"

#include <log4cplus/loglevel.h>

#include <sstream>

namespace Zel {

// One entry under construction: the constructor writes the line prefix,
// Stream() takes the message pieces, the destructor hands the text to the
// logger. REQUIRES: the level is enabled (the macros ask first).
class ZEL_EXPORT LogEntry {
 public:
  LogEntry(log4cplus::LogLevel level, const char* source, int line, const char* function,
           const char* signature);
  ~LogEntry();
  LogEntry(const LogEntry&) = delete;
  LogEntry& operator=(const LogEntry&) = delete;

  std::ostream& Stream() { return m_stream; }

 private:
  log4cplus::LogLevel m_level;
  const char* m_source;
  int m_line;
  const char* m_signature;
  std::ostringstream m_stream;
};

}  // namespace Zel

#define ZEL_LOG_AT_FUNCTION(level, source, function, signature, pieces)                  \
  do {                                                                                   \
    if (::Zel::GetGlobalDefaultLogger().isEnabledFor(level)) {                           \
      ::Zel::LogEntry zelEntry_(level, source, __LINE__, function, signature);           \
      zelEntry_.Stream() << pieces; /* NOLINT(bugprone-macro-parentheses): a << chain */ \
    }                                                                                    \
  } while (false)

#define ZEL_LOG_AT(level, source, pieces) \
  ZEL_LOG_AT_FUNCTION(level, source, __func__, __PRETTY_FUNCTION__, pieces)

#define ZEL_LOG_FATAL(pieces) ZEL_LOG_AT(::log4cplus::FATAL_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_ERROR(pieces) ZEL_LOG_AT(::log4cplus::ERROR_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_WARN(pieces) ZEL_LOG_AT(::log4cplus::WARN_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_INFO(pieces) ZEL_LOG_AT(::log4cplus::INFO_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_DEBUG(pieces) ZEL_LOG_AT(::log4cplus::DEBUG_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
#define ZEL_LOG_TRACE(pieces) ZEL_LOG_AT(::log4cplus::TRACE_LOG_LEVEL, ZEL_LOG_SOURCE, pieces)
