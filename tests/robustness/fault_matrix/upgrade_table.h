#pragma once

/// How an upgrade of the external MCU goes on when one of its calls goes wrong.
/// Only data; upgrade_runs.h makes runs of it.
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

inline constexpr char kResetText[] = "Error Reset MCU ...";
inline constexpr char kSetBootText[] = "Error set boot mode ...";
inline constexpr char kStatusText[] = "Error MCU status...[fail]";
inline constexpr char kStartText[] = "%1Error MCU checksum...[1]";
// The checksum of the packet with address 0.
inline constexpr char kAddressText[] = "%1Error MCU Addr checksum...[2] 252";
inline constexpr char kDataText[] = "Error MCU data checksum...[fail]";
inline constexpr char kFinishText[] = "Error MCU Addr checksum...[3]";

// Writes read nothing: their columns of answers do not count.
inline constexpr StepRow kSteps[] = {
    {Step::kFamily, {Course::kOtherPlace}, {Course::kOtherPlace}, {Course::kOtherPlace}, {Course::kOtherPlace}, {}},
    {Step::kReset, {Course::kStops, kResetText}, {}, {}, {Course::kStops, kResetText}, {}},
    {Step::kSetBoot, {Course::kStops, kSetBootText}, {}, {}, {Course::kStops, kSetBootText}, {}},
    {Step::kPoll,
     {Course::kPollsAgain},
     {Course::kPollsAgain},
     {Course::kPollsAgain},
     {Course::kAllPolls, kStatusText},
     {}},
    {Step::kFirstStart, {Course::kNextAttempt, kStartText}, {}, {}, {Course::kAllAttempts, kStartText}, {}},
    {Step::kStart, {Course::kGoesOn}, {}, {}, {Course::kAllAttempts, kStartText}, {}},
    {Step::kStartChecksum,
     {Course::kNextAttempt, kStartText},
     {Course::kNextAttempt, kStartText},
     {Course::kNextAttempt, kStartText},
     {Course::kAllAttempts, kStartText},
     {}},
    {Step::kAddress, {Course::kSentAgain, kAddressText}, {}, {}, {Course::kAllAttempts, kAddressText}, {}},
    {Step::kAddressChecksum,
     {Course::kSentAgain, kAddressText},
     {Course::kSentAgain, kAddressText},
     {Course::kSentAgain, kAddressText},
     {Course::kAllAttempts, kAddressText},
     {}},
    {Step::kData, {Course::kStops, kDataText}, {}, {}, {Course::kStops, kDataText}, {}},
    {Step::kDataChecksum,
     {Course::kStops, kDataText},
     {Course::kStops, kDataText},
     {Course::kStops, kDataText},
     {Course::kStops, kDataText},
     {}},
    {Step::kDataFF, {Course::kStops, kDataText}, {}, {}, {Course::kAllPolls, kStatusText}, {}},
    {Step::kDataFFChecksum,
     {Course::kGoesOn},
     {Course::kGoesOn},
     {Course::kStops, kDataText},
     {Course::kAllPolls, kStatusText},
     {}},
    {Step::kFinish,
     {Course::kSentAgain, kFinishText},
     {},
     {},
     {Course::kAllAttempts, kFinishText},
     {Course::kAllAttempts, kFinishText}},
    {Step::kFinishChecksum,
     {Course::kSentAgain, kFinishText},
     {Course::kSentAgain, kFinishText},
     {Course::kSentAgain, kFinishText},
     {Course::kAllAttempts, kFinishText},
     {Course::kAllPolls, kStatusText}},
};

}  // namespace fault_matrix
