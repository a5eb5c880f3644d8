#pragma once

#include "simulator/device/device_state.h"
#include "simulator/library/exclusive_file.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace simulator {

/// A state file that cannot be used.
class StateFileError : public std::runtime_error {
 public:
  StateFileError(const std::filesystem::path& path, const std::string& text, std::int32_t status);
  /// What `initialize` then returns.
  std::int32_t status() const { return status_; }

 private:
  std::int32_t status_;
};

/// The file with a device's state: a snapshot, then whatever changed since, each
/// record with a checksum. A snapshot replaces the file at once; a change is
/// appended, and one that a killed process left incomplete does not count.
///
/// A link to it is followed. Locked against other processes by a second file, with
/// ".lock" at the end of its name.
class StateFile {
 public:
  /// Locks the file, which need not exist.
  /// @throws StateFileError
  explicit StateFile(const std::filesystem::path& path);

  /// The records since the last snapshot's beginning; empty for a new file.
  /// @throws StateFileError when the file is damaged
  std::vector<StateRecord> read() const;
  /// @throws StateFileError
  void replace(const std::vector<StateRecord>& snapshot);
  /// @throws StateFileError
  void append(const std::vector<StateRecord>& changes);
  /// Whether so much was appended that a snapshot is worth its while.
  bool isLong() const { return appended_ > snapshotSize_ + kAppendedAnyway; }

 private:
  static constexpr std::uint64_t kAppendedAnyway = std::uint64_t{1024} * 1024;

  void write(std::ofstream& file, const std::vector<std::uint8_t>& bytes) const;

  std::filesystem::path path_;
  FileLock lock_;
  std::ofstream file_;  // open at its end
  std::uint64_t snapshotSize_ = 0;
  std::uint64_t appended_ = 0;
};

}  // namespace simulator
