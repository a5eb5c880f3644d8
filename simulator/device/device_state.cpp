#include "simulator/device/device_state.h"

#include "simulator/device/device.h"
#include "simulator/device/state_bytes.h"

#include <algorithm>
#include <chrono>

namespace simulator {
namespace {

// Of a memory's pieces; erased pieces take a few bytes only.
constexpr std::size_t kPieceSize = 1024;

/// Records the pieces of a memory that differ from what was there before.
/// @param first offset in the memory of `after`
void addPieces(StatePart part, std::size_t first, std::span<const std::uint8_t> before,
               std::span<const std::uint8_t> after, std::vector<StateRecord>& records) {
  for (std::size_t offset = 0; offset < after.size(); offset += kPieceSize) {
    const auto piece = after.subspan(offset, std::min(kPieceSize, after.size() - offset));
    const bool isKnown = before.size() >= offset + piece.size() &&
                         std::equal(piece.begin(), piece.end(), before.begin() + static_cast<std::ptrdiff_t>(offset));
    if (isKnown) {
      continue;
    }
    StateWriter writer;
    writer.number(static_cast<std::uint32_t>(first + offset));
    writer.number(static_cast<std::uint32_t>(piece.size()));
    const bool isFilled = std::all_of(piece.begin(), piece.end(), [&](auto byte) { return byte == piece[0]; });
    writer.raw(isFilled ? piece.first(1) : piece);
    records.push_back({part, 0, writer.take()});
  }
}

void restorePiece(StateReader& reader, std::span<std::uint8_t> memory) {
  const auto offset = reader.number<std::uint32_t>();
  const auto size = reader.number<std::uint32_t>(kPieceSize);
  if (size == 0 || offset > memory.size() || size > memory.size() - offset) {
    throw StateError();
  }
  const auto target = memory.subspan(offset, size);
  const auto first = reader.raw(1);
  if (size > 1 && !reader.isAtEnd()) {
    const auto others = reader.raw(size - 1);
    target[0] = first[0];
    std::copy(others.begin(), others.end(), target.begin() + 1);
  } else {
    std::fill(target.begin(), target.end(), first[0]);
  }
}

bool isMemory(StatePart part) {
  return part == StatePart::kMcuFlash || part == StatePart::kBoardEeprom || part == StatePart::kCalibrationEeprom;
}

std::span<std::uint8_t> memoryOf(StatePart part, Device& device) {
  switch (part) {
    case StatePart::kMcuFlash:
      return device.mcu.memory();
    case StatePart::kCaptureFlash:
      return device.flash.memory();
    case StatePart::kBoardEeprom:
      return device.boardEeprom.memory();
    case StatePart::kCalibrationEeprom:
      return device.calibrationEeprom.memory();
    default:
      throw StateError();
  }
}

std::int64_t hostMilliseconds() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

StateRecord clockRecord(const Device& device) {
  StateWriter writer;
  writer.time(device.clock.now());
  writer.number(static_cast<std::uint64_t>(hostMilliseconds()));
  return {StatePart::kClock, 0, writer.take()};
}

// The device has gone on while no program was there; under a virtual clock no
// time has passed.
void restoreClock(StateReader& reader, Device& device) {
  const std::chrono::nanoseconds time = reader.time();
  const auto host = static_cast<std::int64_t>(reader.number<std::uint64_t>());
  constexpr std::int64_t kDay = 24LL * 60 * 60 * 1000;
  if (time < std::chrono::nanoseconds::zero() || time > std::chrono::hours(24 * 365 * 10)) {
    throw StateError();
  }
  const std::chrono::milliseconds away(
      device.clock.isStopped() ? 0 : std::clamp(hostMilliseconds() - host, std::int64_t{0}, kDay));
  device.clock.advance(time + away - device.clock.now());
}

void restorePart(const StateRecord& record, StateReader& reader, Device& device) {
  switch (record.part) {
    case StatePart::kClock:
      return restoreClock(reader, device);
    case StatePart::kSettings:
      return device.restoreSettings(reader);
    case StatePart::kProvisioning:
      return device.provisioning.restore(reader);
    case StatePart::kEdidSlot:
      return device.edid.restoreSlot(record.index, reader);
    case StatePart::kMcu:
      return device.mcu.restore(reader);
    case StatePart::kCaptureChip:
      return device.flash.restore(reader);
    default:
      return restorePiece(reader, memoryOf(record.part, device));
  }
}

}  // namespace

void restore(const StateRecord& record, Device& device) {
  StateReader reader(record.bytes);
  restorePart(record, reader, device);
  if (!reader.isAtEnd()) {
    throw StateError();
  }
}

DeviceState::DeviceState(const Device& device) : factory_(contents(device)), stored_(factory_) {}

DeviceState::Contents DeviceState::contents(const Device& device) {
  Contents contents;
  const auto add = [&](StatePart part, auto store, std::uint16_t index = 0) {
    StateWriter writer;
    store(writer);
    contents[{part, index}] = writer.take();
  };
  add(StatePart::kSettings, [&](StateWriter& writer) { device.storeSettings(writer); });
  add(StatePart::kProvisioning, [&](StateWriter& writer) { device.provisioning.store(writer); });
  for (std::uint8_t slot = 0; slot < EdidStore::kSlots; ++slot) {
    add(
        StatePart::kEdidSlot, [&](StateWriter& writer) { device.edid.storeSlot(slot, writer); }, slot);
  }
  add(StatePart::kMcu, [&](StateWriter& writer) { device.mcu.store(writer); });
  add(StatePart::kMcuFlash, [&](StateWriter& writer) { writer.raw(device.mcu.flash()); });
  add(StatePart::kCaptureChip, [&](StateWriter& writer) { device.flash.store(writer); });
  add(StatePart::kBoardEeprom, [&](StateWriter& writer) { writer.raw(device.boardEeprom.content()); });
  add(StatePart::kCalibrationEeprom, [&](StateWriter& writer) { writer.raw(device.calibrationEeprom.content()); });
  return contents;
}

void DeviceState::restoreFactory(Device& device) const {
  for (const auto& [key, bytes] : factory_) {
    if (isMemory(key.first)) {
      std::copy(bytes.begin(), bytes.end(), memoryOf(key.first, device).begin());
    } else {
      restore({key.first, key.second, bytes}, device);
    }
  }
}

void DeviceState::addDifferences(const Contents& from, const Contents& to, std::vector<StateRecord>& records) {
  for (const auto& [key, bytes] : to) {
    const auto before = from.find(key);
    if (isMemory(key.first)) {
      addPieces(key.first, 0, before->second, bytes, records);
    } else if (before->second != bytes) {
      records.push_back({key.first, key.second, bytes});
    }
  }
}

std::vector<StateRecord> DeviceState::snapshot(Device& device) {
  StateWriter model;
  model.text(device.modelAndFamily());
  std::vector<StateRecord> records{{StatePart::kModel, 0, model.take()}};
  stored_ = contents(device);
  addDifferences(factory_, stored_, records);
  device.flash.takeChanged();
  addPieces(StatePart::kCaptureFlash, 0, {}, device.flash.content(), records);
  records.push_back(clockRecord(device));
  records.push_back({StatePart::kEndOfSnapshot, 0, {}});
  return records;
}

std::vector<StateRecord> DeviceState::changes(Device& device) {
  std::vector<StateRecord> records;
  Contents now = contents(device);
  addDifferences(stored_, now, records);
  stored_ = std::move(now);
  const auto [first, size] = device.flash.takeChanged();
  addPieces(StatePart::kCaptureFlash, first, {}, std::span(device.flash.content()).subspan(first, size), records);
  if (!records.empty()) {
    records.push_back(clockRecord(device));
  }
  return records;
}

}  // namespace simulator
