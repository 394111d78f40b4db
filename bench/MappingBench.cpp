// Cost of the object-model id mapping: building the ids of communication
// objects and parameters, decoding them back, and the per-DPT value types
// and default values, with the heap allocations per call. Also the cost of
// a timed scope (MeasureDuration) at the usual ERROR level, where it writes
// nothing.
#include "AllocationCounter.h"

#include "Zel/KnxDpt.h"
#include "Zel/KnxOmbMapping.h"
#include "Zel/MeasureDuration.h"

#include <benchmark/benchmark.h>

#include <cstdint>

namespace {

using Zel::KnxOmbMapping;

const Zel::LogicalDeviceId kLd{1};

template <class Body>
void Run(benchmark::State& state, Body body) {
  Zel::Tests::AllocationCounter allocations;
  for (auto _ : state) {
    body();
  }
  state.counters["allocs/call"] = benchmark::Counter(static_cast<double>(allocations.Count()) /
                                                     static_cast<double>(state.iterations()));
}

void BM_GetCoValueObjModelId(benchmark::State& state) {
  std::uint16_t co = 1;
  Run(state, [&] {
    benchmark::DoNotOptimize(KnxOmbMapping::GetCoValueObjModelId(co, kLd));
    co = static_cast<std::uint16_t>(co % 4095 + 1);
  });
}
BENCHMARK(BM_GetCoValueObjModelId);

void BM_GetParameterValueObjModelId(benchmark::State& state) {
  std::uint16_t number = 1;
  Run(state, [&] {
    benchmark::DoNotOptimize(
        KnxOmbMapping::GetParameterValueObjModelId(number, kLd, Zel::ParameterType::Number));
    number = static_cast<std::uint16_t>(number % 200 + 1);
  });
}
BENCHMARK(BM_GetParameterValueObjModelId);

void BM_GetCoNumberFromObjModelId(benchmark::State& state) {
  KnxOmbMapping::ObjModelId id = 100101;
  Run(state, [&] {
    benchmark::DoNotOptimize(KnxOmbMapping::GetCoNumberFromObjModelId(id, kLd));
    id = id >= 108289 ? 100101 : id + 2;
  });
}
BENCHMARK(BM_GetCoNumberFromObjModelId);

void BM_IsParameterChannel(benchmark::State& state) {
  KnxOmbMapping::ObjModelId id = 170002;
  Run(state, [&] {
    benchmark::DoNotOptimize(KnxOmbMapping::IsParameterChannel(id));
    id = id >= 170400 ? 170002 : id + 2;
  });
}
BENCHMARK(BM_IsParameterChannel);

void BM_GetParameterTypeAndNumberFromObjModelId(benchmark::State& state) {
  KnxOmbMapping::ObjModelId id = 170003;
  Run(state, [&] {
    benchmark::DoNotOptimize(KnxOmbMapping::GetParameterTypeFromObjModelId(id, kLd));
    benchmark::DoNotOptimize(KnxOmbMapping::GetParameterNumberFromObjModelId(id, kLd));
    id = id >= 170401 ? 170003 : id + 2;
  });
}
BENCHMARK(BM_GetParameterTypeAndNumberFromObjModelId);

void BM_GetIvtFromDpt(benchmark::State& state) {
  const auto code = static_cast<std::uint32_t>(Zel::DptCode(Zel::KNXDPT{0, 9, 1}));
  Run(state, [&] { benchmark::DoNotOptimize(KnxOmbMapping::GetIvtFromDpt(code)); });
}
BENCHMARK(BM_GetIvtFromDpt);

void BM_GetDefaultValueFromDpt(benchmark::State& state) {
  const auto code = static_cast<std::uint32_t>(Zel::DptCode(Zel::KNXDPT{0, 9, 1}));
  Run(state, [&] { benchmark::DoNotOptimize(KnxOmbMapping::GetDefaultValueFromDpt(code, true)); });
}
BENCHMARK(BM_GetDefaultValueFromDpt);

// A timed scope as every decoding by DPT code has one, at ERROR.
void BM_MeasureDurationAtError(benchmark::State& state) {
  Zel::GetGlobalDefaultLogger().setLogLevel(log4cplus::ERROR_LOG_LEVEL);
  Run(state, [] {
    const Zel::MeasureDuration timer("Decoding a KNX value took ",
                                     boost::timer::nanosecond_type(100000000));
    benchmark::ClobberMemory();
  });
}
BENCHMARK(BM_MeasureDurationAtError);

}  // namespace

BENCHMARK_MAIN();
