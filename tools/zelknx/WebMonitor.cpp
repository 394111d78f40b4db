#include "WebMonitor.h"

#include <httplib.h>

#include <signal.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace Zelknx {

bool IsLoopback(const std::string& host) {
  return host == "localhost" || host == "::1" || host.rfind("127.", 0) == 0;
}

bool ParseListen(const std::string& text, WebMonitorOptions& options) {
  std::string host = text;
  std::string port;
  if (!text.empty() && text.front() == '[') {  // [::1]:8080
    const auto end = text.find(']');
    if (end == std::string::npos || (end + 1 < text.size() && text[end + 1] != ':'))
      return false;
    host = text.substr(1, end - 1);
    port = end + 1 < text.size() ? text.substr(end + 2) : "";
  } else if (text.find(':') != std::string::npos) {
    host = text.substr(0, text.find(':'));
    port = text.substr(text.find(':') + 1);
    if (port.find(':') != std::string::npos)
      return false;
  }
  if (!host.empty())
    options.host = host;
  if (port.empty())
    return !host.empty();
  if (port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos)
    return false;
  options.port = std::stoi(port);
  return options.port <= 65535;
}

// Frees a stream's place when the server has done with its response.
class WebMonitor::ClientSlot {
 public:
  explicit ClientSlot(std::atomic<std::size_t>& clients) : m_clients(clients) {}
  ~ClientSlot() { --m_clients; }
  ClientSlot(const ClientSlot&) = delete;
  ClientSlot& operator=(const ClientSlot&) = delete;

 private:
  std::atomic<std::size_t>& m_clients;
};

namespace {

template <typename Duration>
void SplitTime(Duration duration, time_t& sec, time_t& usec) {
  const auto us = std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
  sec = static_cast<time_t>(us / 1000000);
  usec = static_cast<time_t>(us % 1000000);
}

// A decimal sequence number; none for anything else.
const std::string kTokenCookie = "zelknx_token=";

bool ParseSeq(const std::string& text, std::uint64_t& seq) {
  if (text.empty() || text.size() > 19 || text.find_first_not_of("0123456789") != std::string::npos)
    return false;
  seq = std::stoull(text);
  return true;
}

}  // namespace

WebMonitor::WebMonitor(WebMonitorOptions options)
    : m_options(std::move(options)), m_server(std::make_unique<httplib::Server>()) {
  if (!IsLoopback(m_options.host) && m_options.token.empty()) {
    throw std::invalid_argument("listening on " + m_options.host +
                                " (not loopback) needs a token (--token)");
  }
  if (!m_options.chartJs.empty()) {
    std::ifstream in(m_options.chartJs, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    m_chartJs = text.str();
  }
  // A thread for every stream and a few for the page's other requests.
  const std::size_t threads = m_options.maxClients + 8;
  m_server->new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
  time_t sec = 0;
  time_t usec = 0;
  SplitTime(m_options.writeTimeout, sec, usec);
  m_server->set_write_timeout(sec, usec);
  m_server->set_keep_alive_timeout(2);
  Route();
  m_port = m_options.port == 0
               ? m_server->bind_to_any_port(m_options.host)
               : (m_server->bind_to_port(m_options.host, m_options.port) ? m_options.port : -1);
  if (m_port < 0) {
    throw std::runtime_error("cannot listen on " + m_options.host + ":" +
                             std::to_string(m_options.port));
  }
}

WebMonitor::~WebMonitor() {
  Stop();
}

void WebMonitor::Run() {
  signal(SIGPIPE, SIG_IGN);
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopping)
      return;
    m_running = true;
  }
  m_server->listen_after_bind();
  std::lock_guard<std::mutex> lock(m_mutex);
  m_running = false;
}

void WebMonitor::Stop() {
  bool running = false;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stopping = true;
    running = m_running;
  }
  m_appended.notify_all();
  // Run may have been entered without the server listening yet: stop()
  // only ends a server that runs.
  while (running && !m_server->is_running()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::lock_guard<std::mutex> lock(m_mutex);
    running = m_running;
  }
  m_server->stop();
}

std::uint64_t WebMonitor::Append(const nlohmann::ordered_json& telegram) {
  // "seq" goes first: the object's text is made outside the lock and the
  // number put before its first key under it, so that the ring stays in
  // order whoever appends.
  const std::string body =
      telegram.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  std::uint64_t seq = 0;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    seq = ++m_lastSeq;
    std::string json = "{\"seq\":" + std::to_string(seq) + (body.size() > 2 ? "," : "");
    json.append(body, 1, std::string::npos);
    m_ring.push_back(Entry{seq, std::move(json)});
    if (m_ring.size() > m_options.ringSize)
      m_ring.pop_front();
  }
  m_appended.notify_all();
  return seq;
}

bool WebMonitor::Collect(std::uint64_t& after, std::size_t limit, bool events,
                         std::string& out) const {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (m_ring.empty())
    return true;
  const std::uint64_t oldest = m_ring.front().seq;
  const bool gap = after + 1 < oldest;
  for (std::size_t i = gap ? 0 : after + 1 - oldest; i < m_ring.size() && limit > 0; ++i, --limit) {
    const Entry& entry = m_ring[i];
    if (events) {
      out += "id: " + std::to_string(entry.seq) + "\ndata: " + entry.json + "\n\n";
    } else {
      out += out.empty() ? "" : ",";
      out += entry.json;
    }
    after = entry.seq;
  }
  return !gap;
}

bool WebMonitor::Authorized(const httplib::Request& request) const {
  const std::string& token = m_options.token;
  if (token.empty())
    return true;
  const std::string header = request.get_header_value("Authorization");
  const std::string cookies = request.get_header_value("Cookie");
  const auto cookie = cookies.find(kTokenCookie);
  const std::string given =
      header.rfind("Bearer ", 0) == 0 ? header.substr(7)
      : request.has_param("token")    ? request.get_param_value("token")
      : cookie == std::string::npos
          ? ""
          : cookies.substr(cookie + kTokenCookie.size(),
                           cookies.find(';', cookie) - cookie - kTokenCookie.size());
  // Compared in a time that does not tell how much of it matched.
  unsigned char differ = given.size() != token.size();
  for (std::size_t i = 0; i < given.size() && i < token.size(); ++i)
    differ |= static_cast<unsigned char>(given[i] ^ token[i]);
  return differ == 0;
}

void WebMonitor::Route() {
  using httplib::Request;
  using httplib::Response;
  m_server->set_pre_routing_handler([this](const Request& request, Response& response) {
    if (Authorized(request)) {
      // The page's own files and streams then carry it as a cookie.
      if (request.has_param("token")) {
        response.set_header("Set-Cookie", kTokenCookie + request.get_param_value("token") +
                                              "; Path=/; HttpOnly; SameSite=Strict");
      }
      return httplib::Server::HandlerResponse::Unhandled;
    }
    response.status = 401;
    response.set_header("WWW-Authenticate", "Bearer");
    response.set_content("a token is required\n", "text/plain");
    return httplib::Server::HandlerResponse::Handled;
  });
  if (!m_options.webRoot.empty())
    m_server->set_mount_point("/", m_options.webRoot);
  m_server->Get("/chart.js", [this](const Request&, Response& response) {
    if (m_chartJs.empty()) {
      response.status = 404;
      return;
    }
    response.set_content(m_chartJs, "text/javascript");
  });
  m_server->Get("/api/groups", [this](const Request&, Response& response) {
    response.set_content(m_options.groups.dump(), "application/json");
  });
  m_server->Get("/api/telegrams", [this](const Request& request, Response& response) {
    std::uint64_t after = 0;
    if (request.has_param("since") && !ParseSeq(request.get_param_value("since"), after)) {
      response.status = 400;
      response.set_content("since: a sequence number\n", "text/plain");
      return;
    }
    std::string items;
    Collect(after, m_options.ringSize, false, items);
    response.set_content("[" + items + "]", "application/json");
  });
  m_server->Get("/api/events", [this](const Request& request, Response& response) {
    if (++m_clients > m_options.maxClients) {
      --m_clients;
      response.status = 503;
      response.set_content("too many clients\n", "text/plain");
      return;
    }
    auto slot = std::make_shared<ClientSlot>(m_clients);
    std::uint64_t after = 0;
    ParseSeq(request.get_header_value("Last-Event-ID"), after);
    {
      // A new stream starts with the oldest telegram kept, a resumed one
      // after its last event (or with the oldest, when that is gone).
      std::lock_guard<std::mutex> lock(m_mutex);
      if (!m_ring.empty())
        after = std::max(after, m_ring.front().seq - 1);
    }
    response.set_header("Cache-Control", "no-cache");
    response.set_chunked_content_provider(
        "text/event-stream", [this, slot, after](std::size_t, httplib::DataSink& sink) mutable {
          {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_appended.wait_for(lock, m_options.heartbeat,
                                [&] { return m_stopping || m_lastSeq > after; });
            if (m_stopping)
              return false;
          }
          std::string events;
          if (!Collect(after, 256, true, events)) {
            ++m_dropped;  // more than the ring behind
            return false;
          }
          if (events.empty())
            events = ":\n\n";  // finds a client that has gone
          if (!sink.write(events.data(), events.size())) {
            ++m_dropped;
            return false;
          }
          return true;
        });
  });
}

}  // namespace Zelknx
