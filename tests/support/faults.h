#pragma once

#include "simulator/control/records.h"

#include <cstdint>

/// Short forms of the faults that many tests add.
namespace faults {

using simulator::Fault;
using simulator::FaultEffect;
using simulator::FaultPoint;

// Random faults; the rate is per thousand transfers.
inline Fault misread(unsigned perMille) {
  return {.at = FaultPoint::kRead, .perMille = perMille, .what = FaultEffect::kMisread};
}
inline Fault shortRead(unsigned perMille) {
  return {.at = FaultPoint::kRead, .perMille = perMille, .what = FaultEffect::kShort};
}
inline Fault damage(unsigned perMille) {
  return {.at = FaultPoint::kWrite, .perMille = perMille, .what = FaultEffect::kDamage};
}
inline Fault ignored(unsigned perMille) {
  return {.at = FaultPoint::kWrite, .perMille = perMille, .what = FaultEffect::kIgnored};
}

/// The device acknowledges this many transfers, then none.
inline Fault notAcknowledgedAfter(unsigned transfers) {
  return {.at = FaultPoint::kTransfer,
          .first = std::uint64_t{transfers} + 1,
          .count = 0,
          .what = FaultEffect::kNotAcknowledged};
}

/// A fault inside the external MCU.
/// @param at    kMcuTransfer to kMcuFinish
/// @param first the first one affected, counted from 1
/// @param count how many are affected; 0 = all from there on
/// @param polls of kBusy; 0 = until power is cut
inline Fault inMcu(FaultPoint at, FaultEffect what, std::uint64_t first = 1, std::uint64_t count = 1,
                   unsigned polls = 0) {
  return {.at = at, .first = first, .count = count, .what = what, .polls = polls};
}

}  // namespace faults
