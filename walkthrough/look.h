#pragma once

#include "walkthrough/operator.h"

/// Connects to whatever device is plugged in, reads the receiver and the versions,
/// prints what the window shows, and takes pictures. Expects nothing in particular:
/// the device may misbehave.
void lookAround(Operator& user);
