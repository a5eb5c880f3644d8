#pragma once

#include "tests/robustness/control_table.h"

#include <QString>
#include <QVector>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace fault_matrix {

using control_table::Call;

inline constexpr std::chrono::seconds kDelay{2};

using Bytes = std::vector<std::uint8_t>;

/// A fault injected at one call.
struct Fault {
  enum class Kind { kNone, kAnswer, kLate, kGone, kProgress } kind = Kind::kNone;
  /// Result of the call.
  enum class Effect { kDevice, kFails, kOnes, kUntouched, kText } effect = Effect::kDevice;
  QString name = "healthy";
  std::int32_t status = 0;
  Bytes answer = {};
  std::optional<std::uint32_t> length = {};
  QString text = {};  // what kText shows
};
using Kind = Fault::Kind;
using Effect = Fault::Effect;

/// Whether an operation fails without a device.
bool needsDevice(const QString& operation);

/// All faults to inject at a call of an operation.
/// @param call the table's call; null if it has none
QVector<Fault> faultsOf(const QString& operation, const Call* call);

/// How many calls of an operation the device has seen since its creation.
unsigned callsSoFar(const QString& operation);

/// Injects the fault at the n-th call from now, counted from 1.
void inject(const Fault& fault, const QString& operation, unsigned nth);

/// Removes the after-effects of a fault.
void repair();

}  // namespace fault_matrix
