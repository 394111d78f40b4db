// zelknx run as a process: encode/decode round trips on both conversion
// paths, --json parsed back, exit codes, usage errors and refusals, the
// command line, DPT names and units, group address lists and batch
// decoding of knxd's logs.
#include "KnxprojBuilder.h"
#include "TestFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using Json = nlohmann::json;
using Zel::Tests::kGroupAddresses;

struct Result {
  int status;
  std::string out;
};

// Runs zelknx with `args` (shell words), stdout captured, stderr dropped
// unless `withStderr`. In a cross build it runs under the build's emulator,
// started afresh: the variables by which the emulator script recognises a
// re-execution of the test program itself are dropped.
Result Zelknx(const std::string& args, bool withStderr = false) {
  const std::string command = std::string("env -u ZEL_ARMHF_PROGRAM -u ZEL_ARMHF_SYSROOT ") + ZELKNX_EMULATOR + " '" + ZELKNX_PATH + "' " + args + (withStderr ? " 2>&1" : " 2>/dev/null");
  FILE* pipe = popen(command.c_str(), "r");
  std::string out;
  std::array<char, 512> buffer;
  while (std::fgets(buffer.data(), buffer.size(), pipe) != nullptr)
    out += buffer.data();
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

Json JsonOf(const std::string& args) {
  return Json::parse(Zelknx(args + " --json").out);
}

// Every line of `text` parsed as JSON.
std::vector<Json> JsonLines(const std::string& text) {
  std::vector<Json> lines;
  for (std::size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
    lines.push_back(Json::parse(text.substr(start, end - start)));
  return lines;
}

class ZelknxFiles : public ::testing::Test {
 protected:
  Zel::Tests::TempFolder files;
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
      {"1.001", "true", "01", 1, ""},
      {"5.001", "128", "80", 8, ""},
      {"7.001", "65535", "ffff", 16, " pulses"},
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
    EXPECT_EQ(Zelknx(std::string("decode ") + c.dpt + " " + c.hex).out, std::string(c.value) + c.unit + "\n");
  }
  EXPECT_EQ(JsonOf("encode --table 9.001 21.5")["hex"], "0c33");
  EXPECT_EQ(JsonOf("decode --table 9.001 '0c 33'"), (Json{{"dpt", "9.001"}, {"type", "ivtFloat"}, {"value", 21.5}, {"name", "DPT_Value_Temp"}, {"unit", "°C"}}));
}

// Usage errors exit with 2, the library's refusals with 1; the JSON error
// starts with the text given. Text that is not UTF-8, wherever it comes
// from, is written with U+FFFD: JSON output never aborts.
TEST_F(ZelknxFiles, RefusalsAndUsageErrors) {
  const std::string csv = " --ga-csv '" + files.Write("ga.csv", kGroupAddresses) + "'";
  const std::vector<std::tuple<std::string, int, std::string>> cases = {
      {"encode 9.x 1", 2, "bad DPT '9.x'"},
      {"decode 9.001 0g33", 2, "bad hex string"},
      {"encode 9.001 warm", 2, "'warm' is not a value of type ivtFloat"},
      {"encode --fast 9.001 1", 2, "unknown option --fast"},
      {"frobnicate", 2, "unknown command 'frobnicate'"},
      {"encode 11.001 2023-02-29", 1, "Not a valid date: 2023 2 29"},
      {"encode 17.001 64", 1, "DPT 17.001 refused the value without an error entry"},
      {"id co 4096", 1, "CO 4096 has no object-model id"},
      {"decode 1/2/6 0c33" + csv, 2, "group address 1/2/6 has no DPT in "},
      {"decode 1/2/7 0c33" + csv, 2, "group address 1/2/7 is not in "},
      {"decode 1/2/3 0c33", 2, "bad DPT '1/2/3'"},  // a group address without a list
      {"encode '\xFF' 1", 2, "bad DPT '\uFFFD' (write"},
      {"config '/nonexistent/\xFF.xml'", 1, "App host config file cannot be read from: \"/nonexistent/\uFFFD.xml\""},
  };
  for (const auto& [args, status, error] : cases) {
    SCOPED_TRACE(args);
    const Result run = Zelknx(args + " --json");
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(Json::parse(run.out).at("error").get<std::string>().substr(0, error.size()), error);
  }
  // \374 is ü in Latin-1.
  const std::string config = files.Write("latin1.xml", "<ZelAppHostConfig><ObjectModelConfig Path=\"/opt/K\374che.json\"/></ZelAppHostConfig>");
  EXPECT_EQ(JsonOf("config '" + config + "'")["ObjectModelConfigPath"], "/opt/K\uFFFDche.json");
  const std::string latin1 = files.Write("latin1.csv", "Group name;Address;DatapointType\nK\374che;1/2/3;DPST-9-1\n");
  EXPECT_EQ(JsonOf("decode --ga-csv '" + latin1 + "' - < '" + files.Write("log.txt", "1/2/3 0c33\n") + "'")["group"], "Küche");  // a Windows-1252 export
}

// Every command that the general help lists has its help and its entry in
// the manual page.
TEST(ZelknxTool, HelpAndManualPageOfEveryCommand) {
  std::ifstream in(ZELKNX_MANUAL_PAGE);
  const std::string page{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const std::string help = Zelknx("--help").out;
  std::istringstream lines(help.substr(help.find("Subcommands:\n") + 13));
  std::size_t commands = 0;
  for (std::string line; std::getline(lines, line) && line.rfind("  ", 0) == 0; ++commands) {
    const std::string command = line.substr(2, line.find(' ', 2) - 2);
    EXPECT_NE(page.find("\n.B " + command), std::string::npos) << command;
    const Result run = Zelknx(command + " --help");
    EXPECT_EQ(run.status, 0) << command;
    EXPECT_NE(run.out.find("usage: zelknx"), std::string::npos) << command;
  }
  EXPECT_GE(commands, 5u);
}

TEST(ZelknxTool, DptSpellingsIdsAndConfig) {
  // The DPT rows (all 53 of them) and the ids themselves: the Python module's tests (test_values.py).
  EXPECT_EQ(Zelknx("decode DPST-9-4 0c33").out, "21.5 lux\n");
  EXPECT_EQ(Zelknx("decode DPT-9 0c33").out, "21.5\n");  // the main type has no unit

  EXPECT_EQ(Zelknx("id co 1").out, "CO 1 of logical device 1: channel 100100, value 100101\n");

  const std::string config = Zelknx(std::string("config '") + ZELKNX_EXAMPLE_CONFIG + "'").out;
  EXPECT_NE(config.find("\nResponseDps: [100101,100103]\n"), std::string::npos) << config;
}

// Integers go to the library as far as the value type holds them on the
// device, so that its range handling is what the tool shows; "-" is the
// no-value of decoding, so that the two directions invert each other.
TEST(ZelknxTool, ValuesReachTheLibraryAsTheDeviceHoldsThem) {
  const Result clamped = Zelknx("encode 7.001 70000", true);
  EXPECT_EQ(clamped.status, 0);
  EXPECT_NE(clamped.out.find("ERROR TavValueToGroupValue [ZelObjectModel/GroupValueTavValue:"), std::string::npos) << clamped.out;
  EXPECT_NE(clamped.out.find("- Value out of range: 70000 (DPT 7)\n"), std::string::npos) << clamped.out;
  EXPECT_NE(clamped.out.find("ff ff (16 bits)\n"), std::string::npos) << clamped.out;
  EXPECT_EQ(JsonOf("encode 7.001 4294967295")["hex"], "ffff");

  EXPECT_EQ(JsonOf("decode --table 9.001 7fff"), (Json{{"dpt", "9.001"}, {"type", "ivtNone"}, {"value", nullptr}, {"name", "DPT_Value_Temp"}, {"unit", "°C"}}));
}

TEST(ZelknxTool, OptionsBeforeOrAfterTheCommand) {
  const Json expected = {{"dpt", "9.001"}, {"type", "ivtFloat"}, {"value", 21.5}, {"name", "DPT_Value_Temp"}, {"unit", "°C"}};
  EXPECT_EQ(Json::parse(Zelknx("--json decode 9.001 0c33").out), expected);
  EXPECT_EQ(Json::parse(Zelknx("decode --json 9.001 0c33").out), expected);
  EXPECT_EQ(Json::parse(Zelknx("--code decode 589825 0c33 --json").out), expected);
  EXPECT_EQ(Zelknx("--version").out, std::string("zelknx ") + ZELKNX_VERSION + "\n");
  // -- ends the options: a value that looks like one follows it.
  EXPECT_EQ(Json::parse(Zelknx("--json encode 16.000 -- --x").out)["hex"], "2d2d780000000000000000000000");
  EXPECT_EQ(Zelknx("--json encode 9.001 -- -inf").status, 1);  // DPT 9 refuses infinities, silently
  EXPECT_EQ(Zelknx("--json encode 9.001 -inf").status, 1);     // a value all the same, as -nan
  EXPECT_EQ(JsonOf("encode 14.068 -inf")["hex"], "ff800000");
  EXPECT_EQ(JsonOf("encode 14.068 -NaN --table").at("hex").get<std::string>().substr(0, 4), "ffc0");
  EXPECT_EQ(JsonOf("--table --bits 8 decode 5.001 ff")["value"], 255);
  EXPECT_EQ(Zelknx("--json encode --bits 8 9.001 1").status, 2);  // --bits is decode's
  EXPECT_EQ(Zelknx("--json --bits 8 encode 9.001 1").out, "{\"error\":\"unknown option --bits for encode\"}\n");
}

// Line forms of both kinds in one batch, other lines and a line that cannot
// be decoded in the middle: one result per telegram or payload line, in
// order, the live monitor's object for a telegram (a group without a DPT:
// its data in hex), and exit status 1. A group address stands for its DPT
// in the other commands too. (Each line form: ZelknxTextTest.)
TEST_F(ZelknxFiles, BatchDecodingOfMonitorLogs) {
  const std::string csv = files.Write("ga.csv", kGroupAddresses);
  const std::string log = files.Write("log.txt",
                                      "Write from 1.1.5 to 1/2/3: 0C 33 \n"
                                      "this is not a telegram\n"
                                      "\n"
                                      "Mar 15 08:30:00 host knxd[12]: Layer 0 [22:log/B.tpuarts  367.099] Recv L_Data low from 1.1.5 to 1/2/5 hops: 06 T_Data_Group A_GroupValue_Response 42 C8 00 00 \n"
                                      "2024-03-15 08:30:01.250 RecvEMI(012): 29 00 BC E0 11 0F 0A 06 02 00 80 01\n"
                                      "9.001 0c33\n"
                                      "1/2/6 0c33\n"
                                      "1/2/3 0c 33\n");
  const Result run = Zelknx("--json decode --ga-csv '" + csv + "' - < '" + log + "'");
  EXPECT_EQ(run.status, 1);
  const std::vector<Json> expected = {
      {{"line", 1}, {"src", "1.1.5"}, {"dst", "1/2/3"}, {"name", "Temperatur Küche"}, {"dpt", "9.001"}, {"apci", "write"}, {"hex", "0c33"}, {"value", 21.5}, {"unit", "°C"}},
      {{"line", 4}, {"time", "Mar 15 08:30:00"}, {"src", "1.1.5"}, {"dst", "1/2/5"}, {"name", "Leistung Herd"}, {"dpt", "14.056"}, {"apci", "response"}, {"hex", "42c80000"}, {"value", 100.0}, {"unit", "W"}},
      {{"line", 5}, {"time", "2024-03-15T08:30:01.250"}, {"src", "1.1.15"}, {"dst", "1/2/6"}, {"name", "Reserve"}, {"dpt", nullptr}, {"apci", "write"}, {"hex", "01"}, {"value", nullptr}, {"unit", nullptr}},
      {{"line", 6}, {"dpt", "9.001"}, {"type", "ivtFloat"}, {"value", 21.5}, {"name", "DPT_Value_Temp"}, {"unit", "°C"}},
      {{"line", 7}, {"error", "no DPT for group address 1/2/6 in " + csv}},
      {{"line", 8}, {"dst", "1/2/3"}, {"group", "Temperatur Küche"}, {"dpt", "9.001"}, {"type", "ivtFloat"}, {"value", 21.5}, {"name", "DPT_Value_Temp"}, {"unit", "°C"}},
  };
  EXPECT_EQ(JsonLines(run.out), expected) << run.out;

  const Result text = Zelknx("decode --ga-csv '" + csv + "' - < '" + files.Write("good.txt", "Write from 1.1.5 to 1/2/3: 0C 33\n2024-03-15 08:30:01 49 0C 11 0F 0A 04 E1 00 81\nDebug: no telegram\n9.004 0c33\n1/2/3 0c33\n") + "'");
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.out, "1.1.5 -> 1/2/3 Temperatur Küche (9.001) write 21.5 °C\n2024-03-15T08:30:01 1.1.15 -> 1/2/4 Licht Küche (1.001) write true\n21.5 lux\n1/2/3 Temperatur Küche: 21.5 °C\n");
  EXPECT_EQ(JsonOf("encode 1/2/3 21.5 --ga-csv '" + csv + "'")["hex"], "0c33");
  EXPECT_EQ(JsonOf("dpt 1/2/5 --ga-csv '" + csv + "'")["name"], "DPT_Value_Power");
  EXPECT_EQ(Zelknx("decode - < '" + log + "'").out.rfind("1.1.5 -> 1/2/3 write 0c 33\n", 0), 0u);  // no list: the data in hex
}

// `ga` lists an export or a project; --project works wherever --ga-csv
// does, and a list that cannot be read is a usage error naming its file.
TEST_F(ZelknxFiles, GroupAddressListsOfExportsAndProjects) {
  Zel::Tests::KnxprojContents contents;  // ETS 6, two-level, with the password "geheim"
  contents.schema = 21;
  contents.style = "TwoLevel";
  contents.groups = {{0x0A03, "Temperatur Küche", "DPST-9-1"}, {0x0A04, "Zähler", "DPT-13"}, {0x0A05, "Reserve", ""}};
  contents.cipher = Zel::Tests::ZipCipher::Aes256;
  contents.archivePassword = "8pqussL76WjB9C5muPqO/sN7UJruVxTWBHKyBPcdnlc=";
  const std::string path = files.Write("haus.knxproj", Zel::Tests::MakeKnxproj(contents));
  const std::string project = " --project '" + path + "' --password geheim";
  EXPECT_EQ(Zelknx("ga" + project).out, "1/515 Temperatur Küche (9.001 DPT_Value_Temp, °C)\n1/516 Zähler (13 4-octet signed value)\n1/517 Reserve\n");
  const std::vector<Json> listed = {{{"address", "1/515"}, {"name", "Temperatur Küche"}, {"dpt", "9.001"}}, {{"address", "1/516"}, {"name", "Zähler"}, {"dpt", "13"}}, {{"address", "1/517"}, {"name", "Reserve"}, {"dpt", nullptr}}};
  EXPECT_EQ(JsonLines(Zelknx("--json ga" + project).out), listed);
  EXPECT_EQ(JsonOf("decode 1/515 0c33" + project)["value"], 21.5);
  EXPECT_EQ(Zelknx("ga --ga-csv '" + files.Write("ga.csv", kGroupAddresses) + "'").out.rfind("1/2/3 Temperatur Küche (9.001 DPT_Value_Temp, °C)\n1/2/4 Licht Küche (1.001 DPT_Switch)\n", 0), 0u);

  const std::vector<std::pair<std::string, std::string>> refused = {
      {"decode 1/2/5 0c33" + project, "group address 1/2/5 has no DPT in " + path},
      {"ga --project '" + path + "'", path + ": the project is password-protected: give its password (--password)"},
      {"ga", "ga lists the group addresses of --ga-csv FILE or --project FILE"},
      {"ga --ga-csv '" + path + "'" + project, "give --ga-csv or --project, not both"},
      {"dpt 9 --password geheim", "--password is the password of an ETS project (--project)"},
  };
  for (const auto& [args, error] : refused) {
    SCOPED_TRACE(args);
    const Result run = Zelknx(args + " --json");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(Json::parse(run.out).at("error").get<std::string>().substr(0, error.size()), error);
  }
}

}  // namespace
