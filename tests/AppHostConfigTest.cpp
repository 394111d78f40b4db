// AppHostConfiguration: the loader's rules over real XML texts and files.
#include "LogCapture.h"

#include "Zel/AppHostConfig.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <type_traits>

namespace Zel {
namespace {

using Tests::Error;

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
  s << c.IsAppHostWithoutKNX() << c.IsAppHostTerminateOnFirmwareUpdate() << c.IsInAppDebugMode() << c.IsAppHostStartupDisabled() << c.IsAppConnectorHostStartupDisabled();
  for (const auto* path : {&c.GetRootPathNativeApp(), &c.GetRootPathManagedApp(), &c.GetRootPathAppHost(), &c.GetRootPathAppConnectorHost(), &c.GetPathObjectModelConfig()})
    s << ' ' << (*path ? (*path)->string() : "-");
  for (const unsigned long dp : c.GetResponseDataPoints())
    s << ' ' << dp;
  return s.str();
}

TEST(AppHostConfig, LoadsAppliedInOrder) {
  // Each case loads its texts in turn into one configuration; the state after each load.
  const std::pair<const char*, std::vector<std::pair<std::string, const char*>>> cases[] = {
      {"byte order mark; the example loaded twice appends the points", {{"\xEF\xBB\xBF<ZelAppHostConfig WithoutKNX='1'/>", "10000 - - - - -"}, {kExample, "10111 - - /x - - 17 42"}, {kExample, "10111 - - /x - - 17 42 17 42"}}},
      // Intended: anything but exactly "0" is true, also false, no and the empty text.
      {"debugging children need debug mode; only exactly 0 is false", {{Wrap("<Debugging><App RootPath='/n'/><AppHost DisableStartup='1'/></Debugging>"), "00000 - - - - -"}, {"<ZelAppHostConfig WithoutKNX='' TerminateOnFirmwareUpdate='no'><Debugging Active='false'><AppConnectorHost DisableStartup=' 0'/></Debugging></ZelAppHostConfig>", "11101 - - - - -"}, {"<ZelAppHostConfig WithoutKNX='0' TerminateOnFirmwareUpdate='0'><Debugging><AppHost DisableStartup='0'/><AppConnectorHost DisableStartup='0'/></Debugging><Debugging Active='0'/></ZelAppHostConfig>", "00000 - - - - -"}}},
      {"every element, several roots", {{"<?xml version='1.0'?><Other WithoutKNX='1'/><ZelAppHostConfig TerminateOnFirmwareUpdate='1'><ObjectModelConfig Path='/om1'/><Debugging Active='1'>text<App RootPath='/n'/><ManagedApp RootPath='/m'/><Other RootPath='/o'/><AppConnectorHost RootPath='/c' DisableStartup='1'/></Debugging></ZelAppHostConfig>" + Wrap("<ObjectModelConfig Path='/om2'/><ObjectModelConfig/>"), "01101 /n /m - /c /om2"}}},
      {"only a first ResponseDps counts", {{Wrap("<OmbConfig><Other/><ResponseDps><Dp ObjId='1'/></ResponseDps></OmbConfig><OmbConfig>t<ResponseDps><Dp ObjId='2'/><X ObjId='9'/><Dp/><Dp ObjId='3'/></ResponseDps><ResponseDps><Dp ObjId='4'/></ResponseDps></OmbConfig>"), "00000 - - - - - 2 3"}}},
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
  const std::string xml = "<Debugging Active='1'><AppHost DisableStartup='1'/></Debugging><OmbConfig><ResponseDps><Dp ObjId='5'/><Dp ObjId='x'/></ResponseDps></OmbConfig><ObjectModelConfig Path='/late'/>";
  EXPECT_THROW(config.LoadConfigurationFile(WriteFile(Wrap(xml))), std::invalid_argument);
  EXPECT_TRUE(log.Empty());
  EXPECT_EQ(State(config), "00110 - - - - - 5");  // the connector rule runs only after a complete load
}

std::string Repeat(const std::string& text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i)
    result += text;
  return result;
}

// `depth` elements nested in each other, the root first, around `inner`.
std::string Nested(int depth, const std::string& inner = "") {
  return "<ZelAppHostConfig WithoutKNX='1'>" + Repeat("<a>", depth - 1) + inner + Repeat("</a>", depth - 1) + "</ZelAppHostConfig>";
}

TEST(AppHostConfig, FileFailuresAreLoggedAndKeepEarlierValues) {
  AppHostConfiguration config;
  config.LoadConfigurationFile(WriteFile(kExample));
  Tests::LogCapture log;
  for (const std::string& bad : {std::string("ZelAppHostConfig"), std::string("<ZelAppHostConfig WithoutKNX='0'>"), std::string("<ZelAppHostConfig WithoutKNX=0/>"), std::string("<ZelAppHostConfig WithoutKNX='1'?>"), Nested(100000)})  // the last 700 KB
    config.LoadConfigurationFile(WriteFile(bad, "bad.xml"));
  config.LoadConfigurationFile(TempPath("missing \"a&b\".xml"));
  config.LoadConfigurationFile("/proc/self/status");                                                                       // its size says 0: read to its end all the same
  config.LoadConfigurationFile(WriteFile(std::string("<ZelAppHostConfig TerminateOnFirmwareUpdate='1'/>") + '\0' + '<'));  // the parser stops at the zero byte
  const Tests::ExpectedEntry fallBack = Error("Falling back to standard configuration.");
  std::vector<Tests::ExpectedEntry> expected = {Error("Failed to read configuration file: expected <"), fallBack, Error("Failed to read configuration file: unexpected end of data"), fallBack, Error("Failed to read configuration file: expected ' or \""), fallBack, Error("Failed to read configuration file: expected >"), fallBack, Error("Failed to read configuration file: elements nested deeper than 256"), fallBack, Error("App host config file cannot be read from: \"" + TempPath("missing &\"a&&b&\".xml") + "\""), Error("Failed to read configuration file: expected <"), fallBack};
  if (!std::ifstream(kAppHostConfigFilePath)) {  // the fixed path, where no device file is installed
    config.LoadConfigurationFile();
    expected.push_back(Error("App host config file cannot be read from: \"/opt/userdata/etc/zelapphost/zelapphostconfig.xml\""));
  }
  EXPECT_TRUE(log.Equals(expected));
  EXPECT_EQ(State(config), "11111 - - /x - - 17 42");
}

// The parser descends one call level per element; nesting beyond 256
// levels is refused before it sees the text, like a parse error. Markup
// that the parser reads as text does not count.
TEST(AppHostConfig, NestingIsBoundedBeforeTheParserSeesIt) {
  const std::string repeated = Repeat("<a>", 1000);
  const std::string deep = "elements nested deeper than 256";
  // Each text with the parser's or the bound's refusal; "" when accepted.
  const std::tuple<const char*, std::string, std::string> cases[] = {
      {"256 levels", Nested(256), ""},
      {"256 levels, the last empty", Nested(255, "<b/>"), ""},
      {"1000 siblings", Nested(2, Repeat("<b/><c></c>", 1000)), ""},
      {"comment", Nested(2, "<!--" + repeated + "-->"), ""},
      {"CDATA", Nested(2, "<![CDATA[" + repeated + "]]>"), ""},
      {"two CDATA sections", Nested(2, "<![CDATA[x]]><![CDATA[" + repeated + "]]>"), ""},
      {"processing instruction", "<?pi " + repeated + "?>" + Nested(2), ""},
      {"processing instruction without a target", "<?>" + repeated + "?>" + Nested(2), ""},
      {"attribute values", Nested(2, "<b x='" + repeated + "' y=\"" + repeated + "\"/>"), ""},
      {"DOCTYPE", "<!DOCTYPE d ] [" + repeated + "[<!-- ]]>" + Nested(2), ""},
      {"DOCTYPE ending in <>", "<!DOCTYPE x<>" + Nested(256), ""},
      {"DOCTYPE, its brackets first", "<!DOCTYPE [" + repeated + "]>" + Nested(2), ""},
      {"unknown declaration", Nested(2, "<!x <a>>"), ""},
      {"257 levels", Nested(257), deep},
      {"257 levels, the last empty", Nested(256, "<b/>"), deep},
      {"257 levels, attribute values holding />", "<ZelAppHostConfig WithoutKNX='1'>" + Repeat("<a x='/>'>", 128) + Repeat("<a\nx='/>'>", 128) + Repeat("</a>", 256) + "</ZelAppHostConfig>", deep},
      {"257 levels after a DOCTYPE with markup in its brackets", "<?xml version='1.0'?><!DOCTYPE d [<!ELEMENT a ANY>]>" + Nested(257), deep},
      {"257 levels, not closed", Nested(257).substr(0, Nested(257).find("</a>")), deep},
      {"a comment does not hide what follows it", Nested(256, "<!-- -->" + repeated), deep},
      {"100000 levels", Nested(100000), deep},  // overflowed the stack before the bound
      {"257 levels after an empty element", "<x/>" + Nested(257), deep},
      {"257 levels after an empty comment", "<!---->" + Nested(257), deep},
      {"257 levels, a declaration that starts like a comment", Nested(256, "<!-x><b/>"), deep},
      {"a broken tag stops the scan where the parser fails", "<x?>" + Nested(257), "expected >"},
      // The parser refuses an end tag outside any element; nothing before it is deeper.
      {"end tag outside, then 256 levels", "</x>" + Nested(256), "expected element name"},
      {"end tag outside, then 257 levels", "</x>" + Nested(257), deep},
  };
  for (const auto& [label, text, refusal] : cases) {
    AppHostConfiguration config;
    Tests::LogCapture log;
    EXPECT_EQ(Load(config, text), refusal.empty()) << label;
    EXPECT_TRUE(refusal.empty() ? log.Empty() : log.Equals({Error("Failed to read configuration file: " + refusal)})) << label;
    EXPECT_EQ(State(config), refusal.empty() ? "10000 - - - - -" : "00000 - - - - -") << label;
  }
}

TEST(AppHostConfig, FlagSettersAndTheirIntendedAsymmetry) {
  AppHostConfiguration config;
  static_assert(std::is_void_v<decltype(config.SetAppHostStartupDisabled(true))>);  // only the connector host's reports the old value
  config.SetAppHostStartupDisabled(true);
  EXPECT_TRUE(config.IsAppHostStartupDisabled());
  EXPECT_FALSE(config.SetAppConnectorHostStartupDisabled(true));
  EXPECT_TRUE(config.SetAppConnectorHostStartupDisabled(false));
  EXPECT_FALSE(config.ReplaceAppDebugMode(true));
  EXPECT_TRUE(config.ReplaceAppDebugMode(false));
  config.SetAppDebugMode(true);
  EXPECT_TRUE(config.IsInAppDebugMode());
}

}  // namespace
}  // namespace Zel
