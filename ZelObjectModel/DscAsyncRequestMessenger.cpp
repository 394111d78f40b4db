#include "Zel/DscAsyncRequestMessenger.h"

#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/date_time/posix_time/time_formatters.hpp>
#include <boost/thread/lock_types.hpp>
#include <cstdint>
#include <limits>
#include <utility>

#include "Zel/Log.h"

#define ZEL_LOG_SOURCE "ZelObjectModel/DscAsyncRequestMessenger"

namespace Zel {

// ---------------------------------------------------------------------------
// Docket

Docket::Docket() = default;

Docket::Docket(std::string reply, std::string deliveryError, bool isReplyValid, bool isAnswered)
    : m_reply(std::move(reply)),
      m_deliveryError(std::move(deliveryError)),
      m_replyValid(isReplyValid),
      m_answered(isAnswered) {}

Docket::Docket(const Docket& other) = default;

Docket& Docket::operator=(const Docket& other) = default;

void Docket::SetContent(std::string reply, std::string deliveryError, bool isReplyValid,
                        bool isAnswered) {
  m_reply = std::move(reply);
  m_deliveryError = std::move(deliveryError);
  m_replyValid = isReplyValid;
  m_answered = isAnswered;
}

bool Docket::IsReplyValid() const {
  return m_replyValid;
}

bool Docket::IsAnswered() const {
  return m_answered;
}

const std::string& Docket::ReadReply() const {
  return m_reply;
}

const std::string& Docket::ReadDeliveryError() const {
  return m_deliveryError;
}
namespace {

using SteadyClock = boost::chrono::steady_clock;
using boost::posix_time::time_duration;

bool AlwaysRelevant() {
  return true;
}

// A time-out as Boost's stream output writes a time_duration
// ("00:00:00.500000", "+infinity"); to_simple_string writes the same text
// without the stream's facets. One copy of it, not one per request kind.
[[gnu::noinline]] std::string TimeoutText(const time_duration& timeout) {
  return boost::posix_time::to_simple_string(timeout);
}

// Time-outs at least this long wait without deadline: the end of such a
// wait may not fit the timed wait's time_t, which has 32 bits on the device.
constexpr std::int64_t kLongestTimedWaitSeconds = std::numeric_limits<std::int32_t>::max() / 2;

// The end of a wait of `timeout` from now, or none for a wait without end:
// positive infinity, or a finite time-out of decades and more (computing its
// end would overflow). Negative infinity, not-a-date-time and negative
// time-outs end at once.
boost::optional<SteadyClock::time_point> DeadlineAfter(const time_duration& timeout) {
  const SteadyClock::time_point now = SteadyClock::now();
  if (timeout.is_pos_infinity()) {
    return boost::none;
  }
  if (timeout.is_special() || timeout.is_negative()) {
    return now;
  }
  constexpr std::int64_t nanosPerSecond = 1000000000;
  const std::int64_t ticksPerSecond = time_duration::ticks_per_second();
  const std::int64_t seconds = timeout.ticks() / ticksPerSecond;
  if (seconds >= kLongestTimedWaitSeconds) {
    return boost::none;
  }
  const std::int64_t fraction = timeout.ticks() % ticksPerSecond;
  return now + boost::chrono::nanoseconds(seconds * nanosPerSecond +
                                          fraction * nanosPerSecond / ticksPerSecond);
}

// Unregisters a request id whatever way its wait ends.
class DocketRegistration {
 public:
  DocketRegistration(std::map<std::string, std::weak_ptr<Docket>>& dockets,
                     const std::string& requestId)
      : m_dockets(dockets), m_requestId(requestId) {}
  ~DocketRegistration() { m_dockets.erase(m_requestId); }
  DocketRegistration(const DocketRegistration&) = delete;
  DocketRegistration& operator=(const DocketRegistration&) = delete;

 private:
  std::map<std::string, std::weak_ptr<Docket>>& m_dockets;
  const std::string& m_requestId;
};

}  // namespace

// Intended: the count is stored as retries + 1, so 0 retries still sends once.
DscAsyncRequestMessenger::DscAsyncRequestMessenger(RequestMessengerDeviceStack& deviceStack,
                                                   time_duration defaultTimeout,
                                                   unsigned int retries)
    : m_deviceStack(deviceStack), m_defaultTimeout(defaultTimeout), m_attempts(retries + 1) {}

// Does not unregister from the device stack; see UnsetAsResponseHandler().
DscAsyncRequestMessenger::~DscAsyncRequestMessenger() = default;

void DscAsyncRequestMessenger::SetAsResponseHandler() {
  m_deviceStack.SetResponseHandler(this);
}

void DscAsyncRequestMessenger::UnsetAsResponseHandler() {
  m_deviceStack.SetResponseHandler(nullptr);
}

void DscAsyncRequestMessenger::EnableNativeFormat() {
  m_deviceStack.EnableNativeFormat();
}

template <class DoAsyncRequest>
Docket DscAsyncRequestMessenger::SynchronizeRequest(const DoAsyncRequest& doAsyncRequest,
                                                    time_duration timeout,
                                                    const BoolReader& isStillRelevant) {
  boost::unique_lock<boost::mutex> lock(m_mutex);
  for (unsigned int attempt = 0; attempt < m_attempts; ++attempt) {
    const std::string requestId = doAsyncRequest();
    ZEL_LOG_DEBUG("Request ID is '" << requestId << "'");
    if (requestId.empty()) {
      ZEL_LOG_ERROR("Request ID is empty, retrying");
      continue;
    }
    boost::optional<Docket> docket = AwaitDocket(lock, requestId, timeout, isStillRelevant);
    if (!isStillRelevant()) {
      ZEL_LOG_DEBUG("returned from waiting for response with ID '" << requestId
                                                                   << "': !isStillRelevant");
      return Docket();
    }
    if (!docket) {
      // Intended: the time-out as the caller passed it (zero for the default).
      ZEL_LOG_ERROR("No response received for ID '" << requestId << "' with timeout "
                                                    << TimeoutText(timeout) << ", retrying");
      continue;
    }
    ZEL_LOG_DEBUG("returned from waiting for response with ID '" << requestId << "': got response");
    return *docket;
  }
  // Intended: prints the retry count given at construction, not the attempts.
  ZEL_LOG_ERROR("Maximum number of retries (" << m_attempts - 1 << ") reached.");
  return Docket();
}

boost::optional<Docket> DscAsyncRequestMessenger::AwaitDocket(
    boost::unique_lock<boost::mutex>& lock, const std::string& requestId, time_duration timeout,
    const BoolReader& isStillRelevant) {
  const std::shared_ptr<Docket> docket = std::make_shared<Docket>();
  // Intended: insert-if-absent; a second request under an id already waited
  // for keeps the first docket, and its waiter sees the first one's answer.
  m_dockets.emplace(requestId, docket);
  const DocketRegistration registration(m_dockets, requestId);
  const time_duration effectiveTimeout =
      (!timeout.is_special() && timeout == time_duration(0, 0, 0)) ? m_defaultTimeout : timeout;
  if (!WaitForAnswer(lock, requestId, effectiveTimeout, isStillRelevant)) {
    return boost::none;
  }
  // The answered docket is the registered one; it is ours unless the id was
  // already taken when we registered.
  const std::shared_ptr<Docket> answered = m_dockets[requestId].lock();
  return answered ? *answered : *docket;
}

bool DscAsyncRequestMessenger::WaitForAnswer(boost::unique_lock<boost::mutex>& lock,
                                             const std::string& requestId, time_duration timeout,
                                             const BoolReader& isStillRelevant) {
  const boost::optional<SteadyClock::time_point> deadline = DeadlineAfter(timeout);
  const auto isAnswered = [this, &requestId] {
    const std::shared_ptr<Docket> docket = m_dockets[requestId].lock();
    return docket && docket->IsAnswered();
  };
  for (;;) {
    if (!isStillRelevant()) {
      ZEL_LOG_INFO("Aborted a OMB request because its result is no longer relevant");
      return false;
    }
    if (isAnswered()) {
      return true;
    }
    if (!deadline) {
      m_answerSignal.wait(lock);
    } else if (m_answerSignal.wait_until(lock, *deadline) == boost::cv_status::timeout &&
               SteadyClock::now() >= *deadline) {
      // The callback thread may have stored the answer while this wait was
      // timing out (it held the mutex then): that answer is the result.
      if (isAnswered()) {
        return true;
      }
      break;
    }
  }
  // Intended: "occured" is spelt as the device's log tooling expects it.
  ZEL_LOG_WARN("Timeout (" << TimeoutText(timeout) << ") occured for request ID '" << requestId
                           << "'");
  return false;
}

void DscAsyncRequestMessenger::UpdateDocketList(const std::string& requestId,
                                                const std::string& reply, const IError& error) {
  const boost::lock_guard<boost::mutex> lock(m_mutex);
  const auto entry = m_dockets.find(requestId);
  if (entry == m_dockets.end()) {
    ZEL_LOG_DEBUG("No docket for response ID '" << requestId << "'");
    if (error.IsFailed()) {
      ZEL_LOG_ERROR("Request " << requestId << ": Error '" << error.GetText() << "'");
    }
    return;
  }
  ZEL_LOG_DEBUG("Got request for ID '" << requestId << "'.");
  const bool failed = error.IsFailed();
  std::string errorText = error.GetText();
  const std::shared_ptr<Docket> docket = entry->second.lock();
  if (!docket) {
    return;
  }
  docket->SetContent(reply, std::move(errorText), !failed, true);
  m_answerSignal.notify_all();
}

void DscAsyncRequestMessenger::OnResponse(void* /*context*/, const std::string& requestId,
                                          const std::string& response, const IError& error) {
  if (error.IsFailed()) {
    ZEL_LOG_ERROR("OMB error for request " << requestId << "; response: " << response);
  }
  UpdateDocketList(requestId, response, error);
}

void DscAsyncRequestMessenger::OnRegisterApplication(void* /*context*/,
                                                     const std::string& requestId,
                                                     const IError& error) {
  if (error.IsFailed()) {
    ZEL_LOG_ERROR("OMB error for request " << requestId);
  }
  UpdateDocketList(requestId, std::string(), error);
}

void DscAsyncRequestMessenger::OnGetConfiguration(void* /*context*/, const std::string& requestId,
                                                  const std::string& config, const IError& error) {
  if (error.IsFailed()) {
    ZEL_LOG_ERROR("OMB error for request " << requestId << "; config: " << config);
  }
  UpdateDocketList(requestId, config, error);
}

void DscAsyncRequestMessenger::OnSetConfiguration(void* /*context*/, const std::string& requestId,
                                                  const IError& error) {
  if (error.IsFailed()) {
    ZEL_LOG_ERROR("OMB error for request " << requestId);
  }
  UpdateDocketList(requestId, std::string(), error);
}

void DscAsyncRequestMessenger::OnGetValue(void* /*context*/, const std::string& requestId,
                                          unsigned long id, const std::string& urn,
                                          const std::string& value, const IError& error) {
  if (error.IsFailed()) {
    ZEL_LOG_ERROR("OMB error for request " << requestId << "; id: " << id << "; urn: " << urn
                                           << "; value: " << value);
  }
  UpdateDocketList(requestId, value, error);
}

void DscAsyncRequestMessenger::OnSetValue(void* /*context*/, const std::string& requestId,
                                          unsigned long id, const std::string& urn,
                                          const std::string& value, const IError& error) {
  if (error.IsFailed()) {
    ZEL_LOG_ERROR("OMB error for request " << requestId << "; id: " << id << "; urn: " << urn
                                           << "; value: " << value);
  }
  UpdateDocketList(requestId, value, error);
}

Docket DscAsyncRequestMessenger::RegisterApplication(const std::string& name,
                                                     const std::string& version,
                                                     const std::string& vendor) {
  return SynchronizeRequest(
      [&] { return m_deviceStack.RegisterApplicationAsync(name, version, vendor); },
      time_duration(0, 0, 0), BoolReader(&AlwaysRelevant));
}

Docket DscAsyncRequestMessenger::SetValue(unsigned long id, const TAVVALUE& value, bool flag) {
  return SynchronizeRequest([&] { return m_deviceStack.SetValueAsync(id, value, flag); },
                            time_duration(0, 0, 0), BoolReader(&AlwaysRelevant));
}

Docket DscAsyncRequestMessenger::GetValue(unsigned long id, bool flag) {
  return SynchronizeRequest([&] { return m_deviceStack.GetValueAsync(id, flag); },
                            time_duration(0, 0, 0), BoolReader(&AlwaysRelevant));
}

Docket DscAsyncRequestMessenger::Request(const std::string& request, time_duration timeout) {
  return SynchronizeRequest([&] { return m_deviceStack.RequestAsync(request); }, timeout,
                            BoolReader(&AlwaysRelevant));
}

Docket DscAsyncRequestMessenger::SetConfiguration(const std::string& config, time_duration timeout,
                                                  const BoolReader& isStillRelevant) {
  return SynchronizeRequest([&] { return m_deviceStack.SetConfigurationAsync(config); }, timeout,
                            isStillRelevant);
}

Docket DscAsyncRequestMessenger::SetConfiguration(
    unsigned long id, const Quor::IDeviceStackClient::PropertyMap& properties, bool flag) {
  // Intended: answered even when the device stack refuses; the validity
  // flag carries the result. Takes no lock: nothing of ours is touched.
  return Docket(std::string(), std::string(), m_deviceStack.SetConfiguration(id, properties, flag),
                true);
}

bool DscAsyncRequestMessenger::GetDeviceConfig(std::string& config, bool flag) {
  return m_deviceStack.GetDeviceConfig(config, flag);
}

bool DscAsyncRequestMessenger::SetDeviceConfig(const std::map<std::string, std::string>& config) {
  return m_deviceStack.SetDeviceConfig(config);
}

bool DscAsyncRequestMessenger::SetValueAndIgnoreResponse(unsigned long id, const TAVVALUE& value,
                                                         bool flag) {
  const boost::lock_guard<boost::mutex> lock(m_mutex);
  const std::string requestId = m_deviceStack.SetValueAsync(id, value, flag);
  ZEL_LOG_DEBUG("Request ID is '" << requestId << "'");
  // Intended: fire and forget, unlike SetValue: no docket, no retry, and an
  // empty id is reported by the result alone, without an error entry.
  return !requestId.empty();
}

}  // namespace Zel
