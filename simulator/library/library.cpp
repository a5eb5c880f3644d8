#include "simulator/library/library.h"

#include "device/operations.h"
#include "simulator/device/status.h"
#include "simulator/scenario/scenario.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <thread>

namespace simulator {
namespace {

// More calls than any test makes between two resets; a tool that runs for days
// must not eat the memory.
constexpr std::size_t kMaxJournal = 200'000;

/// Counts a call while it lasts.
class UnderWay {
 public:
  explicit UnderWay(std::atomic<unsigned>& count) : count_(count) { count_.fetch_add(1, std::memory_order_relaxed); }
  UnderWay(const UnderWay&) = delete;
  UnderWay& operator=(const UnderWay&) = delete;
  ~UnderWay() { count_.fetch_sub(1, std::memory_order_relaxed); }

 private:
  std::atomic<unsigned>& count_;
};

}  // namespace

Library& Library::instance() {
  static auto* const library = new Library;
  return *library;
}

Library::Library() : device_(std::make_shared<Device>()) {
  const std::filesystem::path path = scenarioPathFromEnvironment();
  try {
    if (!path.empty()) {
      install(readScenarioFile(path));
    }
  } catch (const std::runtime_error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    scenarioFailed_ = true;
  }
  if (std::filesystem::path state = statePathFromEnvironment(); !state.empty()) {
    plan_.stateFile = std::move(state);
  }
}

void Library::install(Scenario scenario) {
  memory_.reset();
  device_ = std::move(scenario.device);
  plan_ = std::move(scenario.plan);
  session_ = Session();
  calls_ = 0;
  journal_.clear();
  burnControl_.reset();
  scenarioFailed_ = false;
}

std::int32_t Library::recall() {
  if (memory_ || plan_.stateFile.empty()) {
    return kOk;
  }
  const std::chrono::nanoseconds before = device_->clock.now();
  try {
    memory_.emplace(plan_.stateFile, *device_);
  } catch (const StateFileError& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return error.status();
  }
  if (plan_.unplugAfter) {
    *plan_.unplugAfter += device_->clock.now() - before;
  }
  return kOk;
}

void Library::remember() {
  if (!memory_) {
    return;
  }
  try {
    memory_->save(*device_);
  } catch (const StateFileError& error) {
    // Said once; the next session asks for the file anew.
    std::fprintf(stderr, "%s\n", error.what());
    memory_.reset();
  }
}

void Library::unplugWhenDue() {
  if (plan_.unplugAfterCalls && calls_ > *plan_.unplugAfterCalls) {
    plan_.unplugAfterCalls.reset();
    device_->unplug();
  }
  if (plan_.unplugAfter && device_->clock.now() >= *plan_.unplugAfter) {
    plan_.unplugAfter.reset();
    device_->unplug();
  }
}

std::optional<std::int32_t> Library::refusal(const DevicePointer& device, Needs needs) {
  if (needs == Needs::kNothing) {
    return std::nullopt;
  }
  if (device != device_ || !session_.isPortOpen()) {
    return kNoPort;
  }
  unplugWhenDue();
  return device->isReachable() ? std::nullopt : std::optional(kDeviceGone);
}

Library::Entered Library::enter(Call call, Needs needs) {
  const std::scoped_lock lock(state_);
  Entered entered{device_, {call.operation, std::move(call.arguments), 0, {}, std::this_thread::get_id()}, {}, {}, {},
                  0};
  entered.start = device_->clock.now();
  entered.number = calls_++;
  device_->finishWork();
  unplugWhenDue();
  const FaultPlan::Fault* const fault = plan_.faults.nextCall(call.operation);
  if (fault) {
    entered.delay = fault->delay;
    if (fault->unplugs) {
      device_->unplug();
    }
  }
  if (fault && fault->answers) {
    if (call.output.data()) {
      std::copy_n(fault->answer.begin(), std::min(fault->answer.size(), call.output.size()), call.output.begin());
    }
    if (call.length && fault->length) {
      *call.length = *fault->length;
    }
    entered.status = fault->status;
  } else {
    entered.status = refusal(device_, needs);
  }
  return entered;
}

std::int32_t Library::leave(Entered& entered, std::int32_t status) {
  pass(entered.device, entered.delay);
  const std::scoped_lock lock(state_);
  if (entered.device == device_) {
    entered.entry.result = status;
    entered.entry.duration = device_->clock.now() - entered.start;
    journal_.push_back(std::move(entered.entry));
    if (journal_.size() > kMaxJournal) {
      journal_.pop_front();
    }
  }
  return status;
}

void Library::pass(const DevicePointer& device, std::chrono::nanoseconds time) {
  if (time <= std::chrono::nanoseconds::zero()) {
    return;
  }
  {
    const std::scoped_lock lock(state_);
    if (device->clock.isStopped()) {
      device->clock.advance(time);
      return;
    }
  }
  std::this_thread::sleep_for(time);
}

std::int32_t Library::call(Call call, const std::function<std::int32_t(Device&)>& body) {
  const UnderWay underWay(callsUnderWay_);
  const std::scoped_lock oneCall(oneCall_);
  const std::span<std::uint8_t> output = call.output;
  Entered entered = enter(std::move(call), Needs::kPort);
  if (entered.status) {
    return leave(entered, *entered.status);
  }
  std::chrono::nanoseconds latency;
  {
    const std::scoped_lock lock(state_);
    latency = plan_.latency;
  }
  pass(entered.device, latency);

  std::int32_t status = kOk;
  std::chrono::nanoseconds spent{};
  {
    const std::scoped_lock lock(state_);
    // The device may have gone while the call was on its way.
    if (const auto refused = refusal(entered.device, Needs::kPort)) {
      status = *refused;
    } else {
      Device& device = *entered.device;
      status = device.liar.transfer(entered.number, output, [&] { return body(device); });
      spent = entered.device->takeSpentTime();
      remember();
    }
  }
  pass(entered.device, spent);
  return leave(entered, status);
}

std::int32_t Library::sessionCall(Call call, const std::function<std::int32_t(Session&, Device&)>& body) {
  const UnderWay underWay(callsUnderWay_);
  const std::scoped_lock oneCall(oneCall_);
  const bool beginsSession = call.beginsSession;
  const bool endsSession = call.endsSession;
  Entered entered = enter(std::move(call), Needs::kNothing);
  {
    const std::scoped_lock lock(state_);
    if (!entered.status) {
      const std::int32_t recalled = beginsSession && !scenarioFailed_ ? recall() : kOk;
      entered.status = scenarioFailed_ ? kBadScenario : recalled != kOk ? recalled : body(session_, *device_);
    } else if (endsSession) {
      session_.loseEnd();
    }
  }
  return leave(entered, *entered.status);
}

std::int32_t Library::longCall(Call call, const std::function<std::int32_t(LongCall&)>& body) {
  const UnderWay underWay(callsUnderWay_);
  Entered entered;
  {
    const std::scoped_lock oneCall(oneCall_);
    entered = enter(std::move(call), Needs::kPort);
  }
  if (!entered.status) {
    LongCall longCall(*this, entered.device, entered.number);
    entered.status = body(longCall);
  }
  return leave(entered, *entered.status);
}

std::int32_t Library::LongCall::step(const std::function<std::int32_t(Device&)>& step) {
  const std::scoped_lock oneCall(library_.oneCall_);
  const std::scoped_lock lock(library_.state_);
  if (const auto refused = library_.refusal(device_, Needs::kPort)) {
    return *refused;
  }
  const std::int32_t status = device_->liar.begin(number_) ? step(*device_) : kNoAnswer;
  library_.remember();
  return status;
}

void Library::LongCall::cleanUp(const std::function<void(Device&)>& action) {
  const std::scoped_lock lock(library_.state_);
  action(*device_);
}

void Library::LongCall::wait(std::chrono::nanoseconds nominal) {
  std::chrono::nanoseconds scaled;
  {
    const std::scoped_lock lock(library_.state_);
    scaled = device_->clock.scaled(nominal);
  }
  library_.pass(device_, scaled);
}

void Library::reset() {
  const std::scoped_lock lock(state_);
  install(Scenario());
}

std::string Library::loadScenario(const std::string& json, const std::string& name) {
  const std::scoped_lock lock(state_);
  install(Scenario());
  try {
    install(readScenario(json, name));
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return {};
}

std::vector<JournalEntry> Library::journal() const {
  const std::scoped_lock lock(state_);
  return {journal_.begin(), journal_.end()};
}

void Library::clearJournal() {
  const std::scoped_lock lock(state_);
  journal_.clear();
}

void Library::addFault(FaultPlan::Fault fault) {
  if (fault.call == 0 || device::findOperation(fault.operation) == nullptr) {
    throw std::invalid_argument("no call " + std::to_string(fault.call) + " of an operation named " + fault.operation);
  }
  const std::scoped_lock lock(state_);
  plan_.faults.add(std::move(fault));
}

void Library::withDevice(const std::function<void(Device&)>& action) {
  const std::scoped_lock lock(state_);
  action(*device_);
  remember();
}

}  // namespace simulator
