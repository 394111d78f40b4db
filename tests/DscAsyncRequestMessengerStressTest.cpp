// Many callers against one messenger over a device stack that loses,
// delays, duplicates, fails and refuses requests at random (seeded). Every
// call must end with its own request's answer, an error answer for its own
// request, or an empty docket after all its attempts. Meant to run under
// ThreadSanitizer too.
#include "LogCapture.h"
#include "Quor/SimulatedDeviceStackClient.h"
#include "Zel/DscAsyncRequestMessenger.h"
#include "Zel/RequestMessengerDeviceStack.h"

#include <gtest/gtest.h>

#include <chrono>
#include <iostream>
#include <map>
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

TEST(DscAsyncRequestMessengerStress, EveryCallGetsItsOwnAnswerOrGivesUpAfterAllAttempts) {
  constexpr unsigned int kCallers = 16, kCalls = 500, kAttempts = 3;
  Quor::SimulatedDeviceStackClient::Options options;
  options.seed = 20240611;
  options.latencyJitter = std::chrono::milliseconds(2);
  options.lateDelay = std::chrono::milliseconds(30);
  options.noAnswer = 0.10;
  options.late = options.duplicate = options.error = 0.05;
  options.emptyId = 0.02;
  options.unknownId = 0.03;
  Quor::SimulatedDeviceStackClient client(options);
  RemoteRequestMessengerDeviceStack stack(client);
  DscAsyncRequestMessenger messenger(stack, boost::posix_time::milliseconds(20), kAttempts - 1);
  messenger.SetAsResponseHandler();
  Tests::LogCapture log(log4cplus::ERROR_LOG_LEVEL);

  // Each call is known by what its reply must name: "value of <id>" or "response to read <id>".
  std::vector<std::vector<std::pair<std::string, Docket>>> calls(kCallers);
  const auto start = std::chrono::steady_clock::now();
  std::vector<std::thread> callers;
  for (unsigned int t = 0; t < kCallers; ++t) {
    callers.emplace_back([&messenger, &mine = calls[t], t] {
      for (std::uint32_t id = t * 10000; id < t * 10000 + kCalls; ++id) {
        const std::string text = "read " + std::to_string(id);
        mine.emplace_back(id % 2 ? "response to " + text : "value of " + std::to_string(id),
                          id % 2 ? messenger.Request(text, {}) : messenger.GetValue(id, false));
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  const auto elapsed = std::chrono::steady_clock::now() - start;
  client.WaitUntilIdle();
  messenger.UnsetAsResponseHandler();

  std::map<std::string, const SimulatedRequest*> byId;  // request id -> request
  std::map<std::string, unsigned int> sends;            // call -> requests sent for it
  const std::vector<SimulatedRequest> requests = client.Requests();
  auto callOf = [](const SimulatedRequest& r) {
    return r.kind == SimulatedRequest::Kind::GetValue ? "value of " + std::to_string(r.objectId)
                                                      : "response to " + r.text;
  };
  for (const SimulatedRequest& request : requests) {
    ++sends[callOf(request)];
    if (!request.requestId.empty()) byId[request.requestId] = &request;
  }
  const auto sentFor = [&](const std::string& requestId, const std::string& call) {
    return byId.count(requestId) != 0 && callOf(*byId[requestId]) == call;
  };
  unsigned int good = 0, failed = 0, empty = 0;
  for (const auto& mine : calls) {
    for (const auto& [call, docket] : mine) {
      const std::string& reply = docket.ReadReply();
      const std::string requestId = After(reply, " for ");
      if (!docket.IsAnswered()) {
        ++empty;
        EXPECT_EQ(sends[call], kAttempts) << call;
      } else if (docket.IsReplyValid()) {
        ++good;
        EXPECT_TRUE(sentFor(requestId, call) && reply == call + " for " + requestId)
            << call << ": " << reply;
      } else {
        ++failed;
        const std::string errorId = After(docket.ReadDeliveryError(), "simulated failure of ");
        EXPECT_TRUE(sentFor(errorId, call) && byId[errorId]->fault == SimulatedFault::Error) << call;
      }
    }
  }
  EXPECT_EQ(log.EntriesAtLeast(log4cplus::ERROR_LOG_LEVEL).size(), log.Entries().size());
  unsigned int exhausted = 0;
  for (const auto& entry : log.Entries())
    exhausted += entry.text == "Maximum number of retries (2) reached.";
  EXPECT_EQ(exhausted, empty);

  std::map<SimulatedFault, unsigned int> faults;
  for (const SimulatedRequest& request : requests) ++faults[request.fault];
  std::cout << "stress: " << kCallers << " callers x " << kCalls << " calls in "
            << std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count() << " ms; "
            << requests.size() << " requests (no answer " << faults[SimulatedFault::NoAnswer]
            << ", late " << faults[SimulatedFault::Late] << ", duplicate "
            << faults[SimulatedFault::Duplicate] << ", error " << faults[SimulatedFault::Error]
            << ", empty id " << faults[SimulatedFault::EmptyId] << ", unknown id "
            << faults[SimulatedFault::UnknownId] << "); " << good << " answered, " << failed
            << " error answers, " << empty << " empty after " << kAttempts << " attempts" << std::endl;
}

}  // namespace
}  // namespace Zel
