// Feeds arbitrary bytes to AppHostConfiguration::LoadAppHostConfigXML the
// way LoadConfigurationFile does: copied into a writable buffer with one
// zero byte appended. Embedded zeros stay in, the parser must stop at the
// first one. Only the documented ObjId conversion errors are expected
// exceptions; anything else, and any sanitizer report, is a finding.
#include "Zel/AppHostConfig.h"
#include "ZelLog/Logging.h"

#include <log4cplus/nullappender.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Keep the error messages' text building but send them nowhere.
  log4cplus::Logger& logger = Zel::GetGlobalDefaultLogger();
  logger.removeAllAppenders();
  logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender()));
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<char> text(data, data + size);
  text.push_back('\0');
  Zel::AppHostConfiguration configuration;
  try {
    const bool loaded = configuration.LoadAppHostConfigXML(text.data());
    if (loaded && configuration.IsAppHostStartupDisabled() &&
        !configuration.IsAppConnectorHostStartupDisabled()) {
      std::abort();
    }
  } catch (const std::invalid_argument&) {
  } catch (const std::out_of_range&) {
  }
  return 0;
}
