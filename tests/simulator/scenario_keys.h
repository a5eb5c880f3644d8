#pragma once

#include <QString>

/// The keys of a scenario's outermost object, as messages list them.
inline const QString kTopKeys =
    "model, identity, signal, inputs, sink, audio, edid, externalMcu, unplugAfterMs, unplugAfterIdleMs, seed, faults, "
    "unplugAfterCalls, description, clock, speedFactor, latencyMs, stateFile, units, nextUnitAfterMs";
