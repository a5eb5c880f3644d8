#pragma once

#include "simulator/control/records.h"
#include "simulator/device/burn_control.h"
#include "simulator/device/device.h"
#include "simulator/library/device_memory.h"
#include "simulator/library/run_plan.h"
#include "simulator/library/session.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

struct Scenario;

/// Process-wide state and the common path of every call.
class Library {
 public:
  /// Made at the first use and never destroyed, because a worker thread may still
  /// be inside a call when the process ends.
  static Library& instance();

  /// A call as it comes in.
  struct Call {
    const char* operation;
    std::string arguments = {};           ///< for the journal
    std::span<std::uint8_t> output = {};  ///< the caller's buffer, which an injected answer may fill
    std::uint32_t* length = nullptr;      ///< the caller's length, which an injected answer may set
    bool beginsSession = false;           ///< whether the device's state is needed from now on
    bool endsSession = false;             ///< whether the caller considers the session ended afterwards
  };

  /// An operation that writes and needs an open port. Counts the call, looks for a
  /// fault, checks the port, takes the latency, runs `body` and notes the call.
  std::int32_t write(Call call, const std::function<std::int32_t(Device&)>& body);
  /// The same for an operation that reads: what `body` returns goes into the call's
  /// output, which must have room for it.
  std::int32_t read(Call call, const std::function<Answer(Device&)>& body);

  /// As `write`, for the session's own operations: no port needed, no latency.
  std::int32_t sessionCall(Call call, const std::function<std::int32_t(Session&, Device&)>& body);

  /// A long operation that leaves the device to other calls between its steps.
  /// `body` runs without any lock and reaches the device through `LongCall`.
  class LongCall;
  std::int32_t longCall(Call call, const std::function<std::int32_t(LongCall&)>& body);

  // What control.h offers.
  void reset();
  std::string loadScenario(const std::string& json, const std::string& name);
  std::vector<JournalEntry> journal() const;
  void clearJournal();
  unsigned callsUnderWay() const { return callsUnderWay_.load(std::memory_order_relaxed); }
  /// @throws std::invalid_argument for an unknown operation and for a first of 0
  void addFault(Fault fault);
  /// @return false when there is no other unit
  bool plugNextUnit();
  /// Runs an action on the device and returns what it returns.
  template <typename Action>
  auto withDevice(Action action) {
    const std::scoped_lock lock(state_);
    const Finally remembers{[this] { remember(); }};
    return action(*device_);
  }
  BurnControl& burnControl() { return burnControl_; }

 private:
  using DevicePointer = std::shared_ptr<Device>;
  struct Finally {
    explicit Finally(std::function<void()> last) : action(std::move(last)) {}
    Finally(const Finally&) = delete;
    Finally& operator=(const Finally&) = delete;
    ~Finally() { action(); }
    std::function<void()> action;
  };
  struct CallInProgress {
    DevicePointer device;
    std::uint64_t scenario = 0;  // tells whether another one was installed meanwhile
    JournalEntry entry;
    std::chrono::nanoseconds start{};
    std::optional<std::int32_t> status;  // set when the call ends here
    std::chrono::nanoseconds delay{};    // of the answer
    std::size_t number = 0;              // of the call, from 0
  };

  Library();
  void install(Scenario scenario);

  /// The common path of `write` and `read`. `transfer` also gets the call's number.
  std::int32_t perform(Call call, const std::function<std::int32_t(Device&, std::size_t)>& transfer);

  enum class Needs { kNothing, kPort };
  CallInProgress enter(Call call, Needs needs);
  void plugWhenDue();
  void plugNext();
  /// Applies a fault to the incoming call.
  void apply(const Fault& fault, const Call& call, CallInProgress& entered);
  /// Takes the device's state from its file, when it has one and was not asked yet.
  std::int32_t recall();
  /// Writes what has changed of the device to its state file.
  void remember();
  /// Why the device cannot be reached, if it cannot.
  std::optional<std::int32_t> whyUnreachable(const DevicePointer& device, Needs needs);
  std::int32_t finishCall(CallInProgress& entered, std::int32_t status);
  void letTimePass(const DevicePointer& device, std::chrono::nanoseconds time);

  // Held for the whole of a call: the device serves one at a time. Taken before
  // state_, which guards everything below for short moments only, so that the
  // control functions never wait for a slow device.
  std::mutex oneCall_;
  mutable std::mutex state_;

  BurnControl burnControl_;
  DevicePointer device_;
  std::deque<DevicePointer> laterUnits_;
  unsigned unit_ = 1;  // number of the one that is plugged in
  std::optional<std::chrono::nanoseconds> nextUnitAt_;
  std::uint64_t scenarios_ = 0;
  RunPlan plan_;
  std::optional<DeviceMemory> memory_;
  std::string refusal_;  // what the state file was refused with last
  Session session_;
  std::uint64_t calls_ = 0;
  std::deque<JournalEntry> journal_;
  bool scenarioFailed_ = false;

  // Relaxed, so that watching it does not synchronise the callers.
  std::atomic<unsigned> callsUnderWay_ = 0;
};

/// What the body of a long operation may do.
class Library::LongCall {
 public:
  /// Runs `step` on the device, one call at a time as all others.
  /// @return kDeviceGone or kNoPort without running it when the device cannot be reached
  std::int32_t step(const std::function<std::int32_t(Device&)>& step);
  /// As `step`, but whether the device can be reached or not.
  void cleanUp(const std::function<void(Device&)>& action);
  /// Lets time pass on the device's clock while other calls continue.
  void wait(std::chrono::nanoseconds nominal);

 private:
  friend class Library;
  LongCall(Library& library, DevicePointer device, std::size_t number)
      : library_(library), device_(std::move(device)), number_(number) {}
  Library& library_;
  DevicePointer device_;
  std::size_t number_;
};

}  // namespace simulator
