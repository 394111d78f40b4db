// MeasureDuration: a scope timer that logs how long its scope took.
//
//   {
//     const MeasureDuration timer("Decoding a KNX value took ", 100000000);  // 100 ms
//     ...
//   }  // logs "Decoding a KNX value took 0.000042s"
//
// When the scope ends, the entry is the message followed by the elapsed wall
// time as Boost.Timer formats it with 6 decimal places and the format "%ws"
// (seconds, then "s"; the user and system times are left out). It is written
// at INFO when a threshold is set and the elapsed wall time is at least the
// threshold, at DEBUG otherwise (also when no threshold is set).
//
// Cost: whether to write is asked, as for every entry, when the scope ends,
// so a level lowered while the scope runs still gets its entry. At its
// start the scope reads the monotonic clock: precisely when the entry could
// be written at that moment, otherwise the kernel's coarse monotonic clock
// (its last tick, a few milliseconds apart, read without a system call into
// the hardware); the end is read from the same clock. At the usual ERROR
// level a scope so costs a few level tests and one coarse clock read, and
// copies nothing: the message is kept by reference. An entry that only a
// level lowered during the scope allows is timed to a tick.
#pragma once

#include "Zel/NonCopyable.h"
#include "Zel/Log.h"

#include <boost/optional.hpp>
#include <boost/timer/timer.hpp>

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace Zel {

class MeasureDuration : private NonCopyable {
 public:
  // `threshold`: the wall time in nanoseconds from which the report is made
  // at INFO; none reports at DEBUG always.
  // REQUIRES: `message` outlives the scope (callers pass a literal).
  explicit MeasureDuration(std::string_view message,
                           boost::optional<boost::timer::nanosecond_type> threshold = boost::none)
      : m_message(message),
        m_threshold(threshold),
        m_precise(CouldReport()),
        m_start(Now(m_precise)) {}

  ~MeasureDuration() {
    if (!CouldReport()) {
      return;  // neither entry could be written
    }
    boost::timer::cpu_times elapsed;
    elapsed.wall = Now(m_precise) - m_start;
    elapsed.user = 0;
    elapsed.system = 0;
    const log4cplus::LogLevel level = m_threshold && elapsed.wall >= *m_threshold
                                          ? log4cplus::INFO_LOG_LEVEL
                                          : log4cplus::DEBUG_LOG_LEVEL;
    ZEL_LOG_AT(level, "Include/Zel/MeasureDuration",
               m_message << boost::timer::format(elapsed, 6, "%ws"));
  }

 private:
  // Whether the logger could take the entry now: at INFO with a threshold
  // (wherever DEBUG is enabled, INFO is too), at DEBUG without one. The
  // entry asks for its own level again when it is written.
  bool CouldReport() const {
    return GetGlobalDefaultLogger().isEnabledFor(m_threshold ? log4cplus::INFO_LOG_LEVEL
                                                             : log4cplus::DEBUG_LOG_LEVEL);
  }

  // Nanoseconds on the monotonic clock, precise or coarse.
  static boost::timer::nanosecond_type Now(bool precise) {
    timespec now{};
    clock_gettime(precise ? CLOCK_MONOTONIC : CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<boost::timer::nanosecond_type>(now.tv_sec) * 1000000000 + now.tv_nsec;
  }

  std::string_view m_message;
  boost::optional<boost::timer::nanosecond_type> m_threshold;
  bool m_precise;  // which clock m_start was read from
  boost::timer::nanosecond_type m_start;
};

}  // namespace Zel
