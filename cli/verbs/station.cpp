#include "cli/verb.h"
#include "cli/verbs/station_commands.h"

namespace cli {

Command stationVerb() {
  Command verb{"station", "Work on a production line, and look into its ledger"};
  verb.commands = {stationRunCommand()};
  return verb;
}

}  // namespace cli
