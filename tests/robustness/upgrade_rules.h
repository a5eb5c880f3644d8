#pragma once

#include "simulator/control/control.h"

#include <string>
#include <vector>

/// Checks an external MCU upgrade against the protocol's rules, given the answers that
/// the program got.
namespace upgrade_rules {

struct Findings {
  /// What the program did although the answers forbade it; empty = nothing.
  std::string breach;
  /// Why the program accepted packets that the boot loader did not take as sent; each
  /// reason once, in order of first appearance.
  std::vector<std::string> reasons;
};

/// @param journal   all calls since the simulator's reset
/// @param transfers those of one upgrade
/// @param success   whether the program reported success
Findings check(const std::vector<simulator::JournalEntry>& journal, const std::vector<simulator::Transfer>& transfers,
               bool success);

}  // namespace upgrade_rules
