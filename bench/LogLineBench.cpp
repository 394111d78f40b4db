// Cost of one line of a bus log in `zelknx decode -`: read alone
// (ReadBusLine), and read and decoded to the text line (DecodeLogLine, with
// a group address list), over a mix of the forms that BusLine.h reads and
// of lines that hold no telegram. The command itself is meant to do at
// least 500,000 lines a second on one core with text output;
// scripts/decode-bench.sh measures it on a generated log.
#include "BusLine.h"
#include "GroupAddress.h"

#include <benchmark/benchmark.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

// One line of each form, as a busy log mixes them.
const std::vector<std::string> kLines = {
    "Write from 1.1.202 to 1/2/3: 0C 33",
    "Mar 15 08:30:00 host knxd[12]: Layer 0 [22:log/B.tpuarts  367.099] Recv L_Data low from "
    "1.0.14 to 1/2/4 hops: 06 T_Data_Group A_GroupValue_Write (small) 01",
    "Mar 15 08:30:00 host knxd[12]: Layer 0 [22:log/B.tpuarts  367.099] Has Addr 1.0.14: yes",
    "Mon Aug 31 23:56:48 2015:LPDU: BC 11 0D 0A 07 E5 00 40 42 C8 00 00 5A :L_Data low from "
    "1.1.13 to 1/2/7 hops: 06 T_DATA_XXX_REQ A_GroupValue_Response 42 C8 00 00",
    "2024-03-15 08:30:01.250 knxd: Layer 0 [ 6:usb 25.222] RecvEMI(013): 29 00 BC E0 11 0F 0A "
    "03 03 00 80 0C 33",
    "May 23 12:15:45 host knxd[6321]: Layer 0 [12:server/Server  367.084] Send(021): 06 10 04 20 "
    "00 15 04 01 06 00 29 00 BC D0 11 CC 0A 04 01 00 81",
    "May 23 12:15:45 host knxd[6321]: Layer 0 [12:server/Server  367.085] Recv(010): 06 10 04 21 "
    "00 0A 04 01 06 00",
    "Read from 1.1.5 to 1/2/7",
    "9.001 0c33",
    "1/2/3 0c 33",
    "",
    "Write from 1.1.9 to 1/2/8: 0C 33",  // a group without a DPT
};

const Zelknx::GroupAddressTable& Groups() {
  static const Zelknx::GroupAddressTable groups = [] {
    std::istringstream csv(
        "Group name;Address;DatapointType\n"
        "Temperatur Küche;1/2/3;DPST-9-1\nLicht Küche;1/2/4;DPST-1-1\n"
        "Leistung Herd;1/2/7;DPST-14-56\nReserve;1/2/8;\n");
    return Zelknx::GroupAddressTable::Read(csv, "ga.csv");
  }();
  return groups;
}

void BM_ReadBusLine_Mix(benchmark::State& state) {
  Zelknx::BusLine bus;
  std::size_t i = 0;
  for (auto _ : state) {
    Zelknx::ReadBusLine(kLines[i++ % kLines.size()], bus);
    benchmark::DoNotOptimize(bus.kind);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReadBusLine_Mix);

void Decode(benchmark::State& state, Zelknx::Output output) {
  Zelknx::BusLine bus;
  std::size_t i = 0;
  for (auto _ : state) {
    const auto result = Zelknx::DecodeLogLine(kLines[i % kLines.size()], i, &Groups(), "ga.csv",
                                              false, output, bus);
    benchmark::DoNotOptimize(result);
    ++i;
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_DecodeLogLine_Mix_Text(benchmark::State& state) {
  Decode(state, Zelknx::Output::Text);
}
BENCHMARK(BM_DecodeLogLine_Mix_Text);

void BM_DecodeLogLine_Mix_Json(benchmark::State& state) {
  Decode(state, Zelknx::Output::Json);
}
BENCHMARK(BM_DecodeLogLine_Mix_Json);

}  // namespace

BENCHMARK_MAIN();
