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
// Cost: the scope reads the monotonic clock once at its start; at its end
// it asks the logger, as every entry does, whether the entry would be
// written, and only then reads the clock again and builds the text. A level
// raised while the scope runs still gets its entry. At the usual ERROR level
// a scope costs one clock read and one or two level tests, and copies
// nothing: the message is kept by reference.
#pragma once

#include "Zel/NonCopyable.h"
#include "ZelLog/Logging.h"

#include <boost/optional.hpp>
#include <boost/timer/timer.hpp>

#include <chrono>
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
      : m_message(message), m_start(std::chrono::steady_clock::now()), m_threshold(threshold) {}

  ~MeasureDuration() {
    const log4cplus::Logger& logger = GetGlobalDefaultLogger();
    if (!logger.isEnabledFor(log4cplus::DEBUG_LOG_LEVEL) &&
        !(m_threshold && logger.isEnabledFor(log4cplus::INFO_LOG_LEVEL))) {
      return;  // neither entry could be written
    }
    boost::timer::cpu_times elapsed;
    elapsed.wall = std::chrono::duration_cast<std::chrono::nanoseconds>(
                       std::chrono::steady_clock::now() - m_start)
                       .count();
    elapsed.user = 0;
    elapsed.system = 0;
    const log4cplus::LogLevel level = m_threshold && elapsed.wall >= *m_threshold
                                          ? log4cplus::INFO_LOG_LEVEL
                                          : log4cplus::DEBUG_LOG_LEVEL;
    ZEL_LOG_AT(level, "Include/Zel/MeasureDuration",
               m_message << boost::timer::format(elapsed, 6, "%ws"));
  }

private:
  std::string_view m_message;
  std::chrono::steady_clock::time_point m_start;
  boost::optional<boost::timer::nanosecond_type> m_threshold;
};

}  // namespace Zel
