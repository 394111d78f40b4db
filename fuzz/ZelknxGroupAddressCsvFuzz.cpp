// The ETS group address export reader on arbitrary bytes: it reads a list
// or throws GroupAddressCsvError naming a line, never anything else; every
// entry's address reads back from its text in the entry's style, its name
// is UTF-8 (a file that is not is read as Windows-1252), and its JSON
// prints.
#include "FuzzSupport.h"

#include "GroupAddress.h"
#include "ValueText.h"

#include <utf8.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  try {
    const Zelknx::GroupAddressTable table = Zelknx::GroupAddressTable::Read(in, "fuzz.csv");
    for (const auto& item : table.Entries()) {
      const Zelknx::GroupAddressEntry& entry = item.second;
      const std::string address = Zelknx::GroupAddressText(entry.address, entry.style);
      Zel::Fuzz::Check(Zelknx::ParseGroupAddress(address) == entry.address,
                       "an address does not read back from its text");
      Zel::Fuzz::Check(utf8::is_valid(entry.name.begin(), entry.name.end()), "a name is not UTF-8");
      const auto dpt = Zelknx::EntryDptText(entry);
      Zelknx::DumpJson(nlohmann::ordered_json{
          {"address", address}, {"name", entry.name}, {"dpt", dpt ? *dpt : ""}});
    }
  } catch (const Zelknx::GroupAddressCsvError& error) {
    Zel::Fuzz::Check(std::string(error.what()).compare(0, 9, "fuzz.csv:") == 0,
                     "an error without the file");
  }
  return 0;
}
