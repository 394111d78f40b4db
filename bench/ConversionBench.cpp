// Cost of converting one value per DPT family through the DPT table and
// through the direct conversion by DPT code, in both directions, next to
// the bare KNX stack calls underneath for 9.001 (the table's conversions
// are meant to cost at most 10x those), with the logger at its usual ERROR
// level. Each benchmark also reports the heap allocations per call
// (allocs/call); a conversion of a payload of at most 14 octets is meant to
// allocate nothing.
#include "AllocationCounter.h"

#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxValueConverter.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::uint32_t kDpt9001 = Zel::DptCode(Zel::KNXDPT{0, 9, 1});

Zel::KnxValueConverter& Table() {
  static Zel::KnxValueConverter* converter = [] {
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
  state.counters["allocs/call"] = benchmark::Counter(static_cast<double>(allocations.Count()) /
                                                     static_cast<double>(state.iterations()));
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
  Run(state, [] {
    Zel::KnxValueConverter converter;
    benchmark::DoNotOptimize(converter.Init());
  });
}
BENCHMARK(BM_Table_Init);

// One value of a DPT family, as it arrives from the bus.
struct Family {
  const char* name;
  std::uint16_t mainNumber;
  std::uint16_t subNumber;
  KnxStack::GroupValue group;
  // The stand-in's bare getter and setter of the family, for the simple
  // DPTs: the table path's cost over them is the library's own.
  void (*bareGet)(const KnxStack::GroupValue&) = nullptr;
  void (*bareSet)(KnxStack::GroupValue&) = nullptr;
};

using BareGet = void (*)(const KnxStack::GroupValue&);
using BareSet = void (*)(KnxStack::GroupValue&);

KnxStack::GroupValue Raw(std::vector<std::uint8_t> octets) {
  return KnxStack::GroupValue(KnxStack::BinaryData(octets.data(), octets.size()),
                              static_cast<std::uint32_t>(8 * octets.size()));
}

std::vector<Family> Families() {
  std::vector<Family> families;
  auto add = [&](const char* name, std::uint16_t mainNumber, std::uint16_t subNumber, BareSet set,
                 BareGet get = nullptr) {
    KnxStack::GroupValue group;
    set(group);
    families.push_back({name, mainNumber, subNumber, group, get, get ? set : nullptr});
  };
  add(
      "1.001", 1, 1, [](KnxStack::GroupValue& g) { g.SetAsBoolean(true); },
      [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsBoolean()); });
  add(
      "5.001", 5, 1, [](KnxStack::GroupValue& g) { g.SetAsUnsigned8(128); },
      [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsUnsigned8()); });
  add(
      "7.001", 7, 1, [](KnxStack::GroupValue& g) { g.SetAsUnsigned16(1234); },
      [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsUnsigned16()); });
  add(
      "9.001", 9, 1, [](KnxStack::GroupValue& g) { g.SetAsFloat16(21.5); },
      [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsFloat16()); });
  add("10.001", 10, 1,
      [](KnxStack::GroupValue& g) { g.SetAsTimeOfDay(12, 30, 15, KnxStack::GroupValue::Friday); });
  add("11.001", 11, 1, [](KnxStack::GroupValue& g) { g.SetAsDate(17, 5, 2024); });
  add(
      "12.001", 12, 1, [](KnxStack::GroupValue& g) { g.SetAsUnsigned32(123456); },
      [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsUnsigned32()); });
  add(
      "13.001", 13, 1, [](KnxStack::GroupValue& g) { g.SetAsSigned32(-123456); },
      [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsSigned32()); });
  add(
      "14.068", 14, 68, [](KnxStack::GroupValue& g) { g.SetAsFloat32(21.5f); },
      [](const KnxStack::GroupValue& g) { benchmark::DoNotOptimize(g.GetAsFloat32()); });
  add("16.001", 16, 1, [](KnxStack::GroupValue& g) { g.SetAsString14("Hallo Welt"); });
  // All 14 octets used (the setter cuts the 15th character).
  add("16.001/14", 16, 1, [](KnxStack::GroupValue& g) { g.SetAsString14("Hallo Welt 1234"); });
  // 14 Latin-1 characters that take two octets each in UTF-8 (a-umlaut).
  add("16.001/14-umlauts", 16, 1,
      [](KnxStack::GroupValue& g) { g.SetAsString14(std::string(14, '\xE4')); });
  // 17.05.2024 (Friday) 12:30:15, no fault, working day, no DST.
  families.push_back({"19.001", 19, 1, Raw({124, 5, 17, (5 << 5) | 12, 30, 15, 0x40, 0x00})});
  families.push_back({"232.600", 232, 600, Raw({0xFF, 0x80, 0x00})});
  return families;
}

Zel::KNXDPT DptOf(const Family& family) {
  Zel::KNXDPT dpt;
  dpt.mainNumber = family.mainNumber;
  dpt.subNumber = family.subNumber;
  dpt.bitSize = static_cast<std::uint8_t>(family.group.GetDefinedSize());
  return dpt;
}

std::uint32_t CodeOf(const Family& family) {
  return static_cast<std::uint32_t>(
      Zel::DptCode(Zel::KNXDPT{0, family.mainNumber, family.subNumber}));
}

// The value the table decodes from the family's group value: the input of
// the table's encoding benchmark, so that it has the type the row expects.
TAVVALUE Decoded(const Family& family) {
  Zel::KNXDPT dpt = DptOf(family);
  TAVVALUE value;
  if (!Table().FromKnxValue(dpt, family.group, value)) {
    std::abort();
  }
  return value;
}

void TableFromKnxValue(benchmark::State& state, const Family& family) {
  TAVVALUE value;
  Run(state, [&] {
    Zel::KNXDPT dpt = DptOf(family);
    benchmark::DoNotOptimize(Table().FromKnxValue(dpt, family.group, value));
  });
}

void TableToKnxValue(benchmark::State& state, const Family& family) {
  const TAVVALUE value = Decoded(family);
  KnxStack::GroupValue group;
  Run(state, [&] {
    Zel::KNXDPT dpt = DptOf(family);
    benchmark::DoNotOptimize(Table().ToKnxValue(dpt, value, group));
  });
}

void DirectGroupValueToTavValue(benchmark::State& state, const Family& family) {
  const std::uint32_t code = CodeOf(family);
  if (!Zel::GroupValueToTavValue(family.group, code)) {
    state.SkipWithError("refused");
  }
  Run(state, [&] { benchmark::DoNotOptimize(Zel::GroupValueToTavValue(family.group, code)); });
}

void DirectTavValueToGroupValue(benchmark::State& state, const Family& family) {
  // The direct decoding's value: its types differ from the table's for some
  // DPTs (10.001 is ivtDayTime here, ivtTime in the table).
  const std::uint32_t code = CodeOf(family);
  const auto decoded = Zel::GroupValueToTavValue(family.group, code);
  const TAVVALUE value = decoded ? *decoded : TAVVALUE();
  if (!Zel::TavValueToGroupValue(value, code)) {
    state.SkipWithError("refused");
  }
  Run(state, [&] { benchmark::DoNotOptimize(Zel::TavValueToGroupValue(value, code)); });
}

void BareGetter(benchmark::State& state, const Family& family) {
  Run(state, [&] { family.bareGet(family.group); });
}

void BareSetter(benchmark::State& state, const Family& family) {
  KnxStack::GroupValue group;
  Run(state, [&] {
    family.bareSet(group);
    benchmark::ClobberMemory();
  });
}

void RegisterFamilies() {
  using Body = void (*)(benchmark::State&, const Family&);
  const std::pair<const char*, Body> bodies[] = {
      {"Table_FromKnxValue/", TableFromKnxValue},
      {"Table_ToKnxValue/", TableToKnxValue},
      {"Direct_GroupValueToTavValue/", DirectGroupValueToTavValue},
      {"Direct_TavValueToGroupValue/", DirectTavValueToGroupValue},
  };
  for (const Family& family : Families()) {
    if (family.bareGet != nullptr) {
      benchmark::RegisterBenchmark(
          (std::string("Bare_Get/") + family.name).c_str(),
          [family](benchmark::State& state) { BareGetter(state, family); });
      benchmark::RegisterBenchmark(
          (std::string("Bare_Set/") + family.name).c_str(),
          [family](benchmark::State& state) { BareSetter(state, family); });
    }
    for (const auto& body : bodies) {
      benchmark::RegisterBenchmark(
          (body.first + std::string(family.name)).c_str(),
          [family, run = body.second](benchmark::State& state) { run(state, family); });
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  RegisterFamilies();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
