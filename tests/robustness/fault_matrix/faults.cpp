#include "tests/robustness/fault_matrix/faults.h"

#include "simulator/control/control.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <string>

namespace fault_matrix {
namespace {

// Longer than any operation or restart takes.
constexpr std::chrono::seconds kUntilTheDeviceIsBack{5};
// The simulated device cuts answers to the size of the caller's buffer.
constexpr std::size_t kLargestBuffer = 600;

/// Whether an operation writes to a caller's buffer.
bool reads(const QString& operation) { return operation.contains(QLatin1String("Get")); }

QVector<Fault> statuses(const Call* call) {
  QVector<Fault> faults;
  for (const std::int32_t status : {1, -1, INT_MIN, INT_MAX}) {
    // The program must ignore what a failing call leaves in the buffer.
    Fault fault{Kind::kAnswer, Effect::kFails, QStringLiteral("status %1").arg(status), status,
                Bytes(kLargestBuffer, 0xFF)};
    if (call != nullptr && call->returnsLength && status > 0) {
      fault.effect = Effect::kText;
      fault.text = QString(std::min(status, call->longestText), QChar(0xFF));
    }
    faults << fault;
  }
  return faults;
}

QVector<Fault> garbage(const Call& call) {
  const Bytes endless(kLargestBuffer, 'y');
  const auto letters = [](int count) { return QString(count, QChar('y')); };
  QVector<Fault> faults;
  if (call.returnsLength) {
    for (const std::int32_t length : {-2, 0, 5, 64, 65, 100, 101, INT_MAX}) {
      faults << Fault{Kind::kAnswer,
                      length < 0 ? Effect::kFails : Effect::kText,
                      QStringLiteral("length %1, text without end").arg(length),
                      length,
                      endless,
                      {},
                      letters(std::clamp(length, 0, call.longestText))};
      faults << Fault{Kind::kAnswer, length < 0 ? Effect::kFails : Effect::kText,
                      QStringLiteral("length %1, nothing written").arg(length), length};
      faults.last().text = QLatin1String("");
    }
    return faults;
  }
  faults << Fault{Kind::kAnswer, Effect::kOnes, "all bytes 0xFF", 0, Bytes(kLargestBuffer, 0xFF)}
         << Fault{Kind::kAnswer, Effect::kUntouched, "nothing written"};
  if (call.textWidget != nullptr) {
    faults << Fault{Kind::kAnswer, Effect::kText, "text without end", 0, endless, {}, letters(call.longestText)};
    // The program ignores the length that comes with a text.
    for (const std::uint32_t length : {0U, 4U, 100U, 101U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
      faults << Fault{Kind::kAnswer,
                      Effect::kText,
                      QStringLiteral("length %1 beside a text of 5").arg(static_cast<std::int32_t>(length)),
                      0,
                      {'y', 'y', 'y', 'y', 'y', 0},
                      length,
                      letters(5)};
    }
  }
  return faults;
}

}  // namespace

bool needsDevice(const QString& operation) {
  return operation != QLatin1String("initialize") && operation != QLatin1String("uninitialize");
}

QVector<Fault> faultsOf(const QString& operation, const Call* call) {
  QVector<Fault> faults = statuses(call);
  if (call != nullptr && reads(operation)) {
    faults += garbage(*call);
  }
  if (operation == QLatin1String("burnToFlash")) {
    faults << Fault{Kind::kProgress, Effect::kDevice, "progress from NaN to infinity"};
  }
  return faults << Fault{Kind::kLate, Effect::kDevice, "takes 2 s"} << Fault{Kind::kGone, Effect::kFails, "unplugged"};
}

unsigned callsSoFar(const QString& operation) {
  unsigned count = 0;
  for (const simulator::JournalEntry& entry : simulator::journal()) {
    count += QString::fromStdString(entry.operation) == operation ? 1U : 0U;
  }
  return count;
}

void inject(const Fault& fault, const QString& operation, unsigned nth) {
  const std::string name = operation.toStdString();
  const unsigned call = callsSoFar(operation) + nth;
  switch (fault.kind) {
    case Kind::kNone:
      break;
    case Kind::kAnswer:
      simulator::answerCall(name, call, fault.status, fault.answer, fault.length);
      break;
    case Kind::kLate:
      simulator::delayCall(name, call, kDelay);
      break;
    case Kind::kGone:
      simulator::unplugAtCall(name, call);
      break;
    case Kind::kProgress:
      simulator::reportDuringBurns({NAN, -INFINITY, -1e30F, -1, 1e30F, INFINITY});
      break;
  }
}

void repair() {
  simulator::replug();
  simulator::advanceTime(kUntilTheDeviceIsBack);
}

}  // namespace fault_matrix
