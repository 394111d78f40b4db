// Files that tests write: a folder of their own, and the group address
// export that the zelknx tests read.
#pragma once

#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace Zel {
namespace Tests {

// A new folder under the test framework's temporary directory, removed
// with everything in it.
class TempFolder {
 public:
  TempFolder()
      : m_path(::testing::TempDir() + "zel-XXXXXX") { EXPECT_NE(mkdtemp(m_path.data()), nullptr); }
  ~TempFolder() { std::filesystem::remove_all(m_path, m_ignored); }

  const std::string& Path() const { return m_path; }

  // Writes `content` to the file `name` in the folder; its path.
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(m_path + "/" + name, std::ios::binary) << content;
    return m_path + "/" + name;
  }

 private:
  std::string m_path;
  std::error_code m_ignored;
};

// An ETS 5 export, 1/1 with a header: three addresses with a DPST and
// one without a DPT.
inline const char kGroupAddresses[] =
    "Group name;Address;DatapointType\n"
    "Temperatur Küche;1/2/3;DPST-9-1\n"
    "Licht Küche;1/2/4;DPST-1-1\n"
    "Leistung Herd;1/2/5;DPST-14-56\n"
    "Reserve;1/2/6;\n";

}  // namespace Tests
}  // namespace Zel
