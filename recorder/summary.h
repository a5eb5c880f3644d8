#pragma once

#include "recorder/recording.h"

#include <string>

/// What people and programs want to know of a recording.
namespace recorder {

/// What it is a recording of, a table of its operations, what was under way when
/// it ended, and packet by packet what the external MCU's boot loader was sent.
std::string summaryOf(const Recording& recording);

/// Where two recordings part, thread by thread; empty when they tell the same.
/// Times do not count.
std::string differencesBetween(const Recording& a, const Recording& b);

/// A scenario for the simulated device with what the recording tells of the real
/// one: model, identity, versions, input and signal, EDID mode and slot, audio.
/// Of each value the one that was read last.
std::string scenarioOf(const Recording& recording);

/// Writes a redacted copy of a recording.
/// @param to must not exist
/// @return or why not
tl::expected<void, RecordingError> redactRecording(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace recorder
