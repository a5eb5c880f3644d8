#include "tests/robustness/fault_matrix/upgrade_table.h"

namespace fault_matrix {
namespace {

constexpr char kResetText[] = "Error Reset MCU ...";
constexpr char kSetBootText[] = "Error set boot mode ...";
constexpr char kStatusText[] = "Error MCU status...[fail]";
constexpr char kStartText[] = "%1Error MCU checksum...[1]";
// The checksum of the packet with address 0.
constexpr char kAddressText[] = "%1Error MCU Addr checksum...[2] 252";
constexpr char kDataText[] = "Error MCU data checksum...[fail]";
constexpr char kFinishText[] = "Error MCU Addr checksum...[3]";

// Writes read nothing, so their columns for answers are unused.
constexpr StepRow kSteps[] = {
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

}  // namespace

const StepRow& stepRow(Step step) {
  const StepRow* row = kSteps;
  while (row->step != step) {
    ++row;
  }
  return *row;
}

}  // namespace fault_matrix
