// The ETS project reader on arbitrary bytes: ZIP archives (the project's
// own archive inside, encrypted or not) and their XML, inflating at most
// 1 MiB an entry and 4 MiB in all. It reads a list or throws
// GroupAddressSourceError naming the file, never anything else; every
// address reads back from its text in the project's style.
//
// Input layout: one octet, the project password "geheim" when it is a
// multiple of 4 (deriving ETS 6's archive password takes tens of
// milliseconds, so most inputs have none), then the project's bytes.
#include "FuzzSupport.h"

#include "GroupAddress.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Zel::Fuzz::InputReader input(data, size);
  const std::string password = input.U8() % 4 == 0 ? "geheim" : "";
  const std::string bytes(reinterpret_cast<const char*>(input.Rest()), input.RestSize());
  Zelknx::ProjectLimits limits;
  limits.entryBytes = std::size_t{1} << 20;
  limits.totalBytes = std::size_t{4} << 20;
  try {
    const Zelknx::GroupAddressTable table =
        Zelknx::GroupAddressTable::ReadProject(bytes, "fuzz.knxproj", password, limits);
    for (const auto& item : table.Entries()) {
      const Zelknx::GroupAddressEntry& entry = item.second;
      Zel::Fuzz::Check(Zelknx::ParseGroupAddress(
                           Zelknx::GroupAddressText(entry.address, entry.style)) == entry.address,
                       "an address does not read back from its text");
    }
  } catch (const Zelknx::GroupAddressSourceError& error) {
    Zel::Fuzz::Check(std::string(error.what()).compare(0, 14, "fuzz.knxproj: ") == 0,
                     "an error without the file");
  }
  return 0;
}
