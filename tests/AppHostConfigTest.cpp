// AppHostConfiguration: the loader's rules over real XML texts and files.
#include "LogCapture.h"

#include "Zel/AppHostConfig.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <iostream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <type_traits>

namespace Zel {
namespace {

using Tests::Error;
using namespace std::chrono_literals;

const std::string kExample =  // the documented example
    "<ZelAppHostConfig WithoutKNX='1'><Debugging Active='1'><AppHost RootPath='/x' DisableStartup='1'/></Debugging>"
    "<OmbConfig><ResponseDps><Dp ObjId='17'/><Dp ObjId='42'/></ResponseDps></OmbConfig></ZelAppHostConfig>";

std::string TempPath(const std::string& name) {
  return ::testing::TempDir() + ::testing::UnitTest::GetInstance()->current_test_info()->name() + name;
}

std::string WriteFile(const std::string& content, const std::string& name = ".xml") {
  std::ofstream(TempPath(name), std::ios::binary) << content;
  return TempPath(name);
}

bool Load(AppHostConfiguration& config, std::string xml) {
  return config.LoadAppHostConfigXML(xml.data());
}

std::string Wrap(const std::string& inner) {
  return "<ZelAppHostConfig>" + inner + "</ZelAppHostConfig>";
}

// Flags without KNX, terminate on update, debug, host disabled, connector
// disabled; then paths native, managed, host, connector, object model; then
// the response data points.
std::string State(const AppHostConfiguration& c) {
  std::ostringstream s;
  s << c.IsAppHostWithoutKNX() << c.IsAppHostTerminateOnFirmwareUpdate() << c.IsInAppDebugMode()
    << c.IsAppHostStartupDisabled() << c.IsAppConnectorHostStartupDisabled();
  for (const auto* path : {&c.GetRootPathNativeApp(), &c.GetRootPathManagedApp(), &c.GetRootPathAppHost(),
                           &c.GetRootPathAppConnectorHost(), &c.GetPathObjectModelConfig()}) {
    s << ' ' << (*path ? (*path)->string() : "-");
  }
  for (const unsigned long dp : c.GetResponseDataPoints())
    s << ' ' << dp;
  return s.str();
}

TEST(AppHostConfig, LoadsAppliedInOrder) {
  // Each case loads its texts in turn into one configuration; the state after each load.
  const std::pair<const char*, std::vector<std::pair<std::string, const char*>>> cases[] = {
      {"byte order mark; the example loaded twice appends the points",
       {{"\xEF\xBB\xBF<ZelAppHostConfig WithoutKNX='1'/>", "10000 - - - - -"}, {kExample, "10111 - - /x - - 17 42"}, {kExample, "10111 - - /x - - 17 42 17 42"}}},
      // Intended: anything but exactly "0" is true, also false, no and the empty text.
      {"debugging children need debug mode; only exactly 0 is false",
       {{Wrap("<Debugging><App RootPath='/n'/><AppHost DisableStartup='1'/></Debugging>"), "00000 - - - - -"},
        {"<ZelAppHostConfig WithoutKNX='' TerminateOnFirmwareUpdate='no'><Debugging Active='false'>"
         "<AppConnectorHost DisableStartup=' 0'/></Debugging></ZelAppHostConfig>",
         "11101 - - - - -"},
        {"<ZelAppHostConfig WithoutKNX='0' TerminateOnFirmwareUpdate='0'><Debugging><AppHost DisableStartup='0'/>"
         "<AppConnectorHost DisableStartup='0'/></Debugging><Debugging Active='0'/></ZelAppHostConfig>",
         "00000 - - - - -"}}},
      {"every element, several roots",
       {{"<?xml version='1.0'?><Other WithoutKNX='1'/><ZelAppHostConfig TerminateOnFirmwareUpdate='1'>"
         "<ObjectModelConfig Path='/om1'/><Debugging Active='1'>text<App RootPath='/n'/><ManagedApp RootPath='/m'/>"
         "<Other RootPath='/o'/><AppConnectorHost RootPath='/c' DisableStartup='1'/></Debugging></ZelAppHostConfig>" +
             Wrap("<ObjectModelConfig Path='/om2'/><ObjectModelConfig/>"),
         "01101 /n /m - /c /om2"}}},
      {"only a first ResponseDps counts",
       {{Wrap("<OmbConfig><Other/><ResponseDps><Dp ObjId='1'/></ResponseDps></OmbConfig><OmbConfig>t<ResponseDps>"
              "<Dp ObjId='2'/><X ObjId='9'/><Dp/><Dp ObjId='3'/></ResponseDps><ResponseDps><Dp ObjId='4'/>"
              "</ResponseDps></OmbConfig>"),
         "00000 - - - - - 2 3"}}},
  };
  for (const auto& [label, loads] : cases) {
    AppHostConfiguration config;
    for (const auto& [text, state] : loads) {
      EXPECT_TRUE(Load(config, text)) << label;
      EXPECT_EQ(State(config), state) << label;
    }
  }
}

// ObjId reads as std::stoul does where unsigned long has 32 bits.
TEST(AppHostConfig, ObjIdConvertsLikeStoulOnThirtyTwoBits) {
  const std::pair<const char*, const char*> cases[] = {
      {"007", "7"}, {" \t\n+42", "42"}, {"7abc", "7"}, {"0x10", "0"}, {"4294967295", "4294967295"}, {"-0", "0"}, {"-1", "4294967295"}, {"-4294967295", "1"}, {"", "invalid stoul"}, {"abc", "invalid stoul"}, {"- 1", "invalid stoul"}, {"--1", "invalid stoul"}, {"4294967296", "range stoul"}, {"-4294967296", "range stoul"}, {"99999999999999999999999", "range stoul"}};
  for (const auto& [objId, expected] : cases) {
    AppHostConfiguration config;
    std::string result;
    try {
      Load(config, Wrap(std::string("<OmbConfig><ResponseDps><Dp ObjId='") + objId + "'/></ResponseDps></OmbConfig>"));
      result = std::to_string(config.GetResponseDataPoints().at(0));
    } catch (const std::logic_error& e) {
      result = (dynamic_cast<const std::out_of_range*>(&e) ? "range " : "invalid ") + std::string(e.what());
    }
    EXPECT_EQ(result, expected) << '"' << objId << '"';
  }
}

TEST(AppHostConfig, BadObjIdPropagatesAndKeepsWhatWasApplied) {
  AppHostConfiguration config;
  Tests::LogCapture log;
  const std::string xml = Wrap(
      "<Debugging Active='1'><AppHost DisableStartup='1'/></Debugging><OmbConfig>"
      "<ResponseDps><Dp ObjId='5'/><Dp ObjId='x'/></ResponseDps></OmbConfig>"
      "<ObjectModelConfig Path='/late'/>");
  EXPECT_THROW(config.LoadConfigurationFile(WriteFile(xml)), std::invalid_argument);
  EXPECT_TRUE(log.Empty());
  EXPECT_EQ(State(config), "00110 - - - - - 5");  // the connector rule runs only after a complete load
}

TEST(AppHostConfig, FileFailuresAreLoggedAndKeepEarlierValues) {
  AppHostConfiguration config;
  config.LoadConfigurationFile(WriteFile(kExample));
  Tests::LogCapture log;
  for (const char* bad : {"ZelAppHostConfig", "<ZelAppHostConfig WithoutKNX='0'>", "<ZelAppHostConfig WithoutKNX=0/>"})
    config.LoadConfigurationFile(WriteFile(bad, "bad.xml"));
  config.LoadConfigurationFile(TempPath("missing \"a&b\".xml"));
  const std::string zeroByte = "<ZelAppHostConfig TerminateOnFirmwareUpdate='1'/>";
  config.LoadConfigurationFile(WriteFile(zeroByte + '\0' + '<'));  // the parser stops at the zero byte
  const Tests::ExpectedEntry fallBack = Error("Falling back to standard configuration.");
  std::vector<Tests::ExpectedEntry> expected = {
      Error("Failed to read configuration file: expected <"), fallBack,
      Error("Failed to read configuration file: unexpected end of data"), fallBack,
      Error("Failed to read configuration file: expected ' or \""), fallBack,
      Error("App host config file cannot be read from: \"" + TempPath("missing &\"a&&b&\".xml") + "\"")};
  if (!std::ifstream(kAppHostConfigFilePath)) {  // the fixed path, where no device file is installed
    config.LoadConfigurationFile();
    expected.push_back(
        Error("App host config file cannot be read from: \"/opt/userdata/etc/zelapphost/zelapphostconfig.xml\""));
  }
  EXPECT_TRUE(log.Equals(expected));
  EXPECT_EQ(State(config), "11111 - - /x - - 17 42");
}

TEST(AppHostConfig, LoadFileReturnsTheExactBytes) {
  const std::string bytes("a\0\r\n", 4);
  EXPECT_EQ(LoadFile(WriteFile(bytes)).value_or(std::vector<char>()), std::vector<char>(bytes.begin(), bytes.end()));
}

// `depth` elements nested in each other, the root first, around `inner`.
std::string Nested(int depth, const std::string& inner = "") {
  std::string text = "<ZelAppHostConfig WithoutKNX='1'>";
  for (int level = 2; level <= depth; ++level)
    text += "<a>";
  text += inner;
  for (int level = 2; level <= depth; ++level)
    text += "</a>";
  return text + "</ZelAppHostConfig>";
}

// The parser descends one call level per element; nesting beyond 256
// levels is refused before it sees the text, like a parse error. Markup
// that the parser reads as text does not count.
TEST(AppHostConfig, NestingIsBoundedBeforeTheParserSeesIt) {
  const std::string repeated = [] {
    std::string text;
    for (int i = 0; i < 1000; ++i)
      text += "<a>";
    return text;
  }();
  const Tests::ExpectedEntry deep = Error("Failed to read configuration file: elements nested deeper than 256");
  const std::pair<const char*, std::string> accepted[] = {
      {"256 levels", Nested(256)},
      {"256 levels, the last empty", Nested(255, "<b/>")},
      {"1000 siblings", Nested(2, [] {
         std::string text;
         for (int i = 0; i < 1000; ++i)
           text += "<b/><c></c>";
         return text;
       }())},
      {"comment", Nested(2, "<!--" + repeated + "-->")},
      {"CDATA", Nested(2, "<![CDATA[" + repeated + "]]>")},
      {"processing instruction", "<?pi " + repeated + "?>" + Nested(2)},
      {"attribute values", Nested(2, "<b x='" + repeated + "' y=\"" + repeated + "\"/>")},
      {"DOCTYPE", "<!DOCTYPE d ] [" + repeated + "[<!-- ]]>" + Nested(2)},
      {"unknown declaration", Nested(2, "<!x " + repeated.substr(0, 3) + ">")},
  };
  for (const auto& [label, text] : accepted) {
    AppHostConfiguration config;
    Tests::LogCapture log;
    EXPECT_TRUE(Load(config, text)) << label;
    EXPECT_TRUE(log.Empty()) << label;
    EXPECT_TRUE(config.IsAppHostWithoutKNX()) << label;
  }
  const std::pair<const char*, std::string> refused[] = {
      {"257 levels", Nested(257)},
      {"257 levels, the last empty", Nested(256, "<b/>")},
      {"257 levels, not closed", Nested(257).substr(0, Nested(257).find("</a>"))},
      {"a comment does not hide what follows it", Nested(256, "<!-- -->" + repeated)},
      {"100000 levels", Nested(100000)},  // overflowed the stack before the bound
  };
  for (const auto& [label, text] : refused) {
    AppHostConfiguration config;
    Tests::LogCapture log;
    EXPECT_FALSE(Load(config, text)) << label;
    EXPECT_TRUE(log.Equals({deep})) << label;
    EXPECT_EQ(State(config), "00000 - - - - -") << label;
  }
  AppHostConfiguration config;
  Tests::LogCapture log;
  config.LoadConfigurationFile(WriteFile(Nested(100000)));  // 700 KB
  EXPECT_TRUE(log.Equals({deep, Error("Falling back to standard configuration.")}));
}

// Runs `load`; a load that has not returned after 20 s would block the app
// host's start for ever (or read without end), so the test ends there.
void Bounded(const std::string& label, const std::function<void()>& load) {
  std::packaged_task<void()> task(load);
  std::future<void> done = task.get_future();
  std::thread(std::move(task)).detach();
  if (done.wait_for(20s) != std::future_status::ready) {
    std::cerr << label << ": the load has not returned after 20 s" << std::endl;
    std::abort();
  }
  done.get();
}

// Whatever lies at the path, the load ends in the can-not-be-read failure,
// quickly and without reading more than 1 MiB, and changes nothing.
TEST(AppHostConfig, FilesThatAreNotSmallRegularFilesCannotBeRead) {
  const std::string fifo = TempPath(".fifo");
  ::unlink(fifo.c_str());
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string endless = TempPath(".endless");  // a FIFO with a writer that never stops
  ::unlink(endless.c_str());
  ASSERT_EQ(::mkfifo(endless.c_str(), 0600), 0);
  struct Writer {
    std::atomic<bool> stop{false};
    std::thread thread;
    ~Writer() {
      stop.store(true);
      thread.join();
    }
  } writer;
  writer.thread = std::thread([&, &stop = writer.stop] {
    const int fd = ::open(endless.c_str(), O_RDWR | O_NONBLOCK);  // does not wait for a reader
    const std::string chunk(4096, ' ');
    while (!stop.load()) {
      if (::write(fd, chunk.data(), chunk.size()) < 0)
        std::this_thread::sleep_for(1ms);  // full
    }
    ::close(fd);
  });
  const std::string sparse = TempPath(".sparse");
  {
    std::ofstream(sparse, std::ios::binary) << "<ZelAppHostConfig WithoutKNX='1'/>";
  }
  // 3 GiB (the largest size where off_t has 32 bits), taking almost no disk.
  const off_t huge = sizeof(off_t) >= 8 ? static_cast<off_t>(3LL << 30) : std::numeric_limits<off_t>::max();
  ASSERT_EQ(::truncate(sparse.c_str(), huge), 0);
  const std::string unreadable = WriteFile("<ZelAppHostConfig WithoutKNX='1'/>", ".unreadable");
  ::chmod(unreadable.c_str(), 0);

  std::vector<std::string> paths = {::testing::TempDir(), fifo, endless, "/dev/zero", sparse,
                                    WriteFile(std::string(1024 * 1024 + 1, ' '), ".big")};
  if (::geteuid() != 0)
    paths.push_back(unreadable);  // root reads it anyway
  for (const std::string& path : paths) {
    AppHostConfiguration config;
    Tests::LogCapture log;
    Bounded(path, [&] { config.LoadConfigurationFile(path); });
    EXPECT_TRUE(log.Equals({Error("App host config file cannot be read from: \"" + path + "\"")})) << path;
    EXPECT_EQ(State(config), "00000 - - - - -") << path;
    EXPECT_FALSE(LoadFile(path)) << path;
  }

  // At the bound it is read.
  const std::string padded = "<ZelAppHostConfig WithoutKNX='1'/>";
  AppHostConfiguration config;
  config.LoadConfigurationFile(WriteFile(padded + std::string(1024 * 1024 - padded.size(), ' '), ".max"));
  EXPECT_TRUE(config.IsAppHostWithoutKNX());
}

TEST(AppHostConfig, FlagSettersAndTheirIntendedAsymmetry) {
  AppHostConfiguration config;
  static_assert(std::is_void_v<decltype(config.SetAppHostStartupDisabled(true))>);
  EXPECT_FALSE(config.SetAppConnectorHostStartupDisabled(true));
  EXPECT_TRUE(config.SetAppConnectorHostStartupDisabled(false));
  EXPECT_FALSE(config.ReplaceAppDebugMode(true));
  EXPECT_TRUE(config.ReplaceAppDebugMode(false));
}

}  // namespace
}  // namespace Zel
