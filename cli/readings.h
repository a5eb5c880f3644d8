#pragma once

#include "cli/document.h"
#include "device/result.h"
#include "diag/diag_calls.h"

#include <optional>

/// What the reading verbs show, each as one document; watch, snapshot and doctor
/// show the same. The device must be open. A value that cannot be read does not
/// keep the others from being read.
namespace cli {

/// A value that was read, and how people see it (empty = as it is).
struct Shown {
  Value value;
  QString text = {};
};

/// A code of the device with the text for it.
inline Shown coded(int code, const QString& text) { return {Value::Members{{"code", code}, {"text", text}}, text}; }

/// Adds what a call brought, or why it brought nothing.
void addReading(Document& document, const QString& key, const QString& label, const device::Result<Shown>& reading);

Document readInfo();
Document readRx();
Document readVideo();
Document readAudio();
Document readSerial();
Document readHdcp();
/// What the external MCU runs.
Document readMcu();
/// Mode, slot in use and all tables.
Document readEdid();
/// @param only this group; empty = both
Document readGpio(std::optional<diag::GpioGroup> only = {});

/// Everything that can be read.
Document readSnapshot();

}  // namespace cli
