// DscAsyncRequestMessenger: blocking requests over the asynchronous device
// stack. Each blocking operation sends its request, waits for the answer
// under the returned request id, retries on an empty id or a time-out, and
// returns the answer as a Docket:
//   answered, reply valid      the device stack's answer;
//   answered, reply not valid  the device stack reported an error (not retried);
//   not answered               no answer in any attempt, or the request
//                              stopped being relevant.
// No operation throws for request failures; each failure is logged.
//
// The messenger receives the answers as the device stack's response
// handler: call SetAsResponseHandler() before the first request and
// UnsetAsResponseHandler() before destruction (the destructor does not).
//
// Thread safety: the blocking operations may be called from any number of
// threads at once. Requests are sent one at a time under the mutex, the
// waits overlap. The device stack must deliver answers on a thread of its
// own and never from inside a send (the mutex is not recursive).
#pragma once

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/optional.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "BasePlatform/TavValue.h"
#include "Quor/IDeviceStackClient.h"
#include "Zel/Docket.h"
#include "Zel/Export.h"
#include "Zel/Function.h"
#include "Zel/NonCopyable.h"
#include "Zel/RequestMessengerDeviceStack.h"

namespace Zel {

class ZEL_EXPORT DscAsyncRequestMessenger : private Quor::IDeviceStackClient::IResponseHandler,
                                            private NonCopyable {
 public:
  // Each request is sent at most retries + 1 times; a zero time-out passed
  // to an operation means `defaultTimeout`.
  DscAsyncRequestMessenger(RequestMessengerDeviceStack& deviceStack,
                           boost::posix_time::time_duration defaultTimeout, unsigned int retries);
  ~DscAsyncRequestMessenger() override;

  void SetAsResponseHandler();
  void UnsetAsResponseHandler();
  void EnableNativeFormat();

  // Blocking requests, with the default time-out.
  Docket RegisterApplication(const std::string& name, const std::string& version,
                             const std::string& vendor);
  Docket SetValue(unsigned long id, const TAVVALUE& value, bool flag);
  // The reply is the value's text; decoding it is the caller's business.
  Docket GetValue(unsigned long id, bool flag);
  // Blocking requests with the caller's time-out. Special time-outs are
  // taken as they are: positive infinity waits without deadline, negative
  // infinity and not-a-date-time do not wait at all.
  Docket Request(const std::string& request, boost::posix_time::time_duration timeout);
  // Gives up, returning an empty docket, as soon as `isStillRelevant`
  // returns false; it is asked before every wait and after each attempt.
  Docket SetConfiguration(const std::string& config, boost::posix_time::time_duration timeout,
                          const BoolReader& isStillRelevant);

  // Synchronous: an answered docket with empty texts whose reply validity
  // is the device stack's result.
  Docket SetConfiguration(unsigned long id, const Quor::IDeviceStackClient::PropertyMap& properties,
                          bool flag);
  bool GetDeviceConfig(std::string& config, bool flag);
  bool SetDeviceConfig(const std::map<std::string, std::string>& config);

  // Fire and forget: sends once, waits for nothing; true when the device
  // stack accepted the request (non-empty request id).
  bool SetValueAndIgnoreResponse(unsigned long id, const TAVVALUE& value, bool flag);

 private:
  using IError = Quor::IDeviceStackClient::IError;

  template <class DoAsyncRequest>
  Docket SynchronizeRequest(const DoAsyncRequest& doAsyncRequest,
                            boost::posix_time::time_duration timeout,
                            const BoolReader& isStillRelevant);
  // The wait for one attempt: registers a docket under `requestId`, waits,
  // unregisters. REQUIRES: `lock` holds m_mutex.
  boost::optional<Docket> AwaitDocket(boost::unique_lock<boost::mutex>& lock,
                                      const std::string& requestId,
                                      boost::posix_time::time_duration timeout,
                                      const BoolReader& isStillRelevant);
  // REQUIRES: `lock` holds m_mutex.
  bool WaitForAnswer(boost::unique_lock<boost::mutex>& lock, const std::string& requestId,
                     boost::posix_time::time_duration timeout, const BoolReader& isStillRelevant);
  void UpdateDocketList(const std::string& requestId, const std::string& reply,
                        const IError& error);

  // Quor::IDeviceStackClient::IResponseHandler; called on the device stack's thread.
  void OnResponse(void* context, const std::string& requestId, const std::string& response,
                  const IError& error) override;
  void OnRegisterApplication(void* context, const std::string& requestId,
                             const IError& error) override;
  void OnGetConfiguration(void* context, const std::string& requestId, const std::string& config,
                          const IError& error) override;
  void OnSetConfiguration(void* context, const std::string& requestId,
                          const IError& error) override;
  void OnGetValue(void* context, const std::string& requestId, unsigned long id,
                  const std::string& urn, const std::string& value, const IError& error) override;
  void OnSetValue(void* context, const std::string& requestId, unsigned long id,
                  const std::string& urn, const std::string& value, const IError& error) override;

  RequestMessengerDeviceStack& m_deviceStack;
  const boost::posix_time::time_duration m_defaultTimeout;
  const unsigned int m_attempts;
  // Guards m_dockets and the contents of every docket registered in it. A
  // caller holds it from sending a request until it waits, and again from
  // waking until it returns; the callback thread holds it to store an answer.
  boost::mutex m_mutex;
  // Notified (to all) whenever an answer is stored in a docket.
  boost::condition_variable m_answerSignal;
  // Outstanding requests by request id; only weak references, the waiting
  // caller owns its docket. Guarded by m_mutex.
  std::map<std::string, std::weak_ptr<Docket>> m_dockets;
};

}  // namespace Zel
