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
// Cost: starting and reading a boost::timer::cpu_timer takes two system
// calls each (times() besides the clock), close to a microsecond per scope.
// Decoders time every telegram, and on the device the logger usually stands
// at ERROR, where no entry could be written. So the timer is started only
// when the logger, at construction, would write the entry at DEBUG or (with
// a threshold) at INFO; otherwise a scope costs one or two level tests and
// copies nothing. A level lowered while the scope runs therefore reports
// nothing for it.
//
// Not thread-safe: a timer belongs to the scope that made it.
#pragma once

#include "Zel/NonCopyable.h"
#include "ZelLog/Logging.h"

#include <boost/optional.hpp>
#include <boost/timer/timer.hpp>

#include <string>
#include <string_view>

namespace Zel {

class MeasureDuration : private NonCopyable {
public:
  // `threshold`: the wall time in nanoseconds from which the report is made
  // at INFO; none reports at DEBUG always. The message is copied only when
  // the scope may be reported.
  explicit MeasureDuration(std::string_view message,
                           boost::optional<boost::timer::nanosecond_type> threshold = boost::none)
      : m_threshold(threshold) {
    const log4cplus::Logger& logger = GetGlobalDefaultLogger();
    if (logger.isEnabledFor(log4cplus::DEBUG_LOG_LEVEL) ||
        (m_threshold && logger.isEnabledFor(log4cplus::INFO_LOG_LEVEL))) {
      m_message.assign(message.data(), message.size());
      m_timer.emplace();  // starts it
    }
  }

  ~MeasureDuration() {
    if (!m_timer) {
      return;
    }
    const boost::timer::cpu_times elapsed = m_timer->elapsed();
    const log4cplus::LogLevel level = m_threshold && elapsed.wall >= *m_threshold
                                          ? log4cplus::INFO_LOG_LEVEL
                                          : log4cplus::DEBUG_LOG_LEVEL;
    ZEL_LOG_AT(level, "Include/Zel/MeasureDuration",
               m_message << boost::timer::format(elapsed, 6, "%ws"));
  }

private:
  std::string m_message;  // empty unless the timer runs
  boost::optional<boost::timer::cpu_timer> m_timer;  // running while the scope may be reported
  boost::optional<boost::timer::nanosecond_type> m_threshold;
};

}  // namespace Zel
