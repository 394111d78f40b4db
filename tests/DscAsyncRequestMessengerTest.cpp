// Blocking requests through DscAsyncRequestMessenger over a simulated
// device stack: answers, time-outs and retries, late, failed and refused
// requests, relevance, and the log entries each path writes.
#include "LogCapture.h"
#include "Quor/SimulatedDeviceStackClient.h"
#include "TestValues.h"
#include "Zel/DscAsyncRequestMessenger.h"
#include "Zel/RequestMessengerDeviceStack.h"

#include <gtest/gtest.h>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <algorithm>
#include <chrono>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace Zel {
namespace {

using Quor::SimulatedDeviceStackClient;
using Quor::SimulatedFault;
using Plan = SimulatedDeviceStackClient::Plan;
using Tests::Debug, Tests::Error, Tests::ExpectedEntry, Tests::Info, Tests::LogCapture, Tests::Real, Tests::Warn;
using namespace std::chrono_literals;
namespace pt = boost::posix_time;

// Plans of the first requests, in order; later requests are answered at once.
// The default time-out (1 s) lets an answer arrive even on a loaded machine
// or under emulation; tests of time-outs plan lost answers.
struct Rig {
  static SimulatedDeviceStackClient::Options Scripted(std::vector<Plan> plans) {
    SimulatedDeviceStackClient::Options options;
    options.rule = [plans](const Quor::SimulatedRequest& r) { return r.sequence <= plans.size() ? plans[r.sequence - 1] : Plan(); };
    return options;
  }
  explicit Rig(std::vector<Plan> plans, unsigned int retries = 1)
      : client(Scripted(std::move(plans))), messenger(stack, pt::seconds(1), retries) { messenger.SetAsResponseHandler(); }
  ~Rig() { messenger.UnsetAsResponseHandler(); }
  SimulatedDeviceStackClient client;
  RemoteRequestMessengerDeviceStack stack{client};
  DscAsyncRequestMessenger messenger;
};
using Call = std::function<Docket(Rig&)>;

const Call GetValue7 = [](Rig& r) { return r.messenger.GetValue(7, true); };
std::vector<ExpectedEntry> TimedOut(const std::string& waited, const std::string& passed) {
  return {Warn("Timeout (" + waited + ") occured for request ID 'r1'"), Error("No response received for ID 'r1' with timeout " + passed + ", retrying")};
}
std::vector<ExpectedEntry> Exhausted(std::vector<ExpectedEntry> entries, const char* retries) {
  entries.push_back(Error(std::string("Maximum number of retries (") + retries + ") reached."));
  return entries;
}
const Docket kNone;

TEST(DscAsyncRequestMessenger, RequestOutcomes) {
  const Plan none{SimulatedFault::NoAnswer, {}}, empty{SimulatedFault::EmptyId, {}}, slow{SimulatedFault::None, 60ms};
  const ExpectedEntry emptyId = Error("Request ID is empty, retrying");
  const auto fields = [](const Docket& d) { return std::make_tuple(d.IsAnswered(), d.IsReplyValid(), d.ReadReply(), d.ReadDeliveryError()); };
  EXPECT_EQ(fields(kNone), std::make_tuple(false, false, "", ""));  // what a request without an answer gives
  int calls = 0;                                                    // of the relevance predicate
  struct Case {
    const char* label;
    std::vector<Plan> plans;
    unsigned int retries;
    Call call;
    Docket result;
    std::size_t sends;
    std::vector<ExpectedEntry> log;  // above DEBUG
  } const cases[] = {
      {"RegisterApplication", {}, 1, [](Rig& r) { return r.messenger.RegisterApplication("a", "1", "z"); }, {"", "", true, true}, 1, {}},
      {"RegisterApplication, time-out", {none}, 0, [](Rig& r) { return r.messenger.RegisterApplication("a", "1", "z"); }, kNone, 1, Exhausted(TimedOut("00:00:01", "00:00:00"), "0")},
      {"SetValue", {}, 1, [](Rig& r) { return r.messenger.SetValue(9, Real(1.5), true); }, {"set 9 to 3:1.5 for r1", "", true, true}, 1, {}},
      {"GetValue", {}, 1, GetValue7, {"value of 7 for r1", "", true, true}, 1, {}},
      {"Request", {}, 1, [](Rig& r) { return r.messenger.Request("x", pt::seconds(0)); }, {"response to x for r1", "", true, true}, 1, {}},
      {"SetConfiguration", {}, 1, [](Rig& r) { return r.messenger.SetConfiguration("c", pt::seconds(0), [] { return true; }); }, {"", "", true, true}, 1, {}},
      // Intended: the synchronous SetConfiguration is answered even when the device stack refuses.
      {"synchronous SetConfiguration, accepted", {}, 1, [](Rig& r) { return r.messenger.SetConfiguration(5, {}, true); }, {"", "", true, true}, 0, {}},
      {"synchronous SetConfiguration, refused", {}, 1, [](Rig& r) { r.client.SetSynchronousResult(false); return r.messenger.SetConfiguration(5, {}, true); }, {"", "", false, true}, 0, {}},
      // Intended: the WARN names the time-out waited for, the ERROR the one passed (zero: default).
      {"time-out, retried under a new id", {none}, 1, GetValue7, {"value of 7 for r2", "", true, true}, 2, TimedOut("00:00:01", "00:00:00")},
      {"error answer, not retried", {{SimulatedFault::Error, {}}}, 3, GetValue7, {"", "simulated failure of r1", false, true}, 1, {Error("OMB error for request r1; id: 7; urn: urn:simulated:object:7; value: ")}},
      {"explicit time-out", {none}, 0, [](Rig& r) { return r.messenger.Request("x", pt::milliseconds(30)); }, kNone, 1, Exhausted(TimedOut("00:00:00.030000", "00:00:00.030000"), "0")},
      {"negative infinity: no wait", {none}, 0, [](Rig& r) { return r.messenger.Request("x", pt::neg_infin); }, kNone, 1, Exhausted(TimedOut("-infinity", "-infinity"), "0")},
      {"not-a-date-time: no wait", {none}, 0, [](Rig& r) { return r.messenger.Request("x", pt::not_a_date_time); }, kNone, 1, Exhausted(TimedOut("not-a-date-time", "not-a-date-time"), "0")},
      {"positive infinity: no deadline", {slow}, 0, [](Rig& r) { return r.messenger.Request("x", pt::pos_infin); }, {"response to x for r1", "", true, true}, 1, {}},
      {"a time-out below a second", {slow}, 0, [](Rig& r) { return r.messenger.Request("x", pt::milliseconds(900)); }, {"response to x for r1", "", true, true}, 1, {}},
      {"centuries: no overflow", {slow}, 0, [](Rig& r) { return r.messenger.Request("x", pt::hours(5000000)); }, {"response to x for r1", "", true, true}, 1, {}},
      // Intended: the count given is retries; one attempt more is made, and empty ids do not wait.
      {"empty id, no retries", {empty}, 0, GetValue7, kNone, 1, Exhausted({emptyId}, "0")},
      {"empty ids, two retries", {empty, empty, empty}, 2, GetValue7, kNone, 3, Exhausted({emptyId, emptyId, emptyId}, "2")},
      {"irrelevant before the first wait", {none}, 2, [](Rig& r) { return r.messenger.SetConfiguration("c", pt::seconds(0), [] { return false; }); }, kNone, 1, {Info("Aborted a OMB request because its result is no longer relevant")}},
      {"irrelevant after the time-out", {none}, 2, [&calls](Rig& r) { return r.messenger.SetConfiguration("c", pt::seconds(0), [&calls] { return calls++ == 0; }); }, kNone, 1, {Warn("Timeout (00:00:01) occured for request ID 'r1'")}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    Rig rig(c.plans, c.retries);
    LogCapture log;
    EXPECT_EQ(fields(c.call(rig)), fields(c.result));
    EXPECT_EQ(rig.client.Requests().size(), c.sends);
    EXPECT_TRUE(log.EqualsIgnoringDebug(c.log));
  }
}

// The answered request's trace is pinned by AnswerStoredWhileTheWaitTimesOutIsTheResult.
TEST(DscAsyncRequestMessenger, TraceOfAnAbandonedRequest) {
  Rig rig({{SimulatedFault::NoAnswer, {}}});
  LogCapture log;
  rig.messenger.SetConfiguration("c", pt::seconds(0), [] { return false; });
  EXPECT_TRUE(log.Equals({Debug("Request ID is 'r1'"), Info("Aborted a OMB request because its result is no longer relevant"), Debug("returned from waiting for response with ID 'r1': !isStillRelevant")}));
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
  // The callback's error entry comes before it takes the lock, so it may
  // come before or after the caller's first entry: compared in any order.
  const auto sorted = [](const auto& entries) {
    std::vector<std::pair<int, std::string>> pairs;
    for (const auto& e : entries)
      pairs.emplace_back(e.level, e.text);
    std::sort(pairs.begin(), pairs.end());
    return pairs;
  };
  for (const SimulatedFault fault : {SimulatedFault::None, SimulatedFault::Error}) {
    SCOPED_TRACE(static_cast<int>(fault));
    Rig rig({{fault, 0ms, 1500ms}}, 2);
    LogCapture log;
    const Docket docket = rig.messenger.Request("x", pt::milliseconds(500));
    rig.client.WaitUntilIdle();
    EXPECT_TRUE(docket.IsAnswered());
    EXPECT_EQ(docket.IsReplyValid(), fault == SimulatedFault::None);
    EXPECT_EQ(rig.client.Requests().size(), 1u);
    std::vector<ExpectedEntry> expected = {Debug("Request ID is 'r1'"), Debug("Got request for ID 'r1'."), Debug("returned from waiting for response with ID 'r1': got response")};
    if (fault == SimulatedFault::Error)
      expected.push_back(Error("OMB error for request r1; response: "));
    EXPECT_EQ(sorted(log.Entries()), sorted(expected));
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
  EXPECT_EQ(std::count_if(entries.begin(), entries.end(), [](const auto& e) { return e.text == "No docket for response ID 'r1'"; }), 1);
}

// Intended asymmetry with SetValue: no retry, no docket, no error entry.
TEST(DscAsyncRequestMessenger, SetValueAndIgnoreResponseSendsOnceAndWaitsForNothing) {
  Rig refused({{SimulatedFault::EmptyId, {}}}, 3), accepted({});
  LogCapture log;
  EXPECT_FALSE(refused.messenger.SetValueAndIgnoreResponse(7, Real(1.5), false));
  EXPECT_EQ(refused.client.Requests().size(), 1u);
  EXPECT_TRUE(log.Equals({Debug("Request ID is ''")}));
  log.Clear();
  EXPECT_TRUE(accepted.messenger.SetValueAndIgnoreResponse(7, Real(1.5), false));
  accepted.client.WaitUntilIdle();
  EXPECT_TRUE(log.Equals({Debug("Request ID is 'r1'"), Debug("No docket for response ID 'r1'")}));
}

struct TestError final : Quor::IDeviceStackClient::IError {
  explicit TestError(bool failed)
      : m_failed(failed) {}
  bool IsFailed() const override { return m_failed; }
  std::int32_t GetCode() const override { return 1; }
  std::string GetDomain() const override { return "test"; }
  std::string GetText() const override { return m_failed ? "boom" : ""; }
  bool m_failed;
};

TEST(DscAsyncRequestMessenger, AnswersForUnknownIdsAreLoggedAndDropped) {
  using Handler = Quor::IDeviceStackClient::IResponseHandler;
  const std::pair<std::function<void(Handler&, const TestError&)>, std::string> cases[] = {
      {[](Handler& h, const auto& e) { h.OnResponse(nullptr, "q", "p", e); }, "; response: p"},
      {[](Handler& h, const auto& e) { h.OnRegisterApplication(nullptr, "q", e); }, ""},
      {[](Handler& h, const auto& e) { h.OnGetConfiguration(nullptr, "q", "p", e); }, "; config: p"},
      {[](Handler& h, const auto& e) { h.OnSetConfiguration(nullptr, "q", e); }, ""},
      {[](Handler& h, const auto& e) { h.OnGetValue(nullptr, "q", 4000000000u, "u", "p", e); }, "; id: 4000000000; urn: u; value: p"},
      {[](Handler& h, const auto& e) { h.OnSetValue(nullptr, "q", 7, "u", "p", e); }, "; id: 7; urn: u; value: p"},
  };
  Rig rig({});
  for (const auto& [deliver, details] : cases) {
    SCOPED_TRACE(details);
    LogCapture log;
    deliver(*rig.client.ResponseHandler(), TestError(true));
    EXPECT_TRUE(log.Equals({Error("OMB error for request q" + details), Debug("No docket for response ID 'q'"), Error("Request q: Error 'boom'")}));
    log.Clear();
    deliver(*rig.client.ResponseHandler(), TestError(false));
    EXPECT_TRUE(log.Equals({Debug("No docket for response ID 'q'")}));
  }
}

TEST(DscAsyncRequestMessenger, HandlerAndNativeFormatReachTheDeviceStack) {
  Rig rig({});
  EXPECT_NE(rig.client.ResponseHandler(), nullptr);
  rig.messenger.EnableNativeFormat();
  EXPECT_EQ(rig.client.ValueFormat(), "Native");
  rig.messenger.UnsetAsResponseHandler();
  EXPECT_EQ(rig.client.ResponseHandler(), nullptr);
}

TEST(RemoteRequestMessengerDeviceStack, ValueTextFollowsTheFormatFlag) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::map<char, void (RemoteRequestMessengerDeviceStack::*)()> enable = {
      {'I', &RemoteRequestMessengerDeviceStack::EnableInternalValueFormat},
      {'D', &RemoteRequestMessengerDeviceStack::EnableDefaultValueFormat},
      {'N', &RemoteRequestMessengerDeviceStack::EnableNativeFormat},
  };
  const std::tuple<std::string, TAVVALUE, std::string> cases[] = {
      // steps (keys of `enable`), value, text sent
      {"", Real(nan), "nan"},  // intended: no type prefix, the serialiser is not asked
      {"I", Real(nan), "3.7:nan"},
      {"ID", Real(nan), "nan"},
      {"IN", Real(nan), "3.7:nan"},  // intended: native leaves the flag
      {"I", Real(21.5), "3.7:21.5"},
      {"ID", Real(21.5), "3:21.5"},
      {"N", Real(21.5), "3:21.5"},
      {"", Real(nan, ivtPercent), "1005:nan"},  // only ivtFloat is written by hand
  };
  for (const auto& [steps, value, text] : cases) {
    SCOPED_TRACE(steps + " " + text);
    SimulatedDeviceStackClient client;
    RemoteRequestMessengerDeviceStack stack(client);
    LogCapture log;
    for (const char step : steps)
      (stack.*enable.at(step))();
    stack.SetValueAsync(3, value, true);
    EXPECT_EQ(client.Requests().back().text, text);
    const std::size_t lastFlag = steps.find_last_of("ID");
    EXPECT_EQ(client.InternalValueFormat(), lastFlag != std::string::npos && steps[lastFlag] == 'I');
    EXPECT_EQ(client.ValueFormat(), steps.find('N') == std::string::npos ? "" : "Native");
    const auto entries = log.Entries();
    ASSERT_EQ(entries.size(), steps.find('I') == std::string::npos ? 0u : 1u);
    for (const auto& e : entries)
      EXPECT_EQ(e.source + ": " + e.text, "ZelObjectModel/RequestMessengerDeviceStack: Internal value format now enabled.");
  }
}

}  // namespace
}  // namespace Zel
