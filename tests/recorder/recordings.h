#pragma once

#include "recorder/recorder.h"
#include "recorder/recording.h"
#include "tests/recorder/through.h"

#include <QFile>
#include <QtGlobal>

#include <filesystem>
#include <string>

/// Making and reading recordings in tests.

/// The functions that the test is linked with.
inline recorder::FunctionTable simulatedDevice() {
  recorder::FunctionTable table{};
#define OPERATION(name, ...) quiet_library::put(table, device::Operation::name, &::name);
#include "device/operations.inc"
#undef OPERATION
  return table;
}

/// Options to record calls of these functions into a file; the recorder's messages become
/// warnings.
inline recorder::Recorder::Options optionsFor(const recorder::FunctionTable& functions,
                                              const std::filesystem::path& file) {
  recorder::Recorder::Options options;
  options.functions = functions;
  options.file = file;
  options.header.library = "libRTICE_SDK_x64.so";
  options.header.recorder = "1.03";
  options.header.utc = recorder::utcNow();
  options.tell = [](const std::string& text) { qWarning("%s", text.c_str()); };
  return options;
}

/// Reads a recording. One that is not whole ends the test program.
inline recorder::Recording readBack(const std::filesystem::path& file) {
  auto recording = recorder::readRecording(file);
  if (!recording) {
    qFatal("%s", recording.error().text().c_str());
  }
  return *std::move(recording);
}

/// The content of a file; empty when it cannot be read.
inline QByteArray contentOf(const std::filesystem::path& path) {
  QFile file(QString::fromStdU16String(path.u16string()));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
