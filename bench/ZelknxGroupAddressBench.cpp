// Cost of reading zelknx's group address lists: an ETS project of 300 group
// addresses whose installation also holds a topology of 300 devices (about
// 2 MB of 0.xml, as a middle-sized project has), unprotected, protected as
// ETS 5 (ZipCrypto, WinZip AES) and as ETS 6 (the derived password), the
// ETS 6 key derivation alone, and a CSV export of the same addresses.
// Each project is built once, in memory; what is timed is reading it into
// a table and walking every entry, as `zelknx ga` does.
#include "GroupAddress.h"
#include "KnxprojBuilder.h"

#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

namespace {

using Zel::Tests::KnxprojContents;
using Zel::Tests::ZipCipher;

constexpr int kGroups = 300;
constexpr int kDevices = 300;

KnxprojContents Contents(int schema, ZipCipher cipher, const std::string& archivePassword) {
  KnxprojContents contents;
  contents.schema = schema;
  contents.cipher = cipher;
  contents.archivePassword = archivePassword;
  for (int i = 0; i < kGroups; ++i) {
    contents.groups.push_back({static_cast<std::uint16_t>(0x0800 + i),
                               "Raum " + std::to_string(i / 8) + " Licht " + std::to_string(i % 8),
                               i % 3 == 0   ? "DPST-1-1"
                               : i % 3 == 1 ? "DPST-9-1"
                                            : "DPST-5-1"});
  }
  return contents;
}

// 0.xml with a topology of devices, each with its communication objects'
// links to group addresses, as ETS writes it.
std::string Installation(const KnxprojContents& contents) {
  std::string devices;
  for (int d = 0; d < kDevices; ++d) {
    const std::string id = "P-0501-0_DI-" + std::to_string(d + 1);
    devices += "<DeviceInstance Id=\"" + id + "\" Name=\"Aktor " + std::to_string(d) +
               "\" ProductRefId=\"M-0083_H-1-1_P-1\" Hardware2ProgramRefId=\"M-0083_H-1-1_HP-1\" "
               "Address=\"" +
               std::to_string(d) + "\"><ParameterInstanceRefs>";
    for (int p = 0; p < 60; ++p) {
      devices += "<ParameterInstanceRef RefId=\"M-0083_A-0001-11-ABCD_P-" + std::to_string(p) +
                 "_R-" + std::to_string(p) + "\" Value=\"" + std::to_string(p % 7) + "\" />";
    }
    devices += "</ParameterInstanceRefs><ComObjectInstanceRefs>";
    for (int o = 0; o < 20; ++o) {
      devices += "<ComObjectInstanceRef RefId=\"O-" + std::to_string(o) + "_R-" +
                 std::to_string(o) + "\" IsActive=\"true\" Links=\"GA-" +
                 std::to_string((d * 3 + o) % kGroups + 1) + "\" />";
    }
    devices += "</ComObjectInstanceRefs></DeviceInstance>";
  }
  std::string xml = Zel::Tests::InstallationXml(contents);
  xml.insert(xml.find("</Topology>"), devices);
  return xml;
}

void ListProject(benchmark::State& state, int schema, ZipCipher cipher,
                 const std::string& archivePassword, const std::string& password) {
  const KnxprojContents contents = Contents(schema, cipher, archivePassword);
  const std::string installation = Installation(contents);
  const std::string project =
      Zel::Tests::MakeKnxproj(contents, Zel::Tests::ProjectXml(contents), installation);
  for (auto _ : state) {
    const auto table = Zelknx::GroupAddressTable::ReadProject(project, "bench.knxproj", password);
    std::size_t named = 0;
    for (const auto& item : table.Entries())
      named += item.second.name.size();
    benchmark::DoNotOptimize(named);
  }
  state.counters["0.xml MB"] = static_cast<double>(installation.size()) / 1e6;
  state.counters["groups"] = kGroups;
}

void BM_ListProject(benchmark::State& state) {
  ListProject(state, 20, ZipCipher::None, "", "");
}
BENCHMARK(BM_ListProject)->Unit(benchmark::kMillisecond);

void BM_ListEts5ProjectZipCrypto(benchmark::State& state) {
  ListProject(state, 14, ZipCipher::ZipCrypto, "geheim", "geheim");
}
BENCHMARK(BM_ListEts5ProjectZipCrypto)->Unit(benchmark::kMillisecond);

void BM_ListEts5ProjectAes(benchmark::State& state) {
  ListProject(state, 20, ZipCipher::Aes256, "geheim", "geheim");
}
BENCHMARK(BM_ListEts5ProjectAes)->Unit(benchmark::kMillisecond);

void BM_ListEts6Project(benchmark::State& state) {
  ListProject(state, 21, ZipCipher::Aes256, Zelknx::Ets6ArchivePassword("geheim"), "geheim");
}
BENCHMARK(BM_ListEts6Project)->Unit(benchmark::kMillisecond);

void BM_Ets6ArchivePassword(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(Zelknx::Ets6ArchivePassword("geheim"));
}
BENCHMARK(BM_Ets6ArchivePassword)->Unit(benchmark::kMillisecond);

void BM_ReadCsv(benchmark::State& state) {
  std::string csv =
      "\"Group name\";\"Address\";\"Central\";\"Unfiltered\";\"Description\";"
      "\"DatapointType\";\"Security\"\r\n";
  for (const auto& group : Contents(20, ZipCipher::None, "").groups) {
    csv += "\"" + group.name + "\";\"" + Zelknx::GroupAddressText(group.address) +
           "\";\"\";\"\";\"\";\"" + group.dpt + "\";\"Auto\"\r\n";
  }
  for (auto _ : state) {
    std::istringstream in(csv);
    benchmark::DoNotOptimize(Zelknx::GroupAddressTable::Read(in, "bench.csv").Size());
  }
}
BENCHMARK(BM_ReadCsv)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
