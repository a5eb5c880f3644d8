#pragma once

#include "simulator/control/control.h"

#include <string>
#include <vector>

/// The rules of the external MCU's upgrade, held against what the program was told.
namespace upgrade_rules {

struct Findings {
  /// What the program did though the answers it got forbade it; empty = nothing.
  std::string breach;
  /// Why packets counted as taken that the boot loader had not taken, or not as
  /// they were sent: each reason once, in the order in which they came up.
  std::vector<std::string> reasons;
};

/// @param journal   all calls since the simulator's reset
/// @param transfers those of one upgrade
/// @param success   whether the program reported success
Findings check(const std::vector<simulator::JournalEntry>& journal, const std::vector<simulator::Transfer>& transfers,
               bool success);

}  // namespace upgrade_rules
