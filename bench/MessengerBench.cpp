// Cost of one blocking request through DscAsyncRequestMessenger against a
// simulated device stack that answers at once, next to its floor: a bare
// two-thread condition-variable ping-pong, the same two hand-overs between
// threads (caller to callback thread and back) with nothing else.
#include <benchmark/benchmark.h>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <memory>
#include <thread>

#include "Quor/SimulatedDeviceStackClient.h"
#include "Zel/DscAsyncRequestMessenger.h"
#include "Zel/RequestMessengerDeviceStack.h"

namespace {

void ConditionVariablePingPong(benchmark::State& state) {
  boost::mutex mutex;
  boost::condition_variable signal;
  int turn = 0;       // guarded by mutex: 1 while the partner's turn
  bool stop = false;  // guarded by mutex
  std::thread partner([&] {
    for (;;) {
      {
        boost::unique_lock<boost::mutex> lock(mutex);
        while (turn != 1 && !stop)
          signal.wait(lock);
        if (stop)
          return;
        turn = 0;
      }
      signal.notify_one();
    }
  });
  for (auto _ : state) {
    {
      const boost::lock_guard<boost::mutex> lock(mutex);
      turn = 1;
    }
    signal.notify_one();
    boost::unique_lock<boost::mutex> lock(mutex);
    while (turn != 0)
      signal.wait(lock);
  }
  {
    const boost::lock_guard<boost::mutex> lock(mutex);
    stop = true;
  }
  signal.notify_all();
  partner.join();
}
BENCHMARK(ConditionVariablePingPong)->UseRealTime();

Quor::SimulatedDeviceStackClient::Options Unrecorded() {
  Quor::SimulatedDeviceStackClient::Options options;
  options.keepRequests = false;
  return options;
}

struct Rig {
  Quor::SimulatedDeviceStackClient client{Unrecorded()};
  Zel::RemoteRequestMessengerDeviceStack stack{client};
  Zel::DscAsyncRequestMessenger messenger{stack, boost::posix_time::seconds(5), 0};
  Rig() { messenger.SetAsResponseHandler(); }
  ~Rig() { messenger.UnsetAsResponseHandler(); }
};

void MessengerGetValueRoundTrip(benchmark::State& state) {
  Rig rig;
  for (auto _ : state) {
    const Zel::Docket docket = rig.messenger.GetValue(7, false);
    if (!docket.IsReplyValid())
      state.SkipWithError("no answer");
    benchmark::DoNotOptimize(docket.ReadReply().data());
  }
}
BENCHMARK(MessengerGetValueRoundTrip)->UseRealTime();

// Requests per second with several callers sharing one messenger.
std::unique_ptr<Rig> g_sharedRig;

void MessengerConcurrentGetValue(benchmark::State& state) {
  if (state.thread_index() == 0)
    g_sharedRig = std::make_unique<Rig>();
  const auto id = static_cast<std::uint32_t>(state.thread_index());
  for (auto _ : state) {
    const Zel::Docket docket = g_sharedRig->messenger.GetValue(id, false);
    if (!docket.IsReplyValid())
      state.SkipWithError("no answer");
  }
  state.SetItemsProcessed(state.iterations());
  if (state.thread_index() == 0)
    g_sharedRig.reset();
}
BENCHMARK(MessengerConcurrentGetValue)->Threads(1)->Threads(4)->Threads(16)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
