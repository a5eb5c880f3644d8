#pragma once

/// How an upgrade of the external MCU goes on when one of its calls goes wrong.
/// Only data; upgrade_runs.cpp makes runs of it.
namespace fault_matrix {

/// What a call of the upgrade is for. Its calls, pauses and texts without a
/// fault are those of tests/support/upgrade_reference.h.
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
  kDataFF,  ///< a packet with checksum 0xFF, which is what a failed read counts as
  kDataFFChecksum,
  kFinish,
  kFinishChecksum,
};

/// How the upgrade goes on.
enum class Course {
  kGoesOn,      ///< as if nothing had been
  kStops,       ///< at once, or after the packet's checksum was read
  kOtherPlace,  ///< the boot loader's address is asked, where nobody is; then it stops
  kPollsAgain,
  kNextAttempt,  ///< of the ten start packets, without a poll
  kSentAgain,    ///< the packet and its checksum
  kAllAttempts,  ///< in vain; then it stops
  kAllPolls,     ///< in vain; then it stops
};

/// Texts count attempts from %1; an attempt's text stands once for each.
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
