// The web monitor's HTTP interface, served on a free loopback port: the
// telegrams since a sequence number, the event stream in order and resumed,
// the token, the client limit, and a slow client dropped while the others
// keep up. The page itself is tested in a browser (tests/web).
#include "WebMonitor.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using Zelknx::WebMonitor;
using Zelknx::WebMonitorOptions;
using Json = nlohmann::ordered_json;
using namespace std::chrono_literals;

// A web monitor serving on its own thread, on a free port.
struct Served {
  explicit Served(WebMonitorOptions options)
      : monitor((options.port = 0, options.heartbeat = 100ms, options)), thread([this] { monitor.Run(); }) {}
  ~Served() {
    monitor.Stop();
    thread.join();
  }
  httplib::Client Client() const { return httplib::Client("127.0.0.1", monitor.Port()); }

  WebMonitor monitor;
  std::thread thread;
};

Json Telegram(int n) {
  return Json{{"dst", "1/2/" + std::to_string(n)}, {"value", n}};
}

std::vector<std::uint64_t> Seqs(const std::string& body) {
  std::vector<std::uint64_t> seqs;
  for (const Json& item : Json::parse(body))
    seqs.push_back(item.at("seq"));
  return seqs;
}

// Reads /api/events on its own thread: the sequence numbers of the events
// ("id:" and the object's "seq" agree), in the order they came.
class EventReader {
 public:
  EventReader(const Served& served, httplib::Headers headers = {}) {
    m_thread = std::thread([this, &served, headers] {
      httplib::Client client = served.Client();
      const auto result = client.Get(
          "/api/events", headers,
          [this](const httplib::Response& response) {
            status = response.status;
            return true;
          },
          [this](const char* data, std::size_t size) {
            m_buffer.append(data, size);
            for (auto end = m_buffer.find("\n\n"); end != std::string::npos;
                 end = m_buffer.find("\n\n")) {
              Parse(m_buffer.substr(0, end));
              m_buffer.erase(0, end + 2);
            }
            return !m_stop;
          });
    });
  }
  ~EventReader() {
    m_stop = true;
    m_thread.join();
  }
  std::vector<std::uint64_t> Seqs() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_seqs;
  }
  std::uint64_t Last() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_seqs.empty() ? 0 : m_seqs.back();
  }

  std::atomic<int> status{0};

 private:
  void Parse(const std::string& event) {
    if (event.rfind("id: ", 0) != 0)
      return;  // a heartbeat
    const std::uint64_t id = std::stoull(event.substr(4));
    const Json data = Json::parse(event.substr(event.find("\ndata: ") + 7));
    EXPECT_EQ(data.at("seq"), id);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_seqs.push_back(id);
  }

  std::thread m_thread;
  std::string m_buffer;
  std::atomic<bool> m_stop{false};
  std::mutex m_mutex;
  std::vector<std::uint64_t> m_seqs;
};

bool WaitFor(const std::function<bool()>& done, std::chrono::milliseconds timeout = 10s) {
  for (const auto end = std::chrono::steady_clock::now() + timeout;
       std::chrono::steady_clock::now() < end; std::this_thread::sleep_for(5ms)) {
    if (done())
      return true;
  }
  return done();
}

TEST(WebMonitor, ListenAddressesAndTheLoopbackRule) {
  const struct {
    const char* listen;
    bool valid;
    const char* host;
    int port;
    bool loopback;
  } cases[] = {
      {"127.0.0.1:8080", true, "127.0.0.1", 8080, true},
      {"localhost", true, "localhost", 7, true},
      {":9000", true, "127.0.0.1", 9000, true},
      {"[::1]:80", true, "::1", 80, true},
      {"0.0.0.0:8080", true, "0.0.0.0", 8080, false},
      {"128.0.0.1:80", true, "128.0.0.1", 80, false},
      {"host:65536", false, "", 0, false},
      {"[::1", false, "", 0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.listen);
    WebMonitorOptions options;
    options.port = 7;
    ASSERT_EQ(Zelknx::ParseListen(c.listen, options), c.valid);
    if (c.valid) {
      EXPECT_EQ(options.host, c.host);
      EXPECT_EQ(options.port, c.port);
      EXPECT_EQ(Zelknx::IsLoopback(options.host), c.loopback);
    }
  }
  WebMonitorOptions open;
  open.host = "0.0.0.0";
  open.port = 0;
  EXPECT_THROW(WebMonitor{open}, std::invalid_argument);
}

// A ring of 4 after 6 telegrams: 3 to 6 kept; since, and the stream from
// the oldest kept, after Last-Event-ID, and on as telegrams come; a stream
// past the limit of 3 gets 503.
TEST(WebMonitor, TelegramsSinceAndEventsInOrder) {
  WebMonitorOptions options;
  options.ringSize = 4;
  options.maxClients = 3;
  Served served(options);
  for (int n = 1; n <= 6; ++n)
    EXPECT_EQ(served.monitor.Append(Telegram(n)), static_cast<std::uint64_t>(n));
  httplib::Client client = served.Client();
  const struct {
    const char* query;
    std::vector<std::uint64_t> seqs;
  } since[] = {{"", {3, 4, 5, 6}}, {"?since=0", {3, 4, 5, 6}}, {"?since=4", {5, 6}}, {"?since=6", {}}};
  for (const auto& c : since) {
    const auto result = client.Get((std::string("/api/telegrams") + c.query).c_str());
    ASSERT_TRUE(result) << c.query;
    EXPECT_EQ(Seqs(result->body), c.seqs) << c.query;
  }
  const auto first = Json::parse(client.Get("/api/telegrams?since=5")->body).at(0);
  EXPECT_EQ(first, (Json{{"seq", 6}, {"dst", "1/2/6"}, {"value", 6}}));
  EXPECT_EQ(client.Get("/api/telegrams?since=x")->status, 400);

  EventReader fresh(served);
  EventReader resumed(served, {{"Last-Event-ID", "4"}});
  EventReader behind(served, {{"Last-Event-ID", "1"}});  // 2 is gone: from the oldest
  ASSERT_TRUE(WaitFor([&] { return fresh.Last() == 6 && resumed.Last() == 6 && behind.Last() == 6; }));
  EXPECT_EQ(client.Get("/api/events")->status, 503);
  EXPECT_EQ(client.Get("/api/telegrams")->status, 200);  // not a stream
  for (int n = 7; n <= 9; ++n)
    served.monitor.Append(Telegram(n));
  ASSERT_TRUE(WaitFor([&] { return fresh.Last() == 9 && resumed.Last() == 9 && behind.Last() == 9; }));
  EXPECT_EQ(fresh.Seqs(), (std::vector<std::uint64_t>{3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(resumed.Seqs(), (std::vector<std::uint64_t>{5, 6, 7, 8, 9}));
  EXPECT_EQ(behind.Seqs(), fresh.Seqs());
  EXPECT_EQ(fresh.status, 200);
}

// Off loopback every request carries the token: as a bearer, in the query
// (which sets the cookie that the page's own requests then carry) or as
// that cookie. Served on every address, reached through loopback.
TEST(WebMonitor, TokenRequiredOffLoopback) {
  WebMonitorOptions options;
  options.host = "0.0.0.0";
  options.token = "s3cret";
  Served served(options);
  httplib::Client client = served.Client();
  const struct {
    const char* path;
    httplib::Headers headers;
    int status;
  } cases[] = {
      {"/api/groups", {}, 401},
      {"/api/events", {}, 401},
      {"/api/groups", {{"Authorization", "Bearer s3cre"}}, 401},
      {"/api/groups?token=wrong", {}, 401},
      {"/api/groups", {{"Cookie", "zelknx_token=s3cre"}}, 401},
      {"/api/groups", {{"Authorization", "Bearer s3cret"}}, 200},
      {"/api/telegrams?token=s3cret", {}, 200},
      {"/api/groups", {{"Cookie", "a=b; zelknx_token=s3cret; c=d"}}, 200},
  };
  for (const auto& c : cases) {
    const auto result = client.Get(c.path, c.headers);
    ASSERT_TRUE(result) << c.path;
    EXPECT_EQ(result->status, c.status) << c.path << " " << c.headers.size();
  }
  EXPECT_EQ(client.Get("/api/groups?token=s3cret")->get_header_value("Set-Cookie"),
            "zelknx_token=s3cret; Path=/; HttpOnly; SameSite=Strict");
}

// A client that opens the stream and never reads: once its socket is full
// the server drops it, while the bus side keeps appending and another
// client receives every telegram in order.
TEST(WebMonitor, SlowClientDroppedWithoutStallingOthers) {
  WebMonitorOptions options;
  options.ringSize = 256;
  options.writeTimeout = 300ms;
  Served served(options);
  EventReader fast(served);
  const int slow = socket(AF_INET, SOCK_STREAM, 0);
  const int small = 4096;
  setsockopt(slow, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(served.monitor.Port()));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(connect(slow, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  const std::string request = "GET /api/events HTTP/1.1\r\nHost: test\r\n\r\n";
  ASSERT_EQ(write(slow, request.data(), request.size()), static_cast<ssize_t>(request.size()));
  ASSERT_TRUE(WaitFor([&] { return served.monitor.Clients() == 2; }));

  Json telegram = Telegram(1);
  telegram["hex"] = std::string(400, 'a');
  std::uint64_t last = 0;
  while (served.monitor.Dropped() == 0 && last < 200000) {
    for (int i = 0; i < 64; ++i)
      last = served.monitor.Append(telegram);
    ASSERT_TRUE(WaitFor([&] { return fast.Last() == last; })) << last;
  }
  close(slow);
  EXPECT_EQ(served.monitor.Dropped(), 1u);
  EXPECT_EQ(served.monitor.Clients(), 1u);
  const std::vector<std::uint64_t> seqs = fast.Seqs();
  ASSERT_EQ(seqs.size(), last);
  for (std::size_t i = 0; i < seqs.size(); ++i)
    ASSERT_EQ(seqs[i], i + 1);
}

}  // namespace
