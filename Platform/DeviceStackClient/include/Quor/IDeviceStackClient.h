// The device stack client: asynchronous requests to the device's object
// model. Each asynchronous operation returns at once with a request id (an
// empty id means the request was not accepted) and later delivers exactly
// one answer for that id to the registered response handler, on a thread of
// the client's own, never from inside the call that sent the request.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace Quor {

class IDeviceStackClient {
 public:
  enum class PropertyType : std::int32_t {
    Name = 0,
    Description = 1,
    Unit = 2,
    Minimum = 3,
    Maximum = 4,
    DefaultValue = 5,
    ReadOnly = 6,
  };

  struct Property {
    std::string value;
    friend bool operator==(const Property& a, const Property& b) { return a.value == b.value; }
  };

  using PropertyMap = std::map<PropertyType, Property>;

  // The outcome of one request, as the answer carries it.
  class IError {
   public:
    virtual ~IError() = default;
    virtual bool IsFailed() const = 0;
    virtual std::int32_t GetCode() const = 0;
    virtual std::string GetDomain() const = 0;
    virtual std::string GetText() const = 0;
  };

  // Receives the answers. `context` is the pointer given to
  // SetResponseHandler.
  class IResponseHandler {
   public:
    virtual void OnResponse(void* context, const std::string& requestId,
                            const std::string& response, const IError& error) = 0;
    virtual void OnRegisterApplication(void* context, const std::string& requestId,
                                       const IError& error) = 0;
    virtual void OnGetConfiguration(void* context, const std::string& requestId,
                                    const std::string& config, const IError& error) = 0;
    virtual void OnSetConfiguration(void* context, const std::string& requestId,
                                    const IError& error) = 0;
    virtual void OnGetValue(void* context, const std::string& requestId, unsigned long id,
                            const std::string& urn, const std::string& value,
                            const IError& error) = 0;
    virtual void OnSetValue(void* context, const std::string& requestId, unsigned long id,
                            const std::string& urn, const std::string& value,
                            const IError& error) = 0;
    virtual ~IResponseHandler() = default;
  };

  virtual ~IDeviceStackClient() = default;

  virtual void SetInternalValueFormat(bool enable) = 0;
  virtual bool SetConfiguration(unsigned long id, const PropertyMap& properties, bool flag) = 0;
  virtual bool GetDeviceConfig(std::string& config, bool flag) = 0;
  virtual bool SetDeviceConfig(const std::map<std::string, std::string>& config) = 0;
  virtual void SetValueFormat(const std::string& formatName, int reserved) = 0;
  virtual std::string Request(const std::string& request) = 0;
  virtual std::string RegisterApplication(const std::string& name, const std::string& version,
                                          const std::string& vendor) = 0;
  virtual std::string SetConfigurationText(const std::string& config) = 0;
  virtual std::string GetValue(unsigned long id, bool flag) = 0;
  virtual std::string SetValue(unsigned long id, const std::string& value, bool flag,
                               int reserved) = 0;
  virtual void SetResponseHandler(IResponseHandler* handler, void* context) = 0;
};

}  // namespace Quor
