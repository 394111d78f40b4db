#include "Zel/Log.h"

#include <log4cplus/logger.h>

namespace Zel {

LogEntry::LogEntry(log4cplus::LogLevel level, const char* source, int line, const char* function,
                   const char* signature)
    : m_level(level), m_source(source), m_line(line), m_signature(signature) {
  m_stream << GetLoggingContext() << PrettyFunctionNamePrinter(function, source, line) << " - "
           << LoggingRecursionPadding();
}

LogEntry::~LogEntry() {
  try {
    GetGlobalDefaultLogger().forcedLog(m_level, m_stream.str(), m_source, m_line, m_signature);
  } catch (...) {
    // A logger that cannot write must not take the caller down with it.
  }
}

}  // namespace Zel
