// The ETS project reader on arbitrary bytes: ZIP archives (the project's
// own archive inside, encrypted or not) and their XML, inflating at most
// 1 MiB an entry and 4 MiB in all. It reads a list or throws
// GroupAddressSourceError naming the file, never anything else; every
// address reads back from its text in the project's style.
//
// Input layout: one octet, then the project's bytes; or, when the octet is 1
// modulo 4, the bytes of its 0.xml, put into a project with a valid
// project.xml (libzip is not instrumented: mutations of the archive rarely
// reach the XML). The project password is "geheim" when the octet is a
// multiple of 4 (deriving ETS 6's archive password takes tens of
// milliseconds, so most inputs have none).
#include "FuzzSupport.h"

#include "GroupAddress.h"
#include "KnxprojBuilder.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Zel::Fuzz::InputReader input(data, size);
  const std::uint8_t mode = input.U8();
  const std::string password = mode % 4 == 0 ? "geheim" : "";
  std::string bytes(reinterpret_cast<const char*>(input.Rest()), input.RestSize());
  if (mode % 4 == 1) {
    const Zel::Tests::KnxprojContents contents;
    bytes = Zel::Tests::MakeKnxproj(contents, Zel::Tests::ProjectXml(contents), bytes);
  }
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
