// A device stack client that answers from a simulated device stack, for
// tests and benchmarks of code written against Quor::IDeviceStackClient.
//
// Each asynchronous request gets a fresh request id ("r1", "r2", ...) and is
// answered later on the client's own callback thread, never from inside the
// call that sent it. Answers wait in a queue ordered by due time, so a
// request with a short latency can overtake one with a long latency. What
// happens to each request is its Plan: chosen by Options::rule when one is
// set (deterministic tests), otherwise drawn from the fault probabilities
// with a seeded generator (randomised tests).
//
// Reply texts name the request they answer, so a reply handed to the wrong
// caller is detectable:
//   GetValue             "value of <object id> for <request id>"
//   SetValue             "set <object id> to <value text> for <request id>"
//   Request              "response to <request text> for <request id>"
//   RegisterApplication, SetConfigurationText: no payload.
// An error answer carries no payload and the error text
// "simulated failure of <request id>".
//
// A stalled answer spends its plan's stall inside the error object's
// GetText(): a handler that reads the error text while it holds its own
// lock (as the messenger does) then holds that lock for the stall, the way
// a callback thread that is descheduled at the wrong moment would.
//
// Thread safety: every operation may be called from any thread.
// SetResponseHandler(nullptr, ...) returns only when no callback to the
// previous handler is running any more (unless called from inside a
// callback), so a handler may be destroyed right after unregistering. The
// destructor drops the answers still queued and joins the callback thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Quor/IDeviceStackClient.h"

namespace Quor {

// What the simulated device stack does with one request.
enum class SimulatedFault : std::uint8_t {
  None,       // one answer after the plan's delay
  NoAnswer,   // request accepted, never answered
  Late,       // one answer after the plan's delay (meant to come after the waiter gave up)
  Duplicate,  // the same answer twice
  Error,      // one answer whose error reports a failure
  EmptyId,    // request refused: empty request id, no answer
  UnknownId,  // the answer, and one more under an id that was never issued
};

// One request as the client received it.
struct SimulatedRequest {
  enum class Kind : std::uint8_t {
    Request,
    RegisterApplication,
    SetConfigurationText,
    GetValue,
    SetValue
  };
  Kind kind = Kind::Request;
  std::uint64_t sequence = 0;  // 1 for the first request
  std::string requestId;       // empty when refused
  unsigned long objectId = 0;  // GetValue, SetValue
  std::string text;            // value text, request text or configuration text
  bool flag = false;
  SimulatedFault fault = SimulatedFault::None;
  std::chrono::steady_clock::duration stall{};  // of each of its answers (see Plan::stall)
};

class SimulatedDeviceStackClient final : public IDeviceStackClient {
 public:
  using Clock = std::chrono::steady_clock;

  struct Plan {
    SimulatedFault fault = SimulatedFault::None;
    Clock::duration delay = Clock::duration::zero();  // from the send to the (first) answer
    Clock::duration stall = Clock::duration::zero();  // spent in each answer's IError::GetText()
  };
  // Decides the plan of a request; `request.requestId` and `request.fault`
  // are not filled in yet.
  using Rule = std::function<Plan(const SimulatedRequest& request)>;

  struct Options {
    std::uint64_t seed = 1;
    // Answer delay: latency plus a uniform draw from [0, latencyJitter].
    Clock::duration latency = Clock::duration::zero();
    Clock::duration latencyJitter = Clock::duration::zero();
    // Delay of a Late answer.
    Clock::duration lateDelay = std::chrono::milliseconds(100);
    // Probabilities of the faults (their sum at most 1); the rest is None.
    double noAnswer = 0.0;
    double late = 0.0;
    double duplicate = 0.0;
    double error = 0.0;
    double emptyId = 0.0;
    double unknownId = 0.0;
    // Probability that an answered request's answers stall, independent of
    // the faults above, and the stall's uniform range [0, stallFor].
    double stall = 0.0;
    Clock::duration stallFor = Clock::duration::zero();
    // When set, decides every request instead of the probabilities.
    Rule rule;
    // Whether Requests() keeps every request (memory grows with each one).
    bool keepRequests = true;
  };

  explicit SimulatedDeviceStackClient(Options options);
  SimulatedDeviceStackClient() : SimulatedDeviceStackClient(Options()) {}
  ~SimulatedDeviceStackClient() override;
  SimulatedDeviceStackClient(const SimulatedDeviceStackClient&) = delete;
  SimulatedDeviceStackClient& operator=(const SimulatedDeviceStackClient&) = delete;

  void SetInternalValueFormat(bool enable) override;
  bool SetConfiguration(unsigned long id, const PropertyMap& properties, bool flag) override;
  bool GetDeviceConfig(std::string& config, bool flag) override;
  bool SetDeviceConfig(const std::map<std::string, std::string>& config) override;
  void SetValueFormat(const std::string& formatName, int reserved) override;
  std::string Request(const std::string& request) override;
  std::string RegisterApplication(const std::string& name, const std::string& version,
                                  const std::string& vendor) override;
  std::string SetConfigurationText(const std::string& config) override;
  std::string GetValue(unsigned long id, bool flag) override;
  std::string SetValue(unsigned long id, const std::string& value, bool flag,
                       int reserved) override;
  void SetResponseHandler(IResponseHandler* handler, void* context) override;

  // Result of the synchronous operations (SetConfiguration, GetDeviceConfig,
  // SetDeviceConfig); true at start.
  void SetSynchronousResult(bool result);

  // Every request received so far, in order (none unless keepRequests).
  std::vector<SimulatedRequest> Requests() const;
  // The last format chosen by SetInternalValueFormat and SetValueFormat.
  bool InternalValueFormat() const;
  std::string ValueFormat() const;
  IResponseHandler* ResponseHandler() const;
  // Number of answers whose delivery has begun.
  std::uint64_t DeliveriesStarted() const;
  // Blocks until no answer is queued or being delivered.
  void WaitUntilIdle();

 private:
  struct Answer {
    SimulatedRequest::Kind kind;
    std::string requestId;
    unsigned long objectId;
    std::string payload;
    bool failed;
    Clock::duration stall;
  };
  using QueueKey = std::pair<Clock::time_point, std::uint64_t>;  // due time, order of queuing

  std::string Send(SimulatedRequest request);          // REQUIRES: m_mutex not held
  Plan DrawPlan(const SimulatedRequest& request);      // REQUIRES: m_mutex held
  void Enqueue(Clock::time_point due, Answer answer);  // REQUIRES: m_mutex held; then notify m_wake
  void Run();
  void Deliver(IResponseHandler& handler, void* context, const Answer& answer) const;

  const Options m_options;

  mutable std::mutex m_mutex;      // guards every member below
  std::condition_variable m_wake;  // queue changed or stopping
  std::condition_variable m_idle;  // a delivery ended
  std::mt19937_64 m_random;
  std::uint64_t m_sent = 0;
  std::vector<SimulatedRequest> m_requests;
  std::map<QueueKey, Answer> m_queue;
  std::uint64_t m_queued = 0;
  std::uint64_t m_deliveriesStarted = 0;
  bool m_delivering = false;
  bool m_stopping = false;
  IResponseHandler* m_handler = nullptr;
  void* m_context = nullptr;
  bool m_synchronousResult = true;
  bool m_internalValueFormat = false;
  std::string m_valueFormat;
  std::map<std::string, std::string> m_deviceConfig;

  std::thread m_thread;  // last: starts when everything else is ready
};

}  // namespace Quor
