#include "simulator/library/state_file.h"

#include "simulator/device/state_bytes.h"
#include "simulator/device/status.h"
#include "simulator/scenario/error_line.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <utility>

namespace simulator {
namespace {

constexpr std::string_view kMagic = "Pellavox simulated device 1\n";
constexpr std::size_t kHeadSize = 1 + 2 + 4;
constexpr std::size_t kSumSize = 4;
// Of both flashes, the log of their changes, and room.
constexpr std::uintmax_t kMaxSize = std::uintmax_t{128} * 1024 * 1024;

/// CRC-32 as of Ethernet.
std::uint32_t crc32(std::span<const std::uint8_t> bytes) {
  static constexpr auto kTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
      std::uint32_t value = i;
      for (int bit = 0; bit < 8; ++bit) {
        value = (value & 1U) != 0 ? value >> 1U ^ 0xEDB88320U : value >> 1U;
      }
      table[i] = value;
    }
    return table;
  }();
  std::uint32_t sum = 0xFFFFFFFF;
  for (const std::uint8_t byte : bytes) {
    sum = kTable[(sum ^ byte) & 0xFFU] ^ sum >> 8U;
  }
  return ~sum;
}

/// The part, index and length, their checksum, the record's bytes, the checksum
/// of these. Two checksums, so that a damaged length is not taken for the end
/// of the file.
std::vector<std::uint8_t> fileBytes(const std::vector<StateRecord>& records) {
  StateWriter file;
  for (const StateRecord& record : records) {
    StateWriter head;
    head.number(static_cast<std::uint8_t>(record.part));
    head.number(record.index);
    head.number(static_cast<std::uint32_t>(record.bytes.size()));
    const std::vector<std::uint8_t> headBytes = head.take();
    file.raw(headBytes);
    file.number(crc32(headBytes));
    file.raw(record.bytes);
    file.number(crc32(record.bytes));
  }
  return file.take();
}

/// Takes a record from the beginning of `bytes`.
/// @return false when they end before it does
/// @throws StateError when they are not as they were written
bool takeRecord(std::span<const std::uint8_t>& bytes, StateRecord& record) {
  if (bytes.size() < kHeadSize + kSumSize) {
    return false;
  }
  const auto sumAt = [&](std::size_t offset) {
    return StateReader(bytes.subspan(offset, kSumSize)).number<std::uint32_t>();
  };
  if (crc32(bytes.first(kHeadSize)) != sumAt(kHeadSize)) {
    throw StateError();
  }
  StateReader head(bytes.first(kHeadSize));
  record.part = static_cast<StatePart>(head.number<std::uint8_t>());
  record.index = head.number<std::uint16_t>();
  const std::size_t size = head.number<std::uint32_t>();
  const std::size_t start = kHeadSize + kSumSize;
  if (bytes.size() - start < size + kSumSize) {
    return false;
  }
  const auto content = bytes.subspan(start, size);
  if (crc32(content) != sumAt(start + size)) {
    throw StateError();
  }
  record.bytes.assign(content.begin(), content.end());
  bytes = bytes.subspan(start + size + kSumSize);
  return true;
}

std::vector<StateRecord> recordsOf(std::span<const std::uint8_t> bytes) {
  std::vector<StateRecord> records;
  bool isWhole = false;
  StateRecord record{StatePart::kModel, 0, {}};
  while (takeRecord(bytes, record)) {
    isWhole = isWhole || record.part == StatePart::kEndOfSnapshot;
    if (record.part != StatePart::kEndOfSnapshot) {
      records.push_back(std::move(record));
    }
  }
  // A snapshot is there as a whole or not at all, unless it is damaged.
  if (!isWhole) {
    throw StateError();
  }
  return records;
}

StateFileError notAStateFile(const std::filesystem::path& path) {
  return {path, "is no state file; name another one", kBadState};
}

StateFileError notWritten(const std::filesystem::path& path) {
  return {path, "cannot be written; make room, or name another state file", kBadState};
}

std::filesystem::path withEnding(std::filesystem::path path, const char* ending) { return path += ending; }

bool isOtherThanFile(const std::filesystem::path& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

/// A link's file is used and locked; a new snapshot would replace the link itself.
std::filesystem::path linkFollowed(const std::filesystem::path& path) {
  constexpr int kMostLinks = 40;  // as the kernel
  std::error_code error;
  std::filesystem::path target = path;
  for (int links = 0; std::filesystem::is_symlink(target, error); ++links) {
    if (links == kMostLinks) {
      throw StateFileError(path, "is a link that leads nowhere; name a file", kBadState);
    }
    target = target.parent_path() / std::filesystem::read_symlink(target, error);
  }
  // Before a lock is left beside it.
  if (isOtherThanFile(target)) {
    throw notAStateFile(path);
  }
  return target;
}

}  // namespace

StateFileError::StateFileError(const std::filesystem::path& path, const std::string& text, std::int32_t status)
    : std::runtime_error(errorLine(path, text)), status_(status) {}

StateFile::StateFile(const std::filesystem::path& path) : path_(linkFollowed(path)) {
  const FileLock::Result result = lock_.lock(withEnding(path_, ".lock"));
  if (result == FileLock::Result::kInUse) {
    throw StateFileError(path_, "another program has the simulated device; end it, or name another state file",
                         kStateInUse);
  }
  if (result == FileLock::Result::kFailed) {
    throw StateFileError(path_, "cannot be made; name a state file in a folder that can be written", kBadState);
  }
}

std::vector<StateRecord> StateFile::read() const {
  std::error_code error;
  const auto status = std::filesystem::status(path_, error);
  if (status.type() == std::filesystem::file_type::not_found) {
    return {};
  }
  const std::uintmax_t size =
      std::filesystem::is_regular_file(status) ? std::filesystem::file_size(path_, error) : kMaxSize + 1;
  if (error || size > kMaxSize) {
    throw notAStateFile(path_);
  }
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  std::ifstream file(path_, std::ios::binary);
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file.is_open() || static_cast<std::uintmax_t>(file.gcount()) != size) {
    throw StateFileError(path_, "cannot be read; check its permissions", kBadState);
  }
  if (bytes.empty()) {
    return {};  // made by a script that wanted a name of its own
  }
  const std::string_view magic(reinterpret_cast<const char*>(bytes.data()), std::min(bytes.size(), kMagic.size()));
  if (magic != kMagic) {
    throw StateFileError(path_, "is no state file, or a damaged one; delete it or name another one", kBadState);
  }
  try {
    return recordsOf(std::span(bytes).subspan(kMagic.size()));
  } catch (const StateError&) {
    throw StateFileError(path_, "is damaged; delete it to start with a new device", kBadState);
  }
}

void StateFile::write(std::ofstream& file, const std::vector<std::uint8_t>& bytes) const {
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  file.flush();
  if (!file) {
    throw notWritten(path_);
  }
}

void StateFile::replace(const std::vector<StateRecord>& snapshot) {
  std::vector<std::uint8_t> bytes(kMagic.begin(), kMagic.end());
  const std::vector<std::uint8_t> records = fileBytes(snapshot);
  bytes.insert(bytes.end(), records.begin(), records.end());
  const std::filesystem::path draft = withEnding(path_, ".new");
  {
    std::ofstream file(draft, std::ios::binary | std::ios::trunc);
    write(file, bytes);
  }
  file_.close();
  std::error_code error;
  const bool flushed = flushToDisk(draft);
  if (flushed) {
    std::filesystem::rename(draft, path_, error);
  }
  file_ = std::ofstream(path_, std::ios::binary | std::ios::app);
  if (!flushed || error || !file_) {
    throw notWritten(path_);
  }
  snapshotSize_ = bytes.size();
  appended_ = 0;
}

void StateFile::append(const std::vector<StateRecord>& changes) {
  const std::vector<std::uint8_t> bytes = fileBytes(changes);
  write(file_, bytes);
  appended_ += bytes.size();
}

}  // namespace simulator
