#pragma once

/// How an external MCU upgrade continues when one of its calls goes wrong. Data only;
/// upgrade_runs.cpp turns it into runs.
namespace fault_matrix {

/// Purpose of a call during the upgrade. tests/support/upgrade_reference.h has the
/// calls, pauses and texts without a fault.
enum class Step {
  kFamily,
  kReset,
  kSetBoot,
  kPoll,
  kFirstStart,  ///< the packet; its checksum is the next call
  kStart,       ///< as kFirstStart, but the packet before had the same checksum
  kStartChecksum,
  kAddress,
  kAddressChecksum,
  kData,
  kDataChecksum,
  kDataFF,  ///< a packet with checksum 0xFF, the value that stands for a failed read
  kDataFFChecksum,
  kFinish,
  kFinishChecksum,
};

/// How the upgrade continues.
enum class Course {
  kGoesOn,      ///< as if nothing had happened
  kStops,       ///< at once, or after reading the packet's checksum
  kOtherPlace,  ///< asks at the boot loader's address, gets no answer, and stops
  kPollsAgain,
  kNextAttempt,  ///< of the ten start packets, without a poll
  kSentAgain,    ///< the packet and its checksum
  kAllAttempts,  ///< fail; then it stops
  kAllPolls,     ///< fail; then it stops
};

/// A text with %1 appears once per attempt, with the attempt's number.
struct Reaction {
  Course course = Course::kGoesOn;
  const char* text = nullptr;
};

struct StepRow {
  Step step = Step::kFamily;
  Reaction fails;      ///< this one call fails
  Reaction ones;       ///< it succeeds and reads 0xFF
  Reaction untouched;  ///< it succeeds and reads nothing, which is 0
  Reaction gone;       ///< it and all that follow fail
  Reaction late;       ///< two seconds; one after a finished upgrade the MCU leaves its boot loader
};

/// The row of a step.
const StepRow& stepRow(Step step);

}  // namespace fault_matrix
