// An app host's use of the library, end to end:
//   1. load the app host configuration from a file;
//   2. convert a received group value (a DPT 9.001 temperature) to a value;
//   3. write it to the object model and read it back with blocking requests
//      over the device-stack client (here the simulated one).
//
//   apphost_example CONFIG_FILE
#include "Quor/SimulatedDeviceStackClient.h"
#include "Zel/AppHostConfig.h"
#include "Zel/DscAsyncRequestMessenger.h"
#include "Zel/GroupValueTavValue.h"
#include "Zel/KnxOmbMapping.h"
#include "Zel/RequestMessengerDeviceStack.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <chrono>
#include <cstdint>
#include <iostream>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: apphost_example CONFIG_FILE\n";
    return 2;
  }

  // 1. Start-up options.
  Zel::AppHostConfiguration config;
  config.LoadConfigurationFile(argv[1]);
  std::cout << "without KNX: " << config.IsAppHostWithoutKNX() << ", response data points:";
  for (const unsigned long id : config.GetResponseDataPoints())
    std::cout << ' ' << id;
  std::cout << '\n';

  // 2. A temperature telegram: DPT 9.001, payload 0c 33 = 21.5 degrees C.
  const unsigned long dpt9001 = 9 * 65536 + 1;
  const std::uint8_t payload[] = {0x0c, 0x33};
  const KnxStack::GroupValue received(KnxStack::BinaryData(payload, sizeof payload), 16);
  const auto temperature = Zel::GroupValueToTavValue(received, dpt9001);
  if (!temperature)
    return 1;  // the library has logged why
  std::cout << "received 9.001 " << received.GetRawData().ToString() << " = "
            << temperature->ToString() << '\n';

  // 3. The value id of communication object 1 of logical device 1, written
  //    and read back through the device stack with a 1 s time-out, 2 retries.
  Quor::SimulatedDeviceStackClient::Options options;
  options.latency = std::chrono::milliseconds(2);
  Quor::SimulatedDeviceStackClient client(options);
  Zel::RemoteRequestMessengerDeviceStack deviceStack(client);
  Zel::DscAsyncRequestMessenger messenger(deviceStack, boost::posix_time::seconds(1), 2);
  messenger.SetAsResponseHandler();
  const auto valueId = Zel::KnxOmbMapping::GetCoValueObjModelId(1, Zel::LogicalDeviceId(1));
  const Zel::Docket set = messenger.SetValue(*valueId, *temperature, false);
  const Zel::Docket get = messenger.GetValue(*valueId, false);
  messenger.UnsetAsResponseHandler();
  std::cout << "set " << *valueId << ": " << set.ReadReply() << '\n'
            << "get " << *valueId << ": " << get.ReadReply() << '\n';
  return set.IsReplyValid() && get.IsReplyValid() ? 0 : 1;
}
