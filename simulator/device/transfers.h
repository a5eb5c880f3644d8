#pragma once

#include "simulator/control/records.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace simulator {

class FaultPlan;

/// What an operation that reads gives its caller.
struct Answer {
  std::int32_t status = 0;               ///< when negative an error, without bytes
  std::vector<std::uint8_t> bytes = {};  ///< for the beginning of the caller's buffer
};

/// The path between the device and its callers, with the faults that happen on
/// it.
class Transfers {
 public:
  /// @param faults must outlive this
  explicit Transfers(FaultPlan& faults) : faults_(faults) {}

  /// Replaces the faults of transfers, whose count starts over, and begins a record
  /// of their outcomes.
  /// @throws std::invalid_argument for a fault at another point, a `first` of 0 and a
  ///         rate above 1000
  void start(const std::vector<Fault>& faults, std::uint64_t seed);
  const std::vector<Transfer>& record() const { return record_; }

  /// An operation that writes in one transfer: runs `body`, or has a fault instead.
  /// @param call the call's number
  std::int32_t write(std::size_t call, const std::function<std::int32_t()>& body);
  /// An operation that reads in one transfer.
  /// @param output the caller's buffer, which holds every answer of `body`
  std::int32_t read(std::size_t call, std::span<std::uint8_t> output, const std::function<Answer()>& body);

  // For an operation with many transfers, each of which begins so.
  /// @return whether the device acknowledges it
  bool begin(std::size_t call);
  /// @return whether the transfer's write is to be left out
  bool ignoresWrite();

  /// What arrives of the bytes that are written in the transfer.
  std::vector<std::uint8_t> arriving(std::span<const std::uint8_t> bytes);

 private:
  bool happens(FaultPoint at, FaultEffect what);
  void note(FaultEffect fault);
  void note(std::span<const std::uint8_t> bytes);
  void flip(std::span<std::uint8_t> bytes);
  /// What reaches the caller of an answer.
  void spoil(Answer& answer);

  FaultPlan& faults_;
  bool records_ = false;
  std::vector<Transfer> record_;
};

}  // namespace simulator
