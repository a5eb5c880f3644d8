#pragma once

#include "device/result.h"

#include <QString>

#include <functional>

namespace firmware {

/// Receives a burn's progress in percent, as the library reports it
/// (`wholePercent` makes a number for people of it). Any thread. A plain
/// function: the library hands its callback no context.
using BurnProgress = void (*)(float percent);

/// Erases the capture chip's flash and writes an image into it. Returns when the
/// burn has ended, which may take minutes. Check the image before
/// (`checkCaptureImage`): the library takes any file.
device::Result<> burnCapture(const QString& path, BurnProgress progress);

/// The same for one burn at a time, told to somebody with a state: one call at a time,
/// and none after the burn has ended, whatever threads the library has left.
device::Result<> burnCaptureTelling(const QString& path, const std::function<void(float percent)>& tell);

}  // namespace firmware
