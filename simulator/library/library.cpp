#include "simulator/library/library.h"

#include "device/operations.h"
#include "simulator/device/status.h"
#include "simulator/library/problem.h"
#include "simulator/scenario/scenario.h"

#include <algorithm>
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
    tellProblem(error.what());
    scenarioFailed_ = true;
  }
  if (std::filesystem::path state = statePathFromEnvironment(); !state.empty()) {
    plan_.stateFile = std::move(state);
  }
}

void Library::install(Scenario scenario) {
  memory_.reset();
  device_ = std::move(scenario.device);
  laterUnits_.clear();
  for (std::unique_ptr<Device>& unit : scenario.laterUnits) {
    laterUnits_.push_back(std::move(unit));
  }
  unit_ = 1;
  nextUnitAt_.reset();
  ++scenarios_;
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
    std::filesystem::path path = plan_.stateFile;
    if (unit_ > 1) {
      path += "." + std::to_string(unit_);
    }
    memory_.emplace(path, *device_);
    refusal_.clear();
  } catch (const StateFileError& error) {
    // Said once, however often a program tries.
    if (refusal_ != error.what()) {
      refusal_ = error.what();
      tellProblem(error.what());
    }
    return error.status();
  }
  device_->postpone(device_->clock.now() - before);
  return kOk;
}

void Library::remember() {
  if (!memory_) {
    return;
  }
  try {
    memory_->save(*device_);
  } catch (const StateFileError& error) {
    // Said once; the next session tries the file again.
    tellProblem(error.what());
    memory_.reset();
  }
}

void Library::plugWhenDue() {
  device_->plugWhenDue();
  if (laterUnits_.empty() || !device_->isUnplugged()) {
    return;
  }
  if (!nextUnitAt_) {
    nextUnitAt_ = device_->clock.now() + plan_.nextUnitAfter;
  }
  if (device_->clock.skipsWaiting() || device_->clock.now() >= *nextUnitAt_) {
    plugNext();
  }
}

void Library::plugNext() {
  nextUnitAt_.reset();
  memory_.reset();
  device_->unplug();
  const DevicePointer next = laterUnits_.front();
  laterUnits_.pop_front();
  next->clock = device_->clock;
  next->postpone(next->clock.now());
  device_ = next;
  ++unit_;
}

std::optional<std::int32_t> Library::whyUnreachable(const DevicePointer& device, Needs needs) {
  if (needs == Needs::kNothing) {
    return std::nullopt;
  }
  if (device != device_) {
    return device->isReachable() ? kNoPort : kDeviceGone;
  }
  if (!session_.isPortOpen()) {
    return kNoPort;
  }
  device->plugWhenDue();
  return device->isReachable() && session_.isPortOf(*device) ? std::nullopt : std::optional(kDeviceGone);
}

void Library::apply(const Fault& fault, const Call& call, CallInProgress& entered) {
  switch (fault.what) {
    case FaultEffect::kDelay:
      entered.delay = fault.delay;
      break;
    case FaultEffect::kUnplug:
      device_->unplug(fault.delay);
      break;
    default:
      if (call.output.data()) {
        std::copy_n(fault.answer.begin(), std::min(fault.answer.size(), call.output.size()), call.output.begin());
      }
      if (call.length && fault.length) {
        *call.length = *fault.length;
      }
      entered.status = fault.status;
  }
}

Library::CallInProgress Library::enter(Call call, Needs needs) {
  const std::scoped_lock lock(state_);
  plugWhenDue();
  CallInProgress entered;
  entered.device = device_;
  entered.scenario = scenarios_;
  entered.entry.operation = call.operation;
  entered.entry.arguments = std::move(call.arguments);
  entered.entry.thread = std::this_thread::get_id();
  entered.start = device_->clock.now();
  entered.number = calls_++;
  device_->finishWork();
  if (const auto* operation = device::findOperation(call.operation);
      operation && operation->kind == device::Kind::kChange) {
    device_->noteWork();
  }
  // Both are counted, whichever fault the call then has.
  const Fault* const anyFault = device_->faults.next(FaultPoint::kCall);
  const Fault* const ownFault = device_->faults.next(FaultPoint::kOperation, call.operation);
  for (const Fault* const fault : {anyFault, ownFault}) {
    if (fault) {
      apply(*fault, call, entered);
    }
  }
  if (!entered.status) {
    entered.status = whyUnreachable(device_, needs);
  }
  return entered;
}

std::int32_t Library::finishCall(CallInProgress& entered, std::int32_t status) {
  letTimePass(entered.device, entered.delay);
  const std::scoped_lock lock(state_);
  if (entered.scenario == scenarios_) {
    entered.entry.result = status;
    entered.entry.duration = entered.device->clock.now() - entered.start;
    journal_.push_back(std::move(entered.entry));
    if (journal_.size() > kMaxJournal) {
      journal_.pop_front();
    }
  }
  return status;
}

void Library::letTimePass(const DevicePointer& device, std::chrono::nanoseconds time) {
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

std::int32_t Library::write(Call call, const std::function<std::int32_t(Device&)>& body) {
  return perform(std::move(call), [&](Device& device, std::size_t number) {
    return device.transfers.write(number, [&] { return body(device); });
  });
}

std::int32_t Library::read(Call call, const std::function<Answer(Device&)>& body) {
  const std::span<std::uint8_t> output = call.output;
  return perform(std::move(call), [&](Device& device, std::size_t number) {
    return device.transfers.read(number, output, [&] { return body(device); });
  });
}

std::int32_t Library::perform(Call call, const std::function<std::int32_t(Device&, std::size_t)>& transfer) {
  const UnderWay underWay(callsUnderWay_);
  const std::scoped_lock oneCall(oneCall_);
  CallInProgress entered = enter(std::move(call), Needs::kPort);
  if (entered.status) {
    return finishCall(entered, *entered.status);
  }
  std::chrono::nanoseconds latency;
  {
    const std::scoped_lock lock(state_);
    latency = plan_.latency;
  }
  letTimePass(entered.device, latency);

  std::int32_t status = kOk;
  std::chrono::nanoseconds spent{};
  {
    const std::scoped_lock lock(state_);
    // The device may have gone while the call was on its way.
    if (const auto refused = whyUnreachable(entered.device, Needs::kPort)) {
      status = *refused;
    } else {
      Device& device = *entered.device;
      status = transfer(device, entered.number);
      device.unplugIfRequested();
      spent = device.takeSpentTime();
      remember();
    }
  }
  letTimePass(entered.device, spent);
  return finishCall(entered, status);
}

std::int32_t Library::sessionCall(Call call, const std::function<std::int32_t(Session&, Device&)>& body) {
  const UnderWay underWay(callsUnderWay_);
  const std::scoped_lock oneCall(oneCall_);
  const bool beginsSession = call.beginsSession;
  const bool endsSession = call.endsSession;
  CallInProgress entered = enter(std::move(call), Needs::kNothing);
  {
    const std::scoped_lock lock(state_);
    if (!entered.status) {
      const std::int32_t recalled = beginsSession && !scenarioFailed_ ? recall() : kOk;
      entered.status = scenarioFailed_ ? kBadScenario : recalled != kOk ? recalled : body(session_, *device_);
    } else if (endsSession) {
      session_.loseEnd();
    }
  }
  return finishCall(entered, *entered.status);
}

std::int32_t Library::longCall(Call call, const std::function<std::int32_t(LongCall&)>& body) {
  const UnderWay underWay(callsUnderWay_);
  CallInProgress entered;
  {
    const std::scoped_lock oneCall(oneCall_);
    entered = enter(std::move(call), Needs::kPort);
  }
  if (!entered.status) {
    LongCall longCall(*this, entered.device, entered.number);
    entered.status = body(longCall);
  }
  return finishCall(entered, *entered.status);
}

std::int32_t Library::LongCall::step(const std::function<std::int32_t(Device&)>& step) {
  const std::scoped_lock oneCall(library_.oneCall_);
  const std::scoped_lock lock(library_.state_);
  if (const auto refused = library_.whyUnreachable(device_, Needs::kPort)) {
    return *refused;
  }
  const std::int32_t status = device_->transfers.begin(number_) ? step(*device_) : kNoAnswer;
  device_->noteWork();
  device_->unplugIfRequested();
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
  library_.letTimePass(device_, scaled);
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

void Library::addFault(Fault fault) {
  const bool isKnown = fault.at != FaultPoint::kOperation || device::findOperation(fault.operation) != nullptr;
  if (fault.first == 0 || !isKnown) {
    throw std::invalid_argument("no call " + std::to_string(fault.first) + " of an operation named " + fault.operation);
  }
  const std::scoped_lock lock(state_);
  device_->faults.add(std::move(fault));
}

bool Library::plugNextUnit() {
  const std::scoped_lock lock(state_);
  if (laterUnits_.empty()) {
    return false;
  }
  plugNext();
  return true;
}

}  // namespace simulator
