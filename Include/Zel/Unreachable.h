// The report of code that must never run, and UndefinedBehaviourIfNone.
//
// ZEL_UNREACHABLE() writes, at FATAL, "This statement should not be executed.
// There is a bug somewhere around " followed by "<source>:<line>" of the
// place where it stands, and terminates the process. ZEL_LOG_SOURCE names
// the source as in every log entry ("ZelObjectModel/TimeOfDay").
#pragma once

#include "Zel/Export.h"
#include "Zel/Log.h"

#include <boost/optional.hpp>

#include <utility>

namespace Zel {

// Writes the report to stderr as well (it must be seen even where the
// logger has no appender) and aborts.
[[noreturn]] ZEL_EXPORT void TerminateUnreachable(const char* source, int line);

}  // namespace Zel

#define ZEL_UNREACHABLE_AT(source)                                                       \
  do {                                                                                   \
    ZEL_LOG_AT(::log4cplus::FATAL_LOG_LEVEL, source,                                     \
               "This statement should not be executed. There is a bug somewhere around " \
                   << (source) << ':' << __LINE__);                                      \
    ::Zel::TerminateUnreachable(source, __LINE__);                                       \
  } while (false)

#define ZEL_UNREACHABLE() ZEL_UNREACHABLE_AT(ZEL_LOG_SOURCE)

namespace Zel {

// The value inside `value`; an empty optional is a bug in the caller, which
// is reported as unreachable code. Its position, Include/Zel/Unreachable:45,
// is part of the report that the device's log tooling knows, so the report
// stays on that line (the static_assert guards it).
// clang-format off
// REQUIRES: `value` holds a value.
template <class T>
inline T UndefinedBehaviourIfNone(boost::optional<T> value) {
  if (!value) {
    ZEL_UNREACHABLE_AT("Include/Zel/Unreachable"); static_assert(__LINE__ == 45, "line moved");
  }
  return std::move(*value);
}
// clang-format on

}  // namespace Zel
