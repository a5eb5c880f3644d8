#pragma once

#include "station/job_reader.h"

#include <cstdint>
#include <optional>

namespace station {

class Ledger;

/// Whether all that a job needs is there.
struct JobCheck {
  Mistakes mistakes;
  std::optional<std::int64_t> keysLeft;     ///< empty: the job takes no keys
  std::optional<std::int64_t> serialsLeft;  ///< empty: serial numbers are scanned
};

/// Looks at every file that a job names: images against their hashes and the model,
/// EDID tables, serial numbers and keys with those left of them. No device.
/// @param ledger what was used already; null = nothing
JobCheck checkJob(const Job& job, const Ledger* ledger);

}  // namespace station
