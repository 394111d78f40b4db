#include "Zel/RequestMessengerDeviceStack.h"

#include <cmath>

#include "Zel/Log.h"

#define ZEL_LOG_SOURCE "ZelObjectModel/RequestMessengerDeviceStack"

namespace Zel {

RequestMessengerDeviceStack::~RequestMessengerDeviceStack() = default;

RemoteRequestMessengerDeviceStack::RemoteRequestMessengerDeviceStack(
    Quor::IDeviceStackClient& client)
    : m_client(client) {}

void RemoteRequestMessengerDeviceStack::SetResponseHandler(
    Quor::IDeviceStackClient::IResponseHandler* handler) {
  m_client.SetResponseHandler(handler, nullptr);
}

std::string RemoteRequestMessengerDeviceStack::RegisterApplicationAsync(const std::string& name,
                                                                        const std::string& version,
                                                                        const std::string& vendor) {
  return m_client.RegisterApplication(name, version, vendor);
}

std::string RemoteRequestMessengerDeviceStack::SetValueAsync(unsigned long id,
                                                             const TAVVALUE& value, bool flag) {
  const bool internalFormat = m_internalValueFormat.load();
  std::string text;
  if (value.ivt == ivtFloat && std::isnan(value.GetDouble())) {
    // Intended: a NaN float never reaches the serialiser, and its default
    // form deliberately has no type prefix; the device stack reads it so.
    text = internalFormat ? "3.7:nan" : "nan";
  } else {
    value.Serialize(text, internalFormat);
  }
  return m_client.SetValue(id, text, flag, 0);
}

std::string RemoteRequestMessengerDeviceStack::GetValueAsync(unsigned long id, bool flag) {
  return m_client.GetValue(id, flag);
}

std::string RemoteRequestMessengerDeviceStack::RequestAsync(const std::string& request) {
  return m_client.Request(request);
}

std::string RemoteRequestMessengerDeviceStack::SetConfigurationAsync(const std::string& config) {
  return m_client.SetConfigurationText(config);
}

bool RemoteRequestMessengerDeviceStack::SetConfiguration(
    unsigned long id, const Quor::IDeviceStackClient::PropertyMap& properties, bool flag) {
  return m_client.SetConfiguration(id, properties, flag);
}

bool RemoteRequestMessengerDeviceStack::GetDeviceConfig(std::string& config, bool flag) {
  return m_client.GetDeviceConfig(config, flag);
}

bool RemoteRequestMessengerDeviceStack::SetDeviceConfig(
    const std::map<std::string, std::string>& config) {
  return m_client.SetDeviceConfig(config);
}

void RemoteRequestMessengerDeviceStack::EnableNativeFormat() {
  // Intended: only the device stack's format changes, not the value text.
  m_client.SetValueFormat("Native", 0);
}

// The client learns the choice before the flag changes, so values written
// from then on match what it expects.
void RemoteRequestMessengerDeviceStack::EnableInternalValueFormat() {
  m_client.SetInternalValueFormat(true);
  m_internalValueFormat.store(true);
  ZEL_LOG_DEBUG("Internal value format now enabled.");
}

void RemoteRequestMessengerDeviceStack::EnableDefaultValueFormat() {
  m_client.SetInternalValueFormat(false);
  m_internalValueFormat.store(false);
}

}  // namespace Zel
