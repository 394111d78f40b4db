// Cost of converting one 2-octet float (DPT 9.001) through the DPT table,
// through the direct conversion by DPT code, and of the bare KNX stack
// calls underneath, with the logger at its usual ERROR level. Each
// benchmark also reports the heap allocations per call.
#include "AllocationCounter.h"

#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxValueConverter.h"

#include <benchmark/benchmark.h>

namespace {

constexpr std::uint32_t kDpt9001 = (9u << 16) | 1u;

const Zel::KnxValueConverter& Table() {
  static const Zel::KnxValueConverter* converter = [] {
    auto* c = new Zel::KnxValueConverter;
    c->Init();
    return c;
  }();
  return *converter;
}

KnxStack::GroupValue Temperature() {
  KnxStack::GroupValue group;
  group.SetAsFloat16(21.5);
  return group;
}

template <class Body>
void Run(benchmark::State& state, Body body) {
  Zel::Tests::AllocationCounter allocations;
  for (auto _ : state) {
    body();
  }
  state.counters["allocs/call"] =
      benchmark::Counter(static_cast<double>(allocations.Count()) / static_cast<double>(state.iterations()));
}

void BM_Bare_GetAsFloat16(benchmark::State& state) {
  const KnxStack::GroupValue group = Temperature();
  Run(state, [&] { benchmark::DoNotOptimize(group.GetAsFloat16()); });
}
BENCHMARK(BM_Bare_GetAsFloat16);

void BM_Bare_SetAsFloat16(benchmark::State& state) {
  KnxStack::GroupValue group;
  double value = 21.5;
  Run(state, [&] {
    benchmark::DoNotOptimize(value);
    group.SetAsFloat16(value);
    benchmark::ClobberMemory();
  });
}
BENCHMARK(BM_Bare_SetAsFloat16);

void BM_Table_FromKnxValue_9001(benchmark::State& state) {
  const KnxStack::GroupValue group = Temperature();
  TAVVALUE value;
  Run(state, [&] {
    Zel::KNXDPT dpt{16, 9, 1};
    benchmark::DoNotOptimize(Table().FromKnxValue(dpt, group, value));
  });
}
BENCHMARK(BM_Table_FromKnxValue_9001);

void BM_Table_ToKnxValue_9001(benchmark::State& state) {
  TAVVALUE value;
  value.ivt = ivtFloat;
  value.SetDouble(21.5);
  KnxStack::GroupValue group;
  Run(state, [&] {
    Zel::KNXDPT dpt{16, 9, 1};
    benchmark::DoNotOptimize(Table().ToKnxValue(dpt, value, group));
  });
}
BENCHMARK(BM_Table_ToKnxValue_9001);

void BM_Direct_GroupValueToTavValue_9001(benchmark::State& state) {
  const KnxStack::GroupValue group = Temperature();
  Run(state, [&] { benchmark::DoNotOptimize(Zel::GroupValueToTavValue(group, kDpt9001)); });
}
BENCHMARK(BM_Direct_GroupValueToTavValue_9001);

void BM_Direct_TavValueToGroupValue_9001(benchmark::State& state) {
  TAVVALUE value;
  value.ivt = ivtFloat;
  value.SetDouble(21.5);
  Run(state, [&] { benchmark::DoNotOptimize(Zel::TavValueToGroupValue(value, kDpt9001)); });
}
BENCHMARK(BM_Direct_TavValueToGroupValue_9001);

void BM_Table_Init(benchmark::State& state) {
  for (auto _ : state) {
    Zel::KnxValueConverter converter;
    benchmark::DoNotOptimize(converter.Init());
  }
}
BENCHMARK(BM_Table_Init);

}  // namespace

BENCHMARK_MAIN();
