// The configuration loader from a file, as the app host runs it: the input
// is written to a file and loaded with LoadConfigurationFile. Inputs are
// not capped below the loader's own bounds (run with a large -max_len, see
// the .options file), so deep nesting and long texts reach it. Besides
// surviving (only the documented ObjId conversion errors may leave it):
//   - loading the file and loading the same bytes from memory give the
//     same configuration;
//   - a disabled app host start-up disables the connector host's too,
//     whenever the load completed.
#include "Zel/AppHostConfig.h"
#include "ZelLog/Logging.h"

#include <log4cplus/nullappender.h>

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::string g_path;

std::string State(const Zel::AppHostConfiguration& c) {
  std::ostringstream s;
  s << c.IsAppHostWithoutKNX() << c.IsAppHostTerminateOnFirmwareUpdate() << c.IsInAppDebugMode()
    << c.IsAppHostStartupDisabled() << c.IsAppConnectorHostStartupDisabled();
  for (const auto* path :
       {&c.GetRootPathNativeApp(), &c.GetRootPathManagedApp(), &c.GetRootPathAppHost(),
        &c.GetRootPathAppConnectorHost(), &c.GetPathObjectModelConfig()}) {
    s << ' ' << (*path ? (*path)->string() : "-");
  }
  for (const auto dp : c.GetResponseDataPoints())
    s << ' ' << dp;
  return s.str();
}

// Loads with `load`; "throws" when an ObjId conversion error left it.
std::string Loaded(const std::function<void(Zel::AppHostConfiguration&)>& load) {
  Zel::AppHostConfiguration configuration;
  try {
    load(configuration);
  } catch (const std::invalid_argument&) {
    return "throws";
  } catch (const std::out_of_range&) {
    return "throws";
  }
  return State(configuration);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Keep the error messages' text building but send them nowhere.
  log4cplus::Logger& logger = Zel::GetGlobalDefaultLogger();
  logger.removeAllAppenders();
  logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender()));
  g_path = "/tmp/zel-apphostconfig-fuzz-" + std::to_string(::getpid()) + ".xml";
  std::atexit([] { ::unlink(g_path.c_str()); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  {
    std::ofstream file(g_path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  const std::string fromFile =
      Loaded([](Zel::AppHostConfiguration& c) { c.LoadConfigurationFile(g_path); });
  if (size > 1024 * 1024)
    return 0;  // beyond the file bound: not read, nothing to compare
  const std::string fromMemory = Loaded([&](Zel::AppHostConfiguration& c) {
    std::vector<char> text(data, data + size);
    text.push_back('\0');
    c.LoadAppHostConfigXML(text.data());
  });
  if (fromFile != fromMemory) {
    std::fprintf(stderr, "file and memory loads differ:\n  file   %s\n  memory %s\n",
                 fromFile.c_str(), fromMemory.c_str());
    std::abort();
  }
  // Flags 4 and 5 of the state: host disabled, connector disabled.
  if (fromFile != "throws" && fromFile[3] == '1' && fromFile[4] != '1') {
    std::fprintf(stderr, "app host disabled without the connector host: %s\n", fromFile.c_str());
    std::abort();
  }
  return 0;
}
