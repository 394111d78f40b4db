// zelknx run as a process: encode/decode round trips on both conversion
// paths, --json parsed back, exit codes, usage errors and refusals.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>

#include <array>
#include <cstdio>
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
  while (std::fgets(buffer.data(), buffer.size(), pipe) != nullptr) out += buffer.data();
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

Json JsonOf(const std::string& args) {
  const Result run = Zelknx(args + " --json");
  return Json::parse(run.out);
}

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
      {"9.001", "21.5", "0c33", 16, " °C"},        {"1.001", "true", "01", 1, ""},
      {"5.001", "128", "80", 8, ""},               {"7.001", "65535", "ffff", 16, " pulses"},
      {"8.001", "-2", "fffe", 16, " pulses"},      {"13.001", "-1", "ffffffff", 32, " pulses"},
      {"14.000", "1.5", "3fc00000", 32, " m/s²"},  {"232.600", "1193046", "123456", 24, ""},
      {"11.001", "2024-03-15", "0f0318", 24, ""},  {"10.001", "Mon 08:30:00", "281e00", 24, ""},
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
  for (const char* command : {"", "encode", "decode", "dpt", "id", "config"}) {
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

}  // namespace
