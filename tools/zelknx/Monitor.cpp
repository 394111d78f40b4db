// zelknx monitor: every group telegram that a running knxd sees, decoded by
// the library with the DPT that the group address list gives its group
// address, until a count or a signal ends it.
#include "Commands.h"

#include "KnxdGroupSocket.h"
#include "StopSignals.h"

#include <iostream>
#include <string>

namespace Zelknx {

int Monitor(const Session& session) {
  const Options& options = session.options;
  if (!options.args.empty())
    throw UsageError{"monitor takes no arguments"};
  unsigned long count = 0;  // 0: until a signal
  if (!options.count.empty()) {
    const auto parsed = ParseUnsigned(options.count, 0xFFFFFFFFul);
    if (!parsed || *parsed == 0)
      throw UsageError{"bad count '" + options.count + "'"};
    count = *parsed;
  }
  StopSignals stop;
  try {
    KnxdGroupSocket socket(options.url);
    const GroupAddressTable* groups = session.groups ? &*session.groups : nullptr;
    for (unsigned long received = 0; count == 0 || received < count; ++received) {
      const auto telegram = socket.Next(stop.Fd());
      if (!telegram)
        return 0;  // SIGINT or SIGTERM
      const DecodedTelegram decoded = DecodeTelegram(*telegram, groups, options.table);
      Print(options, decoded.json, decoded.text);
      std::cout.flush();
    }
  } catch (const KnxdError& error) {
    throw Unreachable{error.what()};
  }
  return 0;
}

}  // namespace Zelknx
