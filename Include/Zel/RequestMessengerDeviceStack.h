// RequestMessengerDeviceStack: where DscAsyncRequestMessenger sends its
// requests. One asynchronous operation per kind of request, each returning
// the request id under which the answer later arrives at the registered
// response handler (an empty id: the request was not accepted), plus the
// device stack's synchronous configuration calls and value format choice.
//
// RemoteRequestMessengerDeviceStack is the implementation over the
// platform's Quor::IDeviceStackClient: it writes values as text and
// forwards everything else unchanged.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>

#include "BasePlatform/TavValue.h"
#include "Quor/IDeviceStackClient.h"
#include "Zel/Export.h"
#include "Zel/NonCopyable.h"

namespace Zel {

class ZEL_EXPORT RequestMessengerDeviceStack : private NonCopyable {
 public:
  virtual ~RequestMessengerDeviceStack();

  // `handler` receives every answer from now on; null unregisters.
  virtual void SetResponseHandler(Quor::IDeviceStackClient::IResponseHandler* handler) = 0;
  virtual std::string RegisterApplicationAsync(const std::string& name, const std::string& version,
                                               const std::string& vendor) = 0;
  virtual std::string SetValueAsync(unsigned long id, const TAVVALUE& value, bool flag) = 0;
  virtual std::string GetValueAsync(unsigned long id, bool flag) = 0;
  virtual std::string RequestAsync(const std::string& request) = 0;
  virtual std::string SetConfigurationAsync(const std::string& config) = 0;
  // Synchronous: true when the device stack accepted the properties.
  virtual bool SetConfiguration(unsigned long id,
                                const Quor::IDeviceStackClient::PropertyMap& properties,
                                bool flag) = 0;
  virtual bool GetDeviceConfig(std::string& config, bool flag) = 0;
  virtual bool SetDeviceConfig(const std::map<std::string, std::string>& config) = 0;
  virtual void EnableNativeFormat() = 0;
  virtual void EnableInternalValueFormat() = 0;
  virtual void EnableDefaultValueFormat() = 0;
};

// Thread safety: takes no lock; the value format flag is atomic, since one
// thread may switch the format while others write values. The client must
// outlive the adapter and is expected to be thread-safe itself.
class ZEL_EXPORT RemoteRequestMessengerDeviceStack : public RequestMessengerDeviceStack {
 public:
  explicit RemoteRequestMessengerDeviceStack(Quor::IDeviceStackClient& client);

  void SetResponseHandler(Quor::IDeviceStackClient::IResponseHandler* handler) override;
  std::string RegisterApplicationAsync(const std::string& name, const std::string& version,
                                       const std::string& vendor) override;
  // Writes the value as its serial text in the current format; a NaN float
  // is written as "nan" ("3.7:nan" in the internal format).
  std::string SetValueAsync(unsigned long id, const TAVVALUE& value, bool flag) override;
  std::string GetValueAsync(unsigned long id, bool flag) override;
  std::string RequestAsync(const std::string& request) override;
  std::string SetConfigurationAsync(const std::string& config) override;
  bool SetConfiguration(unsigned long id, const Quor::IDeviceStackClient::PropertyMap& properties,
                        bool flag) override;
  bool GetDeviceConfig(std::string& config, bool flag) override;
  bool SetDeviceConfig(const std::map<std::string, std::string>& config) override;
  // Selects the device stack's "Native" format; the value text format used
  // by SetValueAsync stays as it is.
  void EnableNativeFormat() override;
  void EnableInternalValueFormat() override;
  void EnableDefaultValueFormat() override;

 private:
  Quor::IDeviceStackClient& m_client;
  std::atomic<bool> m_internalValueFormat{false};
};

}  // namespace Zel
