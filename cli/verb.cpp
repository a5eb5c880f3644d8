#include "cli/verb.h"

namespace cli {

std::vector<Command> verbs() {
  return {infoVerb(),   rxVerb(),        videoVerb(),   audioVerb(),      mcuVerb(),    captureVerb(),
          edidVerb(),   serialVerb(),    hdcpVerb(),    i2cVerb(),        gpioVerb(),   restoreVerb(),
          rebootVerb(), snapshotVerb(),  diffVerb(),    watchVerb(),      doctorVerb(), recordVerb(),
          replayVerb(), recordingVerb(), stationVerb(), completionVerb(), manualVerb()};
}

}  // namespace cli
