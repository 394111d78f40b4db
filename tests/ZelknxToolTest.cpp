// zelknx run as a process: encode/decode round trips on both conversion
// paths, --json parsed back, exit codes, usage errors and refusals, the
// command line, DPT names and units, ETS group address lists and batch
// decoding of knxd's logs.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;

struct Result {
  int status;
  std::string out;
};

// Runs zelknx with `args` (shell words), stdout captured, stderr dropped
// unless `withStderr`. In a cross build it runs under the build's emulator,
// started afresh: the variables by which the emulator script recognises a
// re-execution of the test program itself are dropped.
Result Zelknx(const std::string& args, bool withStderr = false) {
  const std::string command = std::string("env -u ZEL_ARMHF_PROGRAM -u ZEL_ARMHF_SYSROOT ") +
                              ZELKNX_EMULATOR + " '" + ZELKNX_PATH + "' " + args +
                              (withStderr ? " 2>&1" : " 2>/dev/null");
  FILE* pipe = popen(command.c_str(), "r");
  std::string out;
  std::array<char, 512> buffer;
  while (std::fgets(buffer.data(), buffer.size(), pipe) != nullptr)
    out += buffer.data();
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

Json JsonOf(const std::string& args) {
  const Result run = Zelknx(args + " --json");
  return Json::parse(run.out);
}

// Every line of `text` parsed as JSON.
std::vector<Json> JsonLines(const std::string& text) {
  std::vector<Json> lines;
  for (std::size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
    lines.push_back(Json::parse(text.substr(start, end - start)));
  }
  return lines;
}

// A folder of its own for files the tool reads; removed with the test.
class ZelknxFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/zelknx-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    m_dir = pattern;
  }
  void TearDown() override { std::system(("rm -rf '" + m_dir + "'").c_str()); }

  std::string Write(const std::string& name, const std::string& content) {
    const std::string path = m_dir + "/" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }

 private:
  std::string m_dir;
};

struct RoundTrip {
  const char* dpt;
  const char* value;
  const char* hex;  // the KNX encoding
  unsigned bits;
  const char* unit;  // the standard's, printed after the value
};

// Encoding gives the standard's octets; decoding them gives the value back
// (in its printed form, which is the input form here) with the DPT's unit.
TEST(ZelknxTool, EncodeDecodeRoundTripsOnBothPaths) {
  const std::vector<RoundTrip> cases = {
      {"9.001", "21.5", "0c33", 16, " °C"},
      {"1.001", "true", "01", 1, ""},
      {"5.001", "128", "80", 8, ""},
      {"7.001", "65535", "ffff", 16, " pulses"},
      {"8.001", "-2", "fffe", 16, " pulses"},
      {"13.001", "-1", "ffffffff", 32, " pulses"},
      {"14.000", "1.5", "3fc00000", 32, " m/s²"},
      {"232.600", "1193046", "123456", 24, ""},
      {"11.001", "2024-03-15", "0f0318", 24, ""},
      {"10.001", "Mon 08:30:00", "281e00", 24, ""},
      {"16.000", "KNX is OK", "4b4e58206973204f4b0000000000", 112, ""},
      {"19.001", "2024-03-15 08:30:00", "7c030fa81e002000", 64, ""},
  };
  for (const RoundTrip& c : cases) {
    SCOPED_TRACE(c.dpt);
    const Json encoded = JsonOf(std::string("encode ") + c.dpt + " '" + c.value + "'");
    EXPECT_EQ(encoded, (Json{{"dpt", c.dpt}, {"bits", c.bits}, {"hex", c.hex}}));
    const Result decoded = Zelknx(std::string("decode ") + c.dpt + " " + c.hex);
    EXPECT_EQ(decoded.status, 0);
    EXPECT_EQ(decoded.out, std::string(c.value) + c.unit + "\n");
  }
  EXPECT_EQ(JsonOf("encode --table 9.001 21.5")["hex"], "0c33");
  EXPECT_EQ(JsonOf("decode --table 9.001 '0c 33'"), (Json{{"dpt", "9.001"},
                                                          {"type", "ivtFloat"},
                                                          {"value", 21.5},
                                                          {"name", "DPT_Value_Temp"},
                                                          {"unit", "°C"}}));
  EXPECT_EQ(JsonOf("decode --code 589825 0c33")["value"], 21.5);
}

TEST(ZelknxTool, TextForms) {
  EXPECT_EQ(Zelknx("encode 9.001 21.5").out, "0c 33 (16 bits)\n");
  EXPECT_EQ(JsonOf("encode 6.010 -5")["hex"], "fb");
  EXPECT_EQ(JsonOf("encode 5.001 0x2a")["hex"], "2a");
  // One octet of a small DPT is the 6-bit short form; --bits overrides.
  EXPECT_EQ(JsonOf("decode 1.001 01")["value"], true);
  EXPECT_EQ(JsonOf("decode --bits 8 5.001 ff")["value"], 255);
  // The table path reads the invalid-data word as no value.
  EXPECT_EQ(JsonOf("decode --table 9.001 7fff"), (Json{{"dpt", "9.001"},
                                                       {"type", "ivtNone"},
                                                       {"value", nullptr},
                                                       {"name", "DPT_Value_Temp"},
                                                       {"unit", "°C"}}));
}

struct Failure {
  const char* label;
  const char* args;
  int status;
  const char* error;  // start of the {"error": ...} text
};

TEST(ZelknxTool, RefusalsAndUsageErrors) {
  const std::vector<Failure> cases = {
      {"bad DPT", "encode 9.x 1", 2, "bad DPT '9.x'"},
      {"bad hex", "decode 9.001 0g33", 2, "bad hex string"},
      {"odd hex", "decode 9.001 0c3", 2, "odd number of hex digits"},
      {"not a value of the type", "encode 9.001 warm", 2, "'warm' is not a value of type ivtFloat"},
      {"byte out of range", "encode 5.001 256", 2, "'256' is not a value of type ivtByte"},
      {"unknown option", "encode --fast 9.001 1", 2, "unknown option --fast"},
      {"unknown command", "frobnicate", 2, "unknown command 'frobnicate'"},
      {"impossible date", "encode 11.001 2023-02-29", 1, "Not a valid date: 2023 2 29"},
      {"unsupported DPT", "encode 24.001 text", 1, "Value type 24 not supported"},
      {"no value for a DPT without a value type", "encode 4.001 -", 1,
       "Value type mismatch: Expected 'Empty', got 'ivtNone'"},
      {"scene above 63", "encode 17.001 64", 1, "DPT 17.001 refused the value without an error entry"},
      {"no table row", "dpt 99", 1, "No Entry found for DPT = 99.0"},
      {"CO out of range", "id co 4096", 1, "CO 4096 has no object-model id"},
      {"missing config file", "config /nonexistent/zel.xml", 1,
       "App host config file cannot be read from: \"/nonexistent/zel.xml\""},
  };
  for (const Failure& c : cases) {
    SCOPED_TRACE(c.label);
    const Result run = Zelknx(std::string(c.args) + " --json");
    EXPECT_EQ(run.status, c.status);
    const std::string error = Json::parse(run.out).at("error");
    EXPECT_EQ(error.rfind(c.error, 0), 0u) << error;
  }
}

// Out-of-range 16-bit integers are logged and still sent, saturated.
TEST(ZelknxTool, SaturatedValueIsSentWithTheLibrarysLogLine) {
  const Result run = Zelknx("encode 8.001 -40000", true);
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("Value out of range: -40000 (DPT 8)"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("80 00 (16 bits)"), std::string::npos) << run.out;
}

TEST(ZelknxTool, HelpOnEveryCommand) {
  for (const char* command : {"", "encode", "decode", "dpt", "id", "config"
#ifdef ZELKNX_WITH_MONITOR
                              ,
                              "monitor"
#endif
       }) {
    SCOPED_TRACE(command);
    const Result run = Zelknx(std::string(command) + " --help");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("usage: zelknx"), std::string::npos);
  }
}

TEST(ZelknxTool, DptTableIdsAndConfig) {
  const Result table = Zelknx("dpt --json");
  std::vector<Json> rows;
  for (std::size_t start = 0, end; (end = table.out.find('\n', start)) != std::string::npos; start = end + 1) {
    rows.push_back(Json::parse(table.out.substr(start, end - start)));
  }
  EXPECT_EQ(rows.size(), 53u);
  const Json row = JsonOf("dpt 9.001");
  EXPECT_EQ(row["bits"], 16);
  EXPECT_EQ(row["type"], "ivtFloat");
  EXPECT_EQ(row["converter"], "KnxConverterFloat16BitFloat");
  EXPECT_EQ(row["omType"], "ivtFloat");

  EXPECT_EQ(JsonOf("id co 1"), (Json{{"co", 1}, {"ld", 1}, {"channel", 100100}, {"value", 100101}}));
  EXPECT_EQ(JsonOf("id param number 5 2")["channel"], 270010);
  const Json what = JsonOf("id 100101");
  EXPECT_EQ(what["kind"], "CO value");
  EXPECT_EQ(what["co"], 1);

  const Json config = JsonOf(std::string("config '") + ZELKNX_EXAMPLE_CONFIG + "'");
  EXPECT_EQ(config["TerminateOnFirmwareUpdate"], true);
  EXPECT_EQ(config["ResponseDps"], (Json{100101, 100103}));
  EXPECT_EQ(config["AppRootPath"], nullptr);
}

// Integers go to the library as far as the value type holds them on the
// device, so that its range handling is what the tool shows; "-" is the
// no-value of decoding, so that the two directions invert each other.
TEST(ZelknxTool, ValuesReachTheLibraryAsTheDeviceHoldsThem) {
  const Result clamped = Zelknx("encode 7.001 70000", true);
  EXPECT_EQ(clamped.status, 0);
  EXPECT_NE(clamped.out.find("ERROR TavValueToGroupValue [ZelObjectModel/GroupValueTavValue:"), std::string::npos)
      << clamped.out;
  EXPECT_NE(clamped.out.find("- Value out of range: 70000 (DPT 7)\n"), std::string::npos) << clamped.out;
  EXPECT_NE(clamped.out.find("ff ff (16 bits)\n"), std::string::npos) << clamped.out;
  EXPECT_EQ(JsonOf("encode 7.001 4294967295")["hex"], "ffff");
  EXPECT_EQ(Zelknx("encode 7.001 4294967296 --json").status, 2);

  EXPECT_EQ(JsonOf("decode --table 9.001 7fff")["value"], nullptr);
  EXPECT_EQ(JsonOf("encode --table 9.001 -"), (Json{{"dpt", "9.001"}, {"bits", 16}, {"hex", "7fff"}}));
}

// Text that is not UTF-8, wherever it comes from, is written with U+FFFD:
// JSON output never aborts, and the exit status is the command's.
TEST_F(ZelknxFiles, JsonOutputOfTextThatIsNotUtf8) {
  const std::string config =
      Write("latin1.xml",
            "<ZelAppHostConfig><ObjectModelConfig Path=\"/opt/K\xFC"
            "che.json\"/></ZelAppHostConfig>");
  const std::string csv = Write("latin1.csv",
                                "Group name;Address;DatapointType\nK\xFC"
                                "che;1/2/3;DPST-9-1\n");
  const std::string log = Write("log.txt", "Write from 1.1.5 to 1/2/3: 0C 33\n");
  struct Case {
    std::string args;
    int status;
    const char* key;
    const char* text;
  };
  const std::vector<Case> cases = {
      {"encode '\xFF' 1", 2, "error", "bad DPT '\xEF\xBF\xBD' (write"},
      {"'\xFF'", 2, "error", "unknown command '\xEF\xBF\xBD'"},
      {"encode 9.001 '\xFF'", 2, "error", "'\xEF\xBF\xBD' is not a value of type ivtFloat"},
      {"config '/nonexistent/\xFF.xml'", 1, "error",
       "App host config file cannot be read from: \"/nonexistent/\xEF\xBF\xBD.xml\""},
      {"config '" + config + "'", 0, "ObjectModelConfigPath",
       "/opt/K\xEF\xBF\xBD"
       "che.json"},
      {"decode --ga-csv '" + csv + "' - < '" + log + "'", 0, "group",
       "K\xEF\xBF\xBD"
       "che"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args);
    const Result run = Zelknx("--json " + c.args);
    EXPECT_EQ(run.status, c.status);
    const Json json = Json::parse(run.out);
    const std::string text = json.at(c.key);
    EXPECT_EQ(text.substr(0, std::string(c.text).size()), c.text);
  }
}

TEST(ZelknxTool, OptionsBeforeOrAfterTheCommand) {
  const Json expected = {{"dpt", "9.001"}, {"type", "ivtFloat"}, {"value", 21.5}, {"name", "DPT_Value_Temp"}, {"unit", "°C"}};
  EXPECT_EQ(Json::parse(Zelknx("--json decode 9.001 0c33").out), expected);
  EXPECT_EQ(Json::parse(Zelknx("decode --json 9.001 0c33").out), expected);
  EXPECT_EQ(Json::parse(Zelknx("--code decode 589825 0c33 --json").out), expected);
  EXPECT_EQ(Zelknx("--version").out, std::string("zelknx ") + ZELKNX_VERSION + "\n");
  // -- ends the options: a value that looks like one follows it.
  EXPECT_EQ(Json::parse(Zelknx("--json encode 16.000 -- --x").out)["hex"], "2d2d780000000000000000000000");
  const Result infinite = Zelknx("--json encode 9.001 -- -inf");
  EXPECT_EQ(infinite.status, 1);  // DPT 9 refuses infinities, silently
  EXPECT_EQ(Zelknx("--json encode 9.001 -inf").status, 2);
  EXPECT_EQ(JsonOf("--table --bits 8 decode 5.001 ff")["value"], 255);
  EXPECT_EQ(Zelknx("--json encode --bits 8 9.001 1").status, 2);  // --bits is decode's
  EXPECT_EQ(Zelknx("--json --bits 8 encode 9.001 1").out, "{\"error\":\"unknown option --bits for encode\"}\n");
}

TEST(ZelknxTool, DptSpellingsNamesAndUnits) {
  for (const char* dpt : {"9.001", "9.1", "DPST-9-1", "DPT_Value_Temp", "dpt_value_temp"}) {
    SCOPED_TRACE(dpt);
    EXPECT_EQ(Zelknx(std::string("decode ") + dpt + " 0c33").out, "21.5 °C\n");
  }
  EXPECT_EQ(Zelknx("decode DPST-9-4 0c33").out, "21.5 lux\n");
  EXPECT_EQ(Zelknx("decode DPT-9 0c33").out, "21.5\n");  // the main type has no unit
  EXPECT_EQ(JsonOf("decode DPT_Value_Power 42c80000")["unit"], "W");
  EXPECT_EQ(Zelknx("decode 5.001 80").out, "128\n");  // the encoded number, so no %
  const Json row = JsonOf("dpt DPT_Value_Temp");
  EXPECT_EQ(row["dpt"], "9.001");
  EXPECT_EQ(row["name"], "DPT_Value_Temp");
  EXPECT_EQ(row["unit"], "°C");
  const Json scaling = JsonOf("dpt 5.001");
  EXPECT_EQ(scaling["unit"], "%");
  EXPECT_EQ(scaling["encoded"], "0..255 for 0..100 %");
  EXPECT_EQ(JsonOf("dpt 9")["name"], "2-octet float value");
  const Result bad = Zelknx("decode DPT_Warm 0c33 --json");
  EXPECT_EQ(bad.status, 2);
  EXPECT_EQ(Json::parse(bad.out)["error"].get<std::string>().rfind("bad DPT 'DPT_Warm'", 0), 0u);
}

const char kGroupAddresses[] =
    "\xEF\xBB\xBF\"Group name\";\"Address\";\"Central\";\"Unfiltered\";\"Description\";\"DatapointType\";"
    "\"Security\"\r\n"
    "\"Erdgeschoss\";\"1/-/-\";\"\";\"\";\"\";\"\";\"Auto\"\r\n"
    "\"Küche\";\"1/2/-\";\"\";\"\";\"\";\"\";\"Auto\"\r\n"
    "\"Temperatur Küche\";\"1/2/3\";\"\";\"\";\"\";\"DPST-9-1\";\"Auto\"\r\n"
    "\"Licht Küche\";\"1/2/4\";\"\";\"\";\"\";\"DPST-1-1\";\"Auto\"\r\n"
    "\"Leistung Herd\";\"1/2/5\";\"\";\"\";\"\";\"DPST-14-56\";\"Auto\"\r\n"
    "\"Reserve\";\"1/2/6\";\"\";\"\";\"\";\"\";\"Auto\"\r\n";

TEST_F(ZelknxFiles, GroupAddressesStandForTheirDpt) {
  const std::string csv = " --ga-csv '" + Write("ga.csv", kGroupAddresses) + "'";
  EXPECT_EQ(JsonOf("encode 1/2/3 21.5" + csv)["hex"], "0c33");
  EXPECT_EQ(JsonOf("decode 1/2/4 01" + csv)["value"], true);
  EXPECT_EQ(JsonOf("dpt 1/2/5" + csv)["name"], "DPT_Value_Power");
  EXPECT_EQ(JsonOf("decode 9.001 0c33" + csv)["value"], 21.5);  // DPTs still work

  struct Failure {
    std::string args;
    std::string error;
  };
  const std::string bad = Write("bad.csv", "Group name,Address\nA,1/2/3\nB,1/2/x\n");
  const std::vector<Failure> cases = {
      {"decode 1/2/6 0c33" + csv, "group address 1/2/6 has no DPT in "},
      {"decode 1/2/7 0c33" + csv, "group address 1/2/7 is not in "},
      {"decode 1/2/3 0c33 --ga-csv '" + bad + "'", bad + ":3: bad group address '1/2/x'"},
      {"decode 1/2/3 0c33 --ga-csv /nonexistent/ga.csv", "/nonexistent/ga.csv:0: cannot be read"},
      {"decode 1/2/3 0c33", "bad DPT '1/2/3'"},  // without a list
  };
  for (const Failure& c : cases) {
    SCOPED_TRACE(c.args);
    const Result run = Zelknx(c.args + " --json");
    EXPECT_EQ(run.status, 2);
    const std::string error = Json::parse(run.out).at("error");
    EXPECT_EQ(error.substr(0, c.error.size()), c.error);
  }
}

// Every line form in one batch, a bad line and a refused value in the
// middle: one result per line, in order, and exit status 1.
TEST_F(ZelknxFiles, BatchDecodingOfMonitorLogs) {
  const std::string csv = Write("ga.csv", kGroupAddresses);
  const std::string log = Write("log.txt",
                                "Write from 1.1.5 to 1/2/3: 0C 33 \n"
                                "Write from 1.1.6 to 1/2/4: 01\n"
                                "Read from 1.1.7 to 1/2/5\n"
                                "this is not a telegram\n"
                                "\n"
                                "L_Busmon: BC 11 05 0A 05 E5 00 80 42 C8 00 00 5A :L_Data low from 1.1.5 to 1/2/5 "
                                "hops: 06 T_Data_Group A_GroupValue_Response 42 C8 00 00 \n"
                                "L_Busmon: BC 00 04 0A 04 E1 00 81 2E :L_Data low from 0.0.4 to 1/2/4 hops: 06 "
                                "T_Data_Group A_GroupValue_Write (small) 00 \n"
                                "11.001 0f0d18\n"
                                "9.001 0c33\n"
                                "1/2/6 0c33\n"
                                "1/2/3 0c 33\n");
  const Result run = Zelknx("--json decode --ga-csv '" + csv + "' - < '" + log + "'");
  EXPECT_EQ(run.status, 1);
  const std::vector<Json> results = JsonLines(run.out);
  const std::vector<Json> expected = {
      {{"line", 1}, {"src", "1.1.5"}, {"dst", "1/2/3"}, {"group", "Temperatur Küche"}, {"apci", "write"}, {"dpt", "9.001"}, {"type", "ivtFloat"}, {"value", 21.5}, {"name", "DPT_Value_Temp"}, {"unit", "°C"}},
      {{"line", 2}, {"src", "1.1.6"}, {"dst", "1/2/4"}, {"group", "Licht Küche"}, {"apci", "write"}, {"dpt", "1.001"}, {"type", "ivtBool"}, {"value", true}, {"name", "DPT_Switch"}, {"unit", nullptr}},
      {{"line", 3}, {"src", "1.1.7"}, {"dst", "1/2/5"}, {"group", "Leistung Herd"}, {"apci", "read"}, {"dpt", "14.056"}, {"value", nullptr}},
      {{"line", 4}, {"error", "not a DPT, a group address or a line of knxtool: 'this'"}},
      {{"line", 6}, {"src", "1.1.5"}, {"dst", "1/2/5"}, {"group", "Leistung Herd"}, {"apci", "response"}, {"dpt", "14.056"}, {"type", "ivtFloat"}, {"value", 100.0}, {"name", "DPT_Value_Power"}, {"unit", "W"}},
      {{"line", 7}, {"src", "0.0.4"}, {"dst", "1/2/4"}, {"group", "Licht Küche"}, {"apci", "write"}, {"dpt", "1.001"}, {"type", "ivtBool"}, {"value", false}, {"name", "DPT_Switch"}, {"unit", nullptr}},
      {{"line", 8}, {"error", "Received invalid value 0f 0d 18 for DPT 11.1"}},  // month 13
      {{"line", 9}, {"dpt", "9.001"}, {"type", "ivtFloat"}, {"value", 21.5}, {"name", "DPT_Value_Temp"}, {"unit", "°C"}},
      {{"line", 10}, {"error", "no DPT for group address 1/2/6 in " + csv}},
      {{"line", 11}, {"dst", "1/2/3"}, {"group", "Temperatur Küche"}, {"dpt", "9.001"}, {"type", "ivtFloat"}, {"value", 21.5}, {"name", "DPT_Value_Temp"}, {"unit", "°C"}},
  };
  ASSERT_EQ(results.size(), expected.size()) << run.out;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(results[i], expected[i]);
  }

  const Result text = Zelknx("decode --ga-csv '" + csv + "' - < '" + Write("good.txt", "Write from 1.1.5 to 1/2/3: 0C 33\n9.004 0c33\n") + "'");
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.out, "1/2/3 Temperatur Küche: 21.5 °C\n21.5 lux\n");
  EXPECT_EQ(Zelknx("decode - < '" + log + "'").out.rfind("line 1: error: no DPT for group address 1/2/3 (give the ETS export with --ga-csv)\n", 0), 0u);
}

}  // namespace
