// ETS projects (.knxproj) and ZIP archives built in memory for the tests and
// the benchmarks, in the shapes ETS writes (see tools/zelknx/EtsProject.cpp):
// knx_master.xml, P-0501.signature and either the folder P-0501/ with
// project.xml and 0.xml or, password-protected, the archive P-0501.zip with
// them encrypted.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Zel {
namespace Tests {

enum class ZipCipher { None,
                       ZipCrypto,
                       Aes256 };

// A ZIP archive of `entries` (name, content), deflated; encrypted with
// `password` and `cipher` unless the cipher is None.
std::string MakeZip(const std::vector<std::pair<std::string, std::string>>& entries,
                    ZipCipher cipher = ZipCipher::None, const std::string& password = "");

struct KnxprojGroup {
  std::uint16_t address;
  std::string name;
  std::string dpt;  // the DatapointType attribute; empty: none
};

struct KnxprojContents {
  int schema = 20;  // the namespace's number: 11 ETS 4, 12..20 ETS 5, 21.. ETS 6
  std::string style = "ThreeLevel";
  std::vector<KnxprojGroup> groups;
  // Every group in a main and a middle group range, as ETS nests them.
  bool nested = true;
  // Protected: the inner archive's password (ETS 6: the derived one).
  ZipCipher cipher = ZipCipher::None;
  std::string archivePassword;
};

// project.xml (Project.xml before schema 12) and 0.xml of `contents`.
std::string ProjectXml(const KnxprojContents& contents);
std::string InstallationXml(const KnxprojContents& contents);
// The project file.
std::string MakeKnxproj(const KnxprojContents& contents);
// The project file with the two XML files given as they are.
std::string MakeKnxproj(const KnxprojContents& contents, const std::string& projectXml,
                        const std::string& installationXml);

}  // namespace Tests
}  // namespace Zel
