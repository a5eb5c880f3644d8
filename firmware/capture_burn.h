#pragma once

#include "device/result.h"

#include <QString>

namespace firmware {

/// Receives a burn's progress in percent, as the library reports it
/// (`wholePercent` makes a number for people of it). Any thread. A plain
/// function: the library hands its callback no context.
using BurnProgress = void (*)(float percent);

/// Erases the capture chip's flash and writes an image into it. Returns when the
/// burn has ended, which may take minutes. Check the image before
/// (`checkCaptureImage`): the library takes any file.
device::Result<> burnCapture(const QString& path, BurnProgress progress);

}  // namespace firmware
