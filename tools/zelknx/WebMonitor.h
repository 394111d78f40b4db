// The group monitor's web server: the page, and the decoded telegrams that
// a bus reader hands it, kept in a ring and streamed to every client.
//   GET /                      the page (and its files from the web folder)
//   GET /chart.js              the chart library, from where Debian puts it
//   GET /api/telegrams?since=N the telegrams after sequence number N, as a
//                              JSON array of the monitor's objects, each
//                              with "seq" first
//   GET /api/events            the same as Server-Sent Events, one object
//                              each, "id:" its sequence number; from the
//                              oldest one kept, or after Last-Event-ID
//   GET /api/groups            the group address list: "address", "name",
//                              "dpt"
// Nothing writes to the bus. With a token, every request carries it
// ("Authorization: Bearer TOKEN", "?token=TOKEN", or the cookie that a
// request with ?token= gets, for the page's own requests), else 401.
//
// The bus reader only appends to the ring and wakes the clients' writers;
// each writer runs on a server thread and takes from the ring at its own
// pace. A client that falls more than the ring behind, or whose socket
// stays full past the write time-out, is dropped; past the client limit a
// new stream gets 503.
//
// Thread-safety: Append and Stop may be called from any thread while Run
// serves on another.
#pragma once

#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

namespace httplib {
class Server;
struct Request;
}  // namespace httplib

namespace Zelknx {

struct WebMonitorOptions {
  std::string host = "127.0.0.1";
  int port = 8080;      // 0: any free port
  std::string token;    // required on a host other than loopback
  std::string webRoot;  // the page's folder
  std::string chartJs;  // the chart library's file; empty: none
  std::size_t ringSize = 10000;
  std::size_t maxClients = 16;  // streams at once
  std::chrono::milliseconds writeTimeout{5000};
  std::chrono::milliseconds heartbeat{5000};                        // a comment on an idle stream
  nlohmann::ordered_json groups = nlohmann::ordered_json::array();  // /api/groups
};

// Whether `host` only accepts connections from this machine: 127.0.0.0/8,
// ::1 and localhost.
bool IsLoopback(const std::string& host);

// Reads "ADDR:PORT", "ADDR", ":PORT" or "[IPv6]:PORT" into `options`;
// false for anything else.
bool ParseListen(const std::string& text, WebMonitorOptions& options);

class WebMonitor {
 public:
  // Throws std::invalid_argument for a host other than loopback without a
  // token, std::runtime_error when the address cannot be bound.
  explicit WebMonitor(WebMonitorOptions options);
  ~WebMonitor();
  WebMonitor(const WebMonitor&) = delete;
  WebMonitor& operator=(const WebMonitor&) = delete;

  int Port() const { return m_port; }  // the bound port
  // Serves until Stop(); ignores SIGPIPE in the process (a client gone
  // mid-write must not end it).
  void Run();
  void Stop();

  // Adds the monitor's object (a JSON object) of one telegram; its
  // sequence number (the first is 1).
  std::uint64_t Append(const nlohmann::ordered_json& telegram);

  std::size_t Clients() const { return m_clients; }    // streams open now
  std::uint64_t Dropped() const { return m_dropped; }  // streams ended: slow or gone

 private:
  struct Entry {
    std::uint64_t seq;
    std::string json;
  };
  class ClientSlot;

  void Route();
  // The entries after `after` (at most `limit`) as SSE events or JSON array
  // items; false when `after` lies before the oldest entry kept (the
  // entries in between are gone).
  bool Collect(std::uint64_t& after, std::size_t limit, bool events, std::string& out) const;
  bool Authorized(const httplib::Request& request) const;

  WebMonitorOptions m_options;
  std::unique_ptr<httplib::Server> m_server;
  int m_port = 0;
  std::string m_chartJs;

  mutable std::mutex m_mutex;
  std::condition_variable m_appended;
  std::deque<Entry> m_ring;
  std::uint64_t m_lastSeq = 0;
  bool m_stopping = false;
  bool m_running = false;  // Run has been entered and not returned

  std::atomic<std::size_t> m_clients{0};
  std::atomic<std::uint64_t> m_dropped{0};
};

}  // namespace Zelknx
