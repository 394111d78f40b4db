// Blocking requests through DscAsyncRequestMessenger over a simulated
// device stack: answers, time-outs and retries, late, failed and refused
// requests, relevance, and the log entries each path writes.
#include "LogCapture.h"
#include "Quor/SimulatedDeviceStackClient.h"
#include "Zel/DscAsyncRequestMessenger.h"
#include "Zel/RequestMessengerDeviceStack.h"

#include <gtest/gtest.h>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <algorithm>
#include <chrono>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace Zel {
namespace {

using Quor::SimulatedDeviceStackClient;
using Quor::SimulatedFault;
using Quor::SimulatedRequest;
using Plan = SimulatedDeviceStackClient::Plan;
using Tests::Debug;
using Tests::Error;
using Tests::ExpectedEntry;
using Tests::Info;
using Tests::LogCapture;
using Tests::Warn;
using namespace std::chrono_literals;
namespace pt = boost::posix_time;
using Call = std::function<Docket(DscAsyncRequestMessenger&)>;

// Plans of the first requests, in order; later requests are answered at once.
SimulatedDeviceStackClient::Options Scripted(std::vector<Plan> plans) {
  SimulatedDeviceStackClient::Options options;
  options.rule = [plans](const SimulatedRequest& request) {
    return request.sequence <= plans.size() ? plans[request.sequence - 1] : Plan();
  };
  return options;
}

// The default time-out is long enough for an answer to arrive even on a
// loaded machine or under emulation; tests of time-outs plan lost answers.
struct Rig {  // default time-out 1 s
  explicit Rig(std::vector<Plan> plans, unsigned int retries = 1)
      : client(Scripted(std::move(plans))), messenger(stack, pt::seconds(1), retries) {
    messenger.SetAsResponseHandler();
  }
  ~Rig() { messenger.UnsetAsResponseHandler(); }
  SimulatedDeviceStackClient client;
  RemoteRequestMessengerDeviceStack stack{client};
  DscAsyncRequestMessenger messenger;
};

TAVVALUE Value(TavValueType type, double number) {
  TAVVALUE value;
  value.ivt = type;
  value.SetDouble(number);
  return value;
}

const Call GetValue7 = [](DscAsyncRequestMessenger& m) { return m.GetValue(7, true); };
Call RequestX(pt::time_duration timeout) {
  return [timeout](DscAsyncRequestMessenger& m) { return m.Request("x", timeout); };
}
Call SetConfiguration(std::function<bool()> isStillRelevant) {
  return [=](DscAsyncRequestMessenger& m) {
    return m.SetConfiguration("c", pt::seconds(0), isStillRelevant);
  };
}
std::vector<ExpectedEntry> TimedOut(const std::string& waited, const std::string& passed) {
  return {Warn("Timeout (" + waited + ") occured for request ID 'r1'"),
          Error("No response received for ID 'r1' with timeout " + passed + ", retrying")};
}
const Docket kNone;

TEST(DscAsyncRequestMessenger, RequestOutcomes) {
  const Plan none{SimulatedFault::NoAnswer, {}};
  const Plan empty{SimulatedFault::EmptyId, {}};
  const auto exhausted = [](std::vector<ExpectedEntry> entries, const char* retries) {
    entries.push_back(Error(std::string("Maximum number of retries (") + retries + ") reached."));
    return entries;
  };
  int calls = 0;  // of the relevance predicate
  struct Case {
    const char* label;
    std::vector<Plan> plans;
    unsigned int retries;
    Call call;
    Docket result;
    std::size_t sends;
    std::vector<ExpectedEntry> log;  // above DEBUG
  } const cases[] = {
      // clang-format off
      {"RegisterApplication", {}, 1, [](auto& m) { return m.RegisterApplication("a", "1", "z"); },
       {"", "", true, true}, 1, {}},
      {"SetValue", {}, 1, [](auto& m) { return m.SetValue(9, Value(ivtFloat, 1.5), true); },
       {"set 9 to 3:1.5 for r1", "", true, true}, 1, {}},
      {"GetValue", {}, 1, GetValue7, {"value of 7 for r1", "", true, true}, 1, {}},
      {"Request", {}, 1, RequestX(pt::seconds(0)), {"response to x for r1", "", true, true}, 1, {}},
      {"SetConfiguration", {}, 1, SetConfiguration([] { return true; }), {"", "", true, true}, 1, {}},
      // Intended: the WARN names the time-out waited for, the ERROR the one passed (zero: default).
      {"time-out, retried under a new id", {none}, 1, GetValue7, {"value of 7 for r2", "", true, true}, 2,
       TimedOut("00:00:01", "00:00:00")},
      {"error answer, not retried", {{SimulatedFault::Error, {}}}, 3, GetValue7,
       {"", "simulated failure of r1", false, true}, 1,
       {Error("OMB error for request r1; id: 7; urn: urn:simulated:object:7; value: ")}},
      {"explicit time-out", {none}, 0, RequestX(pt::milliseconds(30)), kNone, 1,
       exhausted(TimedOut("00:00:00.030000", "00:00:00.030000"), "0")},
      {"negative infinity: no wait", {none}, 0, RequestX(pt::neg_infin), kNone, 1,
       exhausted(TimedOut("-infinity", "-infinity"), "0")},
      {"not-a-date-time: no wait", {none}, 0, RequestX(pt::not_a_date_time), kNone, 1,
       exhausted(TimedOut("not-a-date-time", "not-a-date-time"), "0")},
      {"positive infinity: no deadline", {{SimulatedFault::None, 60ms}}, 0, RequestX(pt::pos_infin),
       {"response to x for r1", "", true, true}, 1, {}},
      {"centuries: no overflow", {{SimulatedFault::None, 60ms}}, 0, RequestX(pt::hours(5000000)),
       {"response to x for r1", "", true, true}, 1, {}},
      // Intended: the count given is retries; one attempt more is made, and empty ids do not wait.
      {"empty id, no retries", {empty}, 0, GetValue7, kNone, 1,
       exhausted({Error("Request ID is empty, retrying")}, "0")},
      {"empty ids, two retries", {empty, empty, empty}, 2, GetValue7, kNone, 3,
       exhausted({Error("Request ID is empty, retrying"), Error("Request ID is empty, retrying"),
                  Error("Request ID is empty, retrying")}, "2")},
      {"irrelevant before the first wait", {none}, 2, SetConfiguration([] { return false; }), kNone, 1,
       {Info("Aborted a OMB request because its result is no longer relevant")}},
      {"irrelevant after the time-out", {none}, 2, SetConfiguration([&calls] { return calls++ == 0; }),
       kNone, 1, {Warn("Timeout (00:00:01) occured for request ID 'r1'")}},
      // clang-format on
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    Rig rig(c.plans, c.retries);
    LogCapture log;
    const Docket result = c.call(rig.messenger);
    EXPECT_EQ(result.IsAnswered(), c.result.IsAnswered());
    EXPECT_EQ(result.IsReplyValid(), c.result.IsReplyValid());
    EXPECT_EQ(result.ReadReply(), c.result.ReadReply());
    EXPECT_EQ(result.ReadDeliveryError(), c.result.ReadDeliveryError());
    EXPECT_EQ(rig.client.Requests().size(), c.sends);
    EXPECT_TRUE(log.EqualsIgnoringDebug(c.log));
  }
}

TEST(DscAsyncRequestMessenger, TraceOfAnsweredAndAbandonedRequests) {
  Rig answered({});
  LogCapture log;
  answered.messenger.GetValue(7, false);
  EXPECT_TRUE(log.Equals({Debug("Request ID is 'r1'"), Debug("Got request for ID 'r1'."),
                          Debug("returned from waiting for response with ID 'r1': got response")}));
  Rig abandoned({{SimulatedFault::NoAnswer, {}}});
  log.Clear();
  abandoned.messenger.SetConfiguration("c", pt::seconds(0), [] { return false; });
  EXPECT_TRUE(log.Equals({Debug("Request ID is 'r1'"),
                          Info("Aborted a OMB request because its result is no longer relevant"),
                          Debug("returned from waiting for response with ID 'r1': !isStillRelevant")}));
}

// The answer reaches the callback thread while the caller still holds the
// lock (it is just sending); it must be kept, and seen at the first wake-up.
TEST(DscAsyncRequestMessenger, AnswerArrivingWhileTheSenderHoldsTheLockIsKept) {
  Rig rig({});
  LogCapture log;
  bool first = true;
  const auto start = std::chrono::steady_clock::now();
  const Docket docket = rig.messenger.SetConfiguration("c", pt::seconds(5), [&] {
    while (first && rig.client.DeliveriesStarted() == 0)
      std::this_thread::sleep_for(1ms);
    first = false;
    return true;
  });
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
  EXPECT_TRUE(docket.IsAnswered());
  EXPECT_TRUE(log.EqualsIgnoringDebug({}));
}

// The answer comes in time, but the callback thread is still storing it (it
// holds the messenger's lock, here for 1.5 s) when the caller's 500 ms
// wait times out. The stored answer is the result: no time-out entries and
// no second request, for good and error answers alike.
TEST(DscAsyncRequestMessenger, AnswerStoredWhileTheWaitTimesOutIsTheResult) {
  const std::pair<SimulatedFault, std::vector<ExpectedEntry>> cases[] = {
      {SimulatedFault::None, {}},
      {SimulatedFault::Error, {Error("OMB error for request r1; response: ")}},
  };
  for (const auto& [fault, errors] : cases) {
    SCOPED_TRACE(static_cast<int>(fault));
    Rig rig({{fault, 0ms, 1500ms}}, 2);
    LogCapture log;
    const Docket docket = rig.messenger.Request("x", pt::milliseconds(500));
    rig.client.WaitUntilIdle();
    EXPECT_TRUE(docket.IsAnswered());
    EXPECT_EQ(docket.IsReplyValid(), fault == SimulatedFault::None);
    EXPECT_EQ(rig.client.Requests().size(), 1u);
    // The callback's error entry comes before it takes the lock, so it may
    // come before or after the caller's first entry: compared in any order.
    std::vector<std::pair<int, std::string>> expected = {
        {log4cplus::DEBUG_LOG_LEVEL, "Request ID is 'r1'"},
        {log4cplus::DEBUG_LOG_LEVEL, "Got request for ID 'r1'."},
        {log4cplus::DEBUG_LOG_LEVEL,
         "returned from waiting for response with ID 'r1': got response"}};
    for (const ExpectedEntry& e : errors)
      expected.emplace_back(e.level, e.text);
    std::vector<std::pair<int, std::string>> written;
    for (const auto& e : log.Entries())
      written.emplace_back(e.level, e.text);
    std::sort(expected.begin(), expected.end());
    std::sort(written.begin(), written.end());
    EXPECT_EQ(written, expected);
  }
}

TEST(DscAsyncRequestMessenger, LateAnswerIsDroppedAndLeavesTheRetryAlone) {
  // r1's answer comes at 1.3 s, while the retry r2 (answered at about 1.5 s) waits.
  Rig rig({{SimulatedFault::Late, 1300ms}, {SimulatedFault::None, 500ms}});
  LogCapture log;
  const Docket docket = rig.messenger.Request("x", pt::seconds(1));
  rig.client.WaitUntilIdle();
  EXPECT_EQ(docket.ReadReply(), "response to x for r2");
  EXPECT_TRUE(log.EqualsIgnoringDebug(TimedOut("00:00:01", "00:00:01")));
  const auto entries = log.Entries();
  EXPECT_EQ(std::count_if(entries.begin(), entries.end(),
                          [](const auto& e) { return e.text == "No docket for response ID 'r1'"; }),
            1);
}

// Intended asymmetry with SetValue: no retry, no docket, no error entry.
TEST(DscAsyncRequestMessenger, SetValueAndIgnoreResponseSendsOnceAndWaitsForNothing) {
  Rig refused({{SimulatedFault::EmptyId, {}}}, 3);
  LogCapture log;
  EXPECT_FALSE(refused.messenger.SetValueAndIgnoreResponse(7, Value(ivtFloat, 1.5), false));
  EXPECT_EQ(refused.client.Requests().size(), 1u);
  EXPECT_TRUE(log.Equals({Debug("Request ID is ''")}));
  Rig accepted({});
  log.Clear();
  EXPECT_TRUE(accepted.messenger.SetValueAndIgnoreResponse(7, Value(ivtFloat, 1.5), false));
  accepted.client.WaitUntilIdle();
  EXPECT_TRUE(log.Equals({Debug("Request ID is 'r1'"), Debug("No docket for response ID 'r1'")}));
}

// Intended: answered even when the device stack refuses.
TEST(DscAsyncRequestMessenger, SynchronousSetConfigurationIsAlwaysAnswered) {
  for (const bool accepted : {false, true}) {
    Rig rig({});
    rig.client.SetSynchronousResult(accepted);
    const Docket docket = rig.messenger.SetConfiguration(5, {}, true);
    EXPECT_TRUE(docket.IsAnswered() && docket.ReadReply().empty() && docket.ReadDeliveryError().empty());
    EXPECT_EQ(docket.IsReplyValid(), accepted);
  }
}

class TestError final : public Quor::IDeviceStackClient::IError {
 public:
  explicit TestError(bool failed)
      : m_failed(failed) {}
  bool IsFailed() const override { return m_failed; }
  std::int32_t GetCode() const override { return 1; }
  std::string GetDomain() const override { return "test"; }
  std::string GetText() const override { return m_failed ? "boom" : ""; }

 private:
  bool m_failed;
};

TEST(DscAsyncRequestMessenger, AnswersForUnknownIdsAreLoggedAndDropped) {
  using Handler = Quor::IDeviceStackClient::IResponseHandler;
  const std::pair<std::function<void(Handler&, const TestError&)>, std::string> cases[] = {
      {[](Handler& h, const auto& e) { h.OnResponse(nullptr, "q", "p", e); }, "; response: p"},
      {[](Handler& h, const auto& e) { h.OnRegisterApplication(nullptr, "q", e); }, ""},
      {[](Handler& h, const auto& e) { h.OnGetConfiguration(nullptr, "q", "p", e); }, "; config: p"},
      {[](Handler& h, const auto& e) { h.OnSetConfiguration(nullptr, "q", e); }, ""},
      {[](Handler& h, const auto& e) { h.OnGetValue(nullptr, "q", 4000000000u, "u", "p", e); },
       "; id: 4000000000; urn: u; value: p"},
      {[](Handler& h, const auto& e) { h.OnSetValue(nullptr, "q", 7, "u", "p", e); },
       "; id: 7; urn: u; value: p"},
  };
  Rig rig({});
  for (const auto& c : cases) {
    SCOPED_TRACE(c.second);
    LogCapture log;
    c.first(*rig.client.ResponseHandler(), TestError(true));
    EXPECT_TRUE(log.Equals({Error("OMB error for request q" + c.second),
                            Debug("No docket for response ID 'q'"), Error("Request q: Error 'boom'")}));
    log.Clear();
    c.first(*rig.client.ResponseHandler(), TestError(false));
    EXPECT_TRUE(log.Equals({Debug("No docket for response ID 'q'")}));
  }
}

TEST(RemoteRequestMessengerDeviceStack, ValueTextFollowsTheFormatFlag) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    std::string steps;  // I: internal format, D: default format, N: native
    TAVVALUE value;
    std::string text;
  } const cases[] = {
      {"", Value(ivtFloat, nan), "nan"},  // intended: no type prefix, the serialiser is not asked
      {"I", Value(ivtFloat, nan), "3.7:nan"},
      {"ID", Value(ivtFloat, nan), "nan"},
      {"IN", Value(ivtFloat, nan), "3.7:nan"},  // intended: native leaves the flag
      {"I", Value(ivtFloat, 21.5), "3.7:21.5"},
      {"ID", Value(ivtFloat, 21.5), "3:21.5"},
      {"N", Value(ivtFloat, 21.5), "3:21.5"},
      {"", Value(ivtPercent, nan), "1005:nan"},  // only ivtFloat is written by hand
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.steps + " " + c.text);
    SimulatedDeviceStackClient client;
    RemoteRequestMessengerDeviceStack stack(client);
    LogCapture log;
    for (const char step : c.steps) {
      if (step == 'I')
        stack.EnableInternalValueFormat();
      if (step == 'D')
        stack.EnableDefaultValueFormat();
      if (step == 'N')
        stack.EnableNativeFormat();
    }
    stack.SetValueAsync(3, c.value, true);
    EXPECT_EQ(client.Requests().back().text, c.text);
    EXPECT_EQ(client.InternalValueFormat(), c.steps.find_last_of("ID") != std::string::npos &&
                                                c.steps[c.steps.find_last_of("ID")] == 'I');
    EXPECT_EQ(client.ValueFormat(), c.steps.find('N') == std::string::npos ? "" : "Native");
    const auto entries = log.Entries();
    ASSERT_EQ(entries.size(), c.steps.find('I') == std::string::npos ? 0u : 1u);
    if (!entries.empty()) {
      EXPECT_EQ(entries[0].text, "Internal value format now enabled.");
      EXPECT_EQ(entries[0].source, "ZelObjectModel/RequestMessengerDeviceStack");
    }
  }
}

}  // namespace
}  // namespace Zel
