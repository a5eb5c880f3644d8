#pragma once

#include "recorder/recording.h"
#include "recorder/recording_file.h"

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

/// Writes a redacted copy of a recording; of a failed attempt nothing remains.
/// @param to must not exist
/// @param partSize bytes after which the copy goes on in the next file; all are kept
/// @return or why not
tl::expected<void, RecordingError> redactRecording(const std::filesystem::path& from, const std::filesystem::path& to,
                                                   std::uint64_t partSize = RecordingFile::Limits().partSize);

}  // namespace recorder
