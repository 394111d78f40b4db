#include "Quor/SimulatedDeviceStackClient.h"

#include <utility>

namespace Quor {
namespace {

class SimulatedError final : public IDeviceStackClient::IError {
 public:
  SimulatedError(bool failed, std::string text, SimulatedDeviceStackClient::Clock::duration stall)
      : m_failed(failed), m_text(std::move(text)), m_stall(stall) {}
  bool IsFailed() const override { return m_failed; }
  std::int32_t GetCode() const override { return m_failed ? 1 : 0; }
  std::string GetDomain() const override { return "simulation"; }
  std::string GetText() const override {
    if (m_stall > SimulatedDeviceStackClient::Clock::duration::zero())
      std::this_thread::sleep_for(m_stall);
    return m_text;
  }

 private:
  bool m_failed;
  std::string m_text;
  SimulatedDeviceStackClient::Clock::duration m_stall;
};

std::string Urn(unsigned long objectId) {
  return "urn:simulated:object:" + std::to_string(objectId);
}

}  // namespace

SimulatedDeviceStackClient::SimulatedDeviceStackClient(Options options)
    : m_options(std::move(options)), m_random(m_options.seed), m_thread([this] { Run(); }) {}

SimulatedDeviceStackClient::~SimulatedDeviceStackClient() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stopping = true;
  }
  m_wake.notify_all();
  m_thread.join();
}

void SimulatedDeviceStackClient::SetInternalValueFormat(bool enable) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_internalValueFormat = enable;
}

bool SimulatedDeviceStackClient::SetConfiguration(unsigned long, const PropertyMap&, bool) {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_synchronousResult;
}

bool SimulatedDeviceStackClient::GetDeviceConfig(std::string& config, bool) {
  std::lock_guard<std::mutex> lock(m_mutex);
  config.clear();
  for (const auto& entry : m_deviceConfig)
    config += entry.first + '=' + entry.second + '\n';
  return m_synchronousResult;
}

bool SimulatedDeviceStackClient::SetDeviceConfig(const std::map<std::string, std::string>& config) {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (m_synchronousResult)
    m_deviceConfig = config;
  return m_synchronousResult;
}

void SimulatedDeviceStackClient::SetValueFormat(const std::string& formatName, int) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_valueFormat = formatName;
}

std::string SimulatedDeviceStackClient::Request(const std::string& request) {
  SimulatedRequest sent;
  sent.kind = SimulatedRequest::Kind::Request;
  sent.text = request;
  return Send(std::move(sent));
}

std::string SimulatedDeviceStackClient::RegisterApplication(const std::string& name,
                                                            const std::string& version,
                                                            const std::string& vendor) {
  SimulatedRequest sent;
  sent.kind = SimulatedRequest::Kind::RegisterApplication;
  sent.text = name + ' ' + version + ' ' + vendor;
  return Send(std::move(sent));
}

std::string SimulatedDeviceStackClient::SetConfigurationText(const std::string& config) {
  SimulatedRequest sent;
  sent.kind = SimulatedRequest::Kind::SetConfigurationText;
  sent.text = config;
  return Send(std::move(sent));
}

std::string SimulatedDeviceStackClient::GetValue(unsigned long id, bool flag) {
  SimulatedRequest sent;
  sent.kind = SimulatedRequest::Kind::GetValue;
  sent.objectId = id;
  sent.flag = flag;
  return Send(std::move(sent));
}

std::string SimulatedDeviceStackClient::SetValue(unsigned long id, const std::string& value,
                                                 bool flag, int) {
  SimulatedRequest sent;
  sent.kind = SimulatedRequest::Kind::SetValue;
  sent.objectId = id;
  sent.text = value;
  sent.flag = flag;
  return Send(std::move(sent));
}

void SimulatedDeviceStackClient::SetResponseHandler(IResponseHandler* handler, void* context) {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_handler = handler;
  m_context = context;
  // A delivery already under way may still use the previous handler; wait
  // for it, except from inside that delivery.
  if (std::this_thread::get_id() != m_thread.get_id()) {
    m_idle.wait(lock, [this] { return !m_delivering; });
  }
}

void SimulatedDeviceStackClient::SetSynchronousResult(bool result) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_synchronousResult = result;
}

std::vector<SimulatedRequest> SimulatedDeviceStackClient::Requests() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_requests;
}

bool SimulatedDeviceStackClient::InternalValueFormat() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_internalValueFormat;
}

std::string SimulatedDeviceStackClient::ValueFormat() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_valueFormat;
}

IDeviceStackClient::IResponseHandler* SimulatedDeviceStackClient::ResponseHandler() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_handler;
}

std::uint64_t SimulatedDeviceStackClient::DeliveriesStarted() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_deliveriesStarted;
}

void SimulatedDeviceStackClient::WaitUntilIdle() {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_idle.wait(lock, [this] { return m_stopping || (m_queue.empty() && !m_delivering); });
}

std::string SimulatedDeviceStackClient::Send(SimulatedRequest request) {
  const Clock::time_point now = Clock::now();
  std::unique_lock<std::mutex> lock(m_mutex);
  request.sequence = ++m_sent;
  const Plan plan = DrawPlan(request);
  request.fault = plan.fault;
  request.stall = plan.stall;
  if (plan.fault != SimulatedFault::EmptyId)
    request.requestId = 'r' + std::to_string(request.sequence);

  Answer answer{request.kind, request.requestId, request.objectId, std::string(),
                false,        plan.stall};
  switch (request.kind) {
    case SimulatedRequest::Kind::GetValue:
      answer.payload = "value of " + std::to_string(request.objectId) + " for " + request.requestId;
      break;
    case SimulatedRequest::Kind::SetValue:
      answer.payload = "set " + std::to_string(request.objectId) + " to " + request.text + " for " +
                       request.requestId;
      break;
    case SimulatedRequest::Kind::Request:
      answer.payload = "response to " + request.text + " for " + request.requestId;
      break;
    case SimulatedRequest::Kind::RegisterApplication:
    case SimulatedRequest::Kind::SetConfigurationText: break;
  }
  const Clock::time_point due = now + plan.delay;
  switch (plan.fault) {
    case SimulatedFault::None:
    case SimulatedFault::Late: Enqueue(due, answer); break;
    case SimulatedFault::NoAnswer:
    case SimulatedFault::EmptyId: break;
    case SimulatedFault::Duplicate:
      Enqueue(due, answer);
      Enqueue(due, answer);
      break;
    case SimulatedFault::Error:
      answer.payload.clear();
      answer.failed = true;
      Enqueue(due, answer);
      break;
    case SimulatedFault::UnknownId: {
      Answer stray = answer;
      stray.requestId = "stray" + std::to_string(request.sequence);
      Enqueue(due, std::move(stray));
      Enqueue(due, answer);
      break;
    }
  }
  std::string requestId = request.requestId;
  if (m_options.keepRequests)
    m_requests.push_back(std::move(request));
  lock.unlock();
  m_wake.notify_one();
  return requestId;
}

SimulatedDeviceStackClient::Plan SimulatedDeviceStackClient::DrawPlan(
    const SimulatedRequest& request) {
  if (m_options.rule)
    return m_options.rule(request);
  Plan plan;
  const double draw = std::uniform_real_distribution<double>(0.0, 1.0)(m_random);
  const std::pair<double, SimulatedFault> faults[] = {
      {m_options.noAnswer, SimulatedFault::NoAnswer},
      {m_options.late, SimulatedFault::Late},
      {m_options.duplicate, SimulatedFault::Duplicate},
      {m_options.error, SimulatedFault::Error},
      {m_options.emptyId, SimulatedFault::EmptyId},
      {m_options.unknownId, SimulatedFault::UnknownId},
  };
  double bound = 0.0;
  for (const auto& fault : faults) {
    bound += fault.first;
    if (draw < bound) {
      plan.fault = fault.second;
      break;
    }
  }
  if (plan.fault == SimulatedFault::Late) {
    plan.delay = m_options.lateDelay;
  } else {
    plan.delay = m_options.latency;
    if (m_options.latencyJitter > Clock::duration::zero()) {
      plan.delay += Clock::duration(
          std::uniform_int_distribution<Clock::rep>(0, m_options.latencyJitter.count())(m_random));
    }
  }
  // Drawn only when enabled, so that seeded runs without stalls keep their sequence.
  if (m_options.stall > 0.0 &&
      std::uniform_real_distribution<double>(0.0, 1.0)(m_random) < m_options.stall) {
    plan.stall = Clock::duration(
        std::uniform_int_distribution<Clock::rep>(0, m_options.stallFor.count())(m_random));
  }
  return plan;
}

void SimulatedDeviceStackClient::Enqueue(Clock::time_point due, Answer answer) {
  m_queue.emplace(QueueKey(due, ++m_queued), std::move(answer));
}

void SimulatedDeviceStackClient::Run() {
  std::unique_lock<std::mutex> lock(m_mutex);
  while (!m_stopping) {
    if (m_queue.empty()) {
      m_wake.wait(lock);
      continue;
    }
    const auto first = m_queue.begin();
    if (Clock::now() < first->first.first) {
      m_wake.wait_until(lock, first->first.first);
      continue;
    }
    const Answer answer = std::move(first->second);
    m_queue.erase(first);
    IResponseHandler* const handler = m_handler;
    void* const context = m_context;
    m_delivering = true;
    ++m_deliveriesStarted;
    lock.unlock();
    if (handler != nullptr)
      Deliver(*handler, context, answer);
    lock.lock();
    m_delivering = false;
    m_idle.notify_all();
  }
  m_idle.notify_all();
}

void SimulatedDeviceStackClient::Deliver(IResponseHandler& handler, void* context,
                                         const Answer& answer) const {
  const SimulatedError error(
      answer.failed, answer.failed ? "simulated failure of " + answer.requestId : std::string(),
      answer.stall);
  switch (answer.kind) {
    case SimulatedRequest::Kind::Request:
      handler.OnResponse(context, answer.requestId, answer.payload, error);
      break;
    case SimulatedRequest::Kind::RegisterApplication:
      handler.OnRegisterApplication(context, answer.requestId, error);
      break;
    case SimulatedRequest::Kind::SetConfigurationText:
      handler.OnSetConfiguration(context, answer.requestId, error);
      break;
    case SimulatedRequest::Kind::GetValue:
      handler.OnGetValue(context, answer.requestId, answer.objectId, Urn(answer.objectId),
                         answer.payload, error);
      break;
    case SimulatedRequest::Kind::SetValue:
      handler.OnSetValue(context, answer.requestId, answer.objectId, Urn(answer.objectId),
                         answer.payload, error);
      break;
  }
}

}  // namespace Quor
