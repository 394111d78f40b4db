// Many callers against one messenger over a device stack that loses,
// delays, duplicates, fails and refuses requests at random, with answers
// timed around the deadline. Meant to run under ThreadSanitizer too.
#include "LogCapture.h"
#include "Quor/SimulatedDeviceStackClient.h"
#include "TestValues.h"
#include "Zel/DscAsyncRequestMessenger.h"
#include "Zel/RequestMessengerDeviceStack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace Zel {
namespace {

using Quor::SimulatedFault;
using Quor::SimulatedRequest;

// What follows the last `marker` in `text`; empty without one.
std::string After(const std::string& text, const std::string& marker) {
  const std::size_t at = text.rfind(marker);
  return at == std::string::npos ? std::string() : text.substr(at + marker.size());
}

// The seed of the run: ZEL_STRESS_SEED when set (to repeat a failed run),
// otherwise a fresh one.
std::uint64_t StressSeed() {
  if (const char* seed = std::getenv("ZEL_STRESS_SEED"))
    return std::strtoull(seed, nullptr, 10);
  return (static_cast<std::uint64_t>(std::random_device()()) << 32) | std::random_device()();
}

// Answers timed around the 5 ms time-out (4 to 6 ms after the send), some
// of them stalled while the messenger stores them (its lock held for up to
// 2 ms), every fault of the simulated device stack, and the response
// handler unregistered and registered again while calls run. From the
// messenger's trace and the client's record of every request, each call is
// checked against the first of its requests whose answer was stored in a
// docket ("Got request for ID"): the call must return exactly that answer
// and send nothing more; a call without one must return nothing after all
// its attempts. Counted separately, and each must be zero:
//   lost at deadline  a stored good answer the caller did not return
//                     (it timed out and sent again, or gave up)
//   error re-sent     the same for a stored error answer (errors are final)
//   misrouted         a call returned an answer to another call's request
TEST(DscAsyncRequestMessengerStress, AnswersAroundTheDeadlineAreNeitherLostNorMisroutedNorResent) {
  constexpr unsigned int kCallers = 8, kCalls = 150, kAttempts = 3;
  const std::uint64_t seed = StressSeed();
  SCOPED_TRACE("ZEL_STRESS_SEED=" + std::to_string(seed));
  Quor::SimulatedDeviceStackClient::Options options;
  options.seed = seed;
  options.latency = std::chrono::milliseconds(4);
  options.latencyJitter = std::chrono::milliseconds(2);
  options.lateDelay = std::chrono::milliseconds(7);
  options.noAnswer = options.duplicate = 0.05;
  options.late = options.unknownId = 0.03;
  options.error = 0.10;
  options.emptyId = 0.02;
  options.stall = 0.10;
  options.stallFor = std::chrono::milliseconds(2);
  Quor::SimulatedDeviceStackClient client(options);
  RemoteRequestMessengerDeviceStack stack(client);
  DscAsyncRequestMessenger messenger(stack, boost::posix_time::milliseconds(5), kAttempts - 1);
  messenger.SetAsResponseHandler();
  Tests::LogCapture log(log4cplus::DEBUG_LOG_LEVEL);

  // A call is known by its object id or request text, unique per call.
  const auto callOf = [](const SimulatedRequest& r) { return r.kind == SimulatedRequest::Kind::Request ? r.text : std::to_string(r.objectId); };
  std::vector<std::vector<std::pair<std::string, Docket>>> calls(kCallers);
  std::atomic<unsigned int> running{kCallers};
  std::vector<std::thread> callers;
  for (unsigned int t = 0; t < kCallers; ++t) {
    callers.emplace_back([&, &mine = calls[t], t] {
      for (std::uint32_t id = t * 10000 + 1; id <= t * 10000 + kCalls; ++id) {
        const std::string text = "read " + std::to_string(id);
        switch (id % 3) {
          case 0: mine.emplace_back(std::to_string(id), messenger.GetValue(id, false)); break;
          case 1: mine.emplace_back(std::to_string(id), messenger.SetValue(id, Tests::Real(id), false)); break;
          default: mine.emplace_back(text, messenger.Request(text, boost::posix_time::milliseconds(5)));
        }
      }
      --running;
    });
  }
  unsigned int swaps = 0;
  for (; running.load() != 0; ++swaps) {
    std::this_thread::sleep_for(std::chrono::milliseconds(7));
    messenger.UnsetAsResponseHandler();
    std::this_thread::sleep_for(std::chrono::microseconds(300));
    messenger.SetAsResponseHandler();
  }
  for (std::thread& caller : callers)
    caller.join();
  client.WaitUntilIdle();
  messenger.UnsetAsResponseHandler();

  std::set<std::string> stored;  // request ids whose answer reached a docket
  unsigned int exhausted = 0;
  const std::string prefix = "Got request for ID '";
  for (const auto& entry : log.Entries()) {
    if (entry.text.compare(0, prefix.size(), prefix) == 0)
      stored.insert(entry.text.substr(prefix.size(), entry.text.size() - prefix.size() - 2));
    exhausted += entry.text == "Maximum number of retries (2) reached.";
  }
  const std::vector<SimulatedRequest> requests = client.Requests();
  std::map<std::string, std::vector<const SimulatedRequest*>> sent;  // call -> its requests in order
  std::map<std::string, const SimulatedRequest*> byId;
  unsigned int stalled = 0;
  for (const SimulatedRequest& request : requests) {
    sent[callOf(request)].push_back(&request);
    if (!request.requestId.empty())
      byId[request.requestId] = &request;
    stalled += request.stall.count() > 0;
  }
  unsigned int empty = 0, lostAtDeadline = 0, errorResent = 0, misrouted = 0;
  for (const auto& mine : calls) {
    for (const auto& [call, docket] : mine) {
      const std::vector<const SimulatedRequest*>& own = sent[call];
      // The request the call's answer names, from the reply or the error text.
      const std::string namedId = docket.IsReplyValid() ? After(docket.ReadReply(), " for ") : After(docket.ReadDeliveryError(), "simulated failure of ");
      if (docket.IsAnswered() && !(byId.count(namedId) != 0 && callOf(*byId[namedId]) == call)) {
        ++misrouted;
        ADD_FAILURE() << call << " returned " << docket.ReadReply() << docket.ReadDeliveryError();
        continue;
      }
      empty += !docket.IsAnswered();
      // The first request of the call whose answer was stored.
      const std::size_t first = std::find_if(own.begin(), own.end(), [&](const auto* r) { return stored.count(r->requestId) != 0; }) - own.begin();
      if (first == own.size()) {
        EXPECT_FALSE(docket.IsAnswered()) << call;
        EXPECT_EQ(own.size(), kAttempts) << call;
      } else if (!docket.IsAnswered() || namedId != own[first]->requestId || own.size() != first + 1) {
        ++(own[first]->fault == SimulatedFault::Error ? errorResent : lostAtDeadline);
        ADD_FAILURE() << call << ": the answer to " << own[first]->requestId << " was stored, but " << own.size() << " requests were sent and "
                      << (docket.IsAnswered() ? "the answer to " + namedId : std::string("nothing")) << " was returned";
      }
    }
  }
  EXPECT_EQ(exhausted, empty);
  std::cout << "deadline stress, seed " << seed << ": " << kCallers * kCalls << " calls, " << swaps << " handler swaps; " << requests.size() << " requests ("
            << stalled << " stalled); " << empty << " empty; lost at deadline " << lostAtDeadline << ", misrouted " << misrouted << ", error answers re-sent " << errorResent << std::endl;
  EXPECT_EQ(lostAtDeadline + misrouted + errorResent, 0u);
}

}  // namespace
}  // namespace Zel
