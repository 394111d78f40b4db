// zelknx monitor against a real knxd: each test starts its own knxd on a
// socket in a temporary folder, with no bus behind it (the dummy backend),
// sends group telegrams with knxtool and reads the monitor's JSON. knxd
// and the monitor are stopped by their own process ids. Skipped where the
// monitor is not built (no knxd client library, as in the armhf build) or
// knxd's programs are missing.
#include "TestFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Json = nlohmann::json;
using namespace std::chrono_literals;
using Zel::Tests::kGroupAddresses;

// Starts `args` with stdout into `output` and stderr into `output`.err;
// its process id.
pid_t Spawn(const std::vector<std::string>& args, const std::string& output) {
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
    dup2(open((output + ".err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    std::vector<char*> argv;
    for (const std::string& arg : args)
      argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }
  return pid;
}

std::string Read(const std::string& path) {
  std::ostringstream out;
  out << std::ifstream(path).rdbuf();
  return out.str();
}

bool WaitFor(const std::function<bool()>& done, std::chrono::milliseconds timeout = 10s) {
  for (const auto end = std::chrono::steady_clock::now() + timeout; std::chrono::steady_clock::now() < end;) {
    if (done())
      return true;
    std::this_thread::sleep_for(50ms);
  }
  return done();
}

// The exit status of `pid` once it ends within `timeout`, else -1 (and it
// is killed); `pid` is -1 afterwards.
int WaitExit(pid_t& pid, std::chrono::milliseconds timeout = 10s) {
  int status = 0;
  const bool ended = WaitFor([&] { return waitpid(pid, &status, WNOHANG) == pid; }, timeout);
  if (!ended) {
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
  }
  pid = -1;
  return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class ZelknxMonitor : public ::testing::Test {
 protected:
  void SetUp() override {
#ifndef ZELKNX_WITH_MONITOR
    GTEST_SKIP() << "zelknx is built without knxd's client library: no monitor";
#endif
    if (std::string(ZELKNX_KNXD).empty() || std::string(ZELKNX_KNXTOOL).empty())
      GTEST_SKIP() << "knxd or knxtool not found";
    m_folder.Write("ga.csv", kGroupAddresses);
    m_knxd = Spawn({ZELKNX_KNXD, "-e", "0.0.1", "-E", "0.0.2:8", "-u", m_dir + "/eib", "-b", "dummy:"}, m_dir + "/knxd.log");
    ASSERT_TRUE(WaitFor([&] { return access((m_dir + "/eib").c_str(), F_OK) == 0; })) << Read(m_dir + "/knxd.log");
  }

  void TearDown() override {
    if (m_monitor > 0)
      WaitExit(m_monitor, 0ms);
    if (m_knxd > 0)
      StopKnxd();
  }

  void StopKnxd() {
    kill(m_knxd, SIGTERM);
    WaitExit(m_knxd);
  }

  void StartMonitor(const std::vector<std::string>& options) {
    std::vector<std::string> args = {ZELKNX_PATH, "monitor", "--url", m_url, "--json"};
    args.insert(args.end(), options.begin(), options.end());
    m_monitor = Spawn(args, m_dir + "/monitor.out");
  }

  // The monitor's JSON lines so far, but those of AwaitMonitor's probes.
  std::vector<Json> Lines() {
    std::vector<Json> lines;
    std::istringstream in(Read(m_dir + "/monitor.out"));
    for (std::string line; std::getline(in, line);) {
      Json json = Json::parse(line);
      if (json.value("dst", "") != kProbe)
        lines.push_back(std::move(json));
    }
    return lines;
  }

  void Send(const std::string& command) {
    const std::string shell = std::string(ZELKNX_KNXTOOL) + " " + command.substr(0, command.find(' ')) + " " + m_url + command.substr(command.find(' ')) + " >/dev/null 2>&1";
    ASSERT_EQ(std::system(shell.c_str()), 0) << shell;
  }

  // Sends to kProbe until the monitor shows it: it is listening now.
  // (Probes sent before may still arrive later.)
  void AwaitMonitor() {
    ASSERT_TRUE(WaitFor([&] {
      Send(std::string("groupswrite ") + kProbe + " 1");
      return Read(m_dir + "/monitor.out").find(kProbe) != std::string::npos;
    })) << Read(m_dir + "/monitor.out");
  }

  static constexpr const char* kProbe = "31/7/255";

  Zel::Tests::TempFolder m_folder;
  const std::string m_dir = m_folder.Path();
  const std::string m_url = "local:" + m_dir + "/eib";
  pid_t m_knxd = -1;
  pid_t m_monitor = -1;
};

// Telegrams of three DPTs, a group address without a DPT and a read, then
// SIGTERM: one JSON object each, exit status 0. Then --count 2 with a
// group address outside the list: two objects, exit status 0.
TEST_F(ZelknxMonitor, DecodesEveryTelegramWithTheGroupAddressList) {
  StartMonitor({"--ga-csv", m_dir + "/ga.csv"});
  AwaitMonitor();
  for (const char* telegram : {"groupwrite 1/2/3 0c 33", "groupswrite 1/2/4 1", "groupwrite 1/2/5 42 c8 00 00", "groupwrite 1/2/6 12 34", "groupread 1/2/3"})
    Send(telegram);
  const std::vector<Json> expected = {
      {{"dst", "1/2/3"}, {"name", "Temperatur Küche"}, {"dpt", "9.001"}, {"apci", "write"}, {"hex", "0c33"}, {"value", 21.5}, {"unit", "°C"}},
      {{"dst", "1/2/4"}, {"name", "Licht Küche"}, {"dpt", "1.001"}, {"apci", "write"}, {"hex", "01"}, {"value", true}, {"unit", nullptr}},
      {{"dst", "1/2/5"}, {"name", "Leistung Herd"}, {"dpt", "14.056"}, {"apci", "write"}, {"hex", "42c80000"}, {"value", 100.0}, {"unit", "W"}},
      {{"dst", "1/2/6"}, {"name", "Reserve"}, {"dpt", nullptr}, {"apci", "write"}, {"hex", "1234"}, {"value", nullptr}, {"unit", nullptr}},
      {{"dst", "1/2/3"}, {"name", "Temperatur Küche"}, {"dpt", "9.001"}, {"apci", "read"}, {"hex", ""}, {"value", nullptr}, {"unit", nullptr}},
  };
  ASSERT_TRUE(WaitFor([&] { return Lines().size() >= expected.size(); })) << Read(m_dir + "/monitor.out");
  kill(m_monitor, SIGTERM);
  EXPECT_EQ(WaitExit(m_monitor), 0);
  std::vector<Json> lines = Lines();
  ASSERT_EQ(lines.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE(lines[i].dump());
    // Time and source are the moment's and knxd's (a client address per connection).
    const std::string time = lines[i].at("time");
    EXPECT_TRUE(time.size() == 23 && time[10] == 'T');
    EXPECT_EQ(lines[i].at("src").get<std::string>().rfind("0.0.", 0), 0u);
    lines[i].erase("time");
    lines[i].erase("src");
    EXPECT_EQ(lines[i], expected[i]);
  }

  StartMonitor({"--ga-csv", m_dir + "/ga.csv", "--count", "2"});
  int status = -1;
  // Sends until both telegrams reached the listening monitor and it ended.
  ASSERT_TRUE(WaitFor([&] {
    Send("groupwrite 1/2/7 56");
    return waitpid(m_monitor, &status, WNOHANG) == m_monitor;
  }));  // else TearDown stops it
  m_monitor = -1;
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  lines = Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]["name"], nullptr);
  EXPECT_EQ(lines[0]["dpt"], nullptr);
  EXPECT_EQ(lines[0]["hex"], "56");
}

TEST_F(ZelknxMonitor, KnxdOutOfReachOrGone) {
  const std::string url = "local:" + m_dir + "/none";
  m_monitor = Spawn({ZELKNX_PATH, "monitor", "--json", "--url", url}, m_dir + "/monitor.out");
  EXPECT_EQ(WaitExit(m_monitor), 1);
  const std::string error = Lines().at(0).at("error");
  EXPECT_EQ(error.rfind("cannot connect to knxd at " + url + ": ", 0), 0u) << error;

  StartMonitor({});
  AwaitMonitor();
  StopKnxd();
  EXPECT_EQ(WaitExit(m_monitor), 1);
  EXPECT_EQ(Lines().back(), (Json{{"error", "lost the connection to knxd at " + m_url}}));
}

}  // namespace
