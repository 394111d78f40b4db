// The reader of bus log lines and of KNX frames in hex on arbitrary input:
// the first octet chooses whether the rest is a line of text (decoded as
// `decode -` does, with a group address list, by DPT code or through the
// DPT table) or the octets of a frame. Nothing may throw or crash, every
// result must print as JSON with its line number, and what is read must be a telegram: a read
// without data, a write or response with data, a short form of one octet.
#include "FuzzSupport.h"

#include "BusLine.h"
#include "Frame.h"
#include "GroupAddress.h"
#include "ValueText.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

void Check(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "ZelknxLogLineFuzz: %s\n", what);
    std::abort();
  }
}

void CheckTelegram(const Zelknx::Telegram& telegram) {
  Check((telegram.apci == Zelknx::Apci::Read) == telegram.octets.empty(),
        "a read with data, or a write or response without");
  Check(!telegram.shortForm || telegram.apci == Zelknx::Apci::Read || telegram.octets.size() == 1,
        "a short form of more than one octet");
}

const Zelknx::GroupAddressTable& Groups() {
  static const Zelknx::GroupAddressTable groups = [] {
    std::istringstream csv(
        "Group name;Address;DatapointType\n"
        "Temperatur;1/2/3;DPST-9-1\nLicht;1/2/4;DPST-1-1\nZeit;1/2/5;DPST-10-1\n"
        "Text;1/2/6;DPST-16-0\nLeistung;1/2/7;DPST-14-56\nOhne;1/2/8;\n");
    return Zelknx::GroupAddressTable::Read(csv, "ga.csv");
  }();
  return groups;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Zel::Fuzz::InputReader input(data, size);
  const std::uint8_t mode = input.U8();
  if (mode & 1) {
    Zelknx::Telegram telegram;
    std::string error;
    const Zelknx::FrameRead read =
        Zelknx::ReadFrame(input.Rest(), input.RestSize(), telegram, error);
    if (read == Zelknx::FrameRead::Telegram)
      CheckTelegram(telegram);
    Check((read == Zelknx::FrameRead::Corrupt) == !error.empty(),
          "an error without a corrupt frame");
    return 0;
  }
  const std::string line(reinterpret_cast<const char*>(input.Rest()), input.RestSize());
  Zelknx::BusLine bus;
  Zelknx::ReadBusLine(line, bus);
  if (bus.kind == Zelknx::LineKind::Telegram)
    CheckTelegram(bus.telegram);
  Check((bus.kind == Zelknx::LineKind::Error) == !bus.error.empty(), "an error without a reason");
  const bool table = (mode & 2) != 0;
  const auto result = Zelknx::DecodeLogLine(line, 1, &Groups(), "ga.csv", table);
  Check(result.has_value() == (bus.kind != Zelknx::LineKind::None), "a result for no telegram");
  if (result) {
    Zelknx::DumpJson(result->json);
    Check(result->json.at("line") == 1, "a result without its line");
  }
  return 0;
}
