#pragma once

#include "simulator/control/control.h"
#include "tests/robustness/lying_jobs.h"
#include "tests/support/seeded_random.h"

#include <QString>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// What a job may change, what was observed, and how that is judged.
namespace lying {

using simulator::FaultEffect;
using simulator::JournalEntry;
using simulator::Transfer;
using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint8_t kBoardEeprom = 0x50;        // 1-byte addresses
inline constexpr std::uint8_t kCalibrationEeprom = 0x54;  // 2-byte addresses
inline constexpr std::uint8_t kSensor = 0x48;             // 16-bit registers
inline constexpr std::size_t kSensorRegisters = 4;
inline constexpr std::size_t kEdidSlots = 7;
inline constexpr std::size_t kEdidSize = 512;

/// All stored state of the device that a job could change.
struct Memory {
  Bytes mcuFlash;
  bool mcuRunsApplication = true;
  Bytes captureFlash;
  std::string captureVersion;  // empty = the chip has no valid firmware
  Bytes hdcpKey;
  std::map<std::uint8_t, Bytes> eeproms;
  Bytes sensor;
  std::array<Bytes, kEdidSlots> edid;
  std::uint8_t edidMode = 0;
  std::uint8_t edidSlot = 0;
  Bytes serialNumber;

  bool operator==(const Memory&) const = default;
};

/// Reads the memory of an honest device with an open port.
Memory readMemory();

/// Observations of a job while the device lied.
struct Seen {
  std::vector<JournalEntry> journal;  // all calls since the reset, which transfers refer to
  std::size_t firstCall = 0;          // the job's first one
  std::vector<Transfer> transfers;
  std::chrono::nanoseconds duration{};

  std::size_t calls() const { return journal.size() - firstCall; }
  bool has(FaultEffect fault) const {
    return std::any_of(transfers.begin(), transfers.end(), [fault](const Transfer& one) { return one.fault == fault; });
  }
  bool isHonest() const {
    return std::all_of(transfers.begin(), transfers.end(), [](const Transfer& one) { return !one.fault; });
  }
};

/// How a job reports its end, and how long it may take.
struct Rules {
  const char* operation;
  QString success;
  QString failure;
  std::chrono::milliseconds longest = std::chrono::seconds(1);
};

/// Compares the reported result with the true one.
/// @param reason explanation of a false success
Verdict weigh(const Seen& seen, bool reported, bool done, const std::string& reason);

std::string reasonOfWrite(const Seen& seen);

/// Judges a job of a single library call, whose status decides the text.
Verdict judgeWrite(const Seen& seen, const Rules& rules, const QString& message, const Memory& asked);

std::string reasonOfRead(const Seen& seen);

/// Transfer faults and the seed of their random draw.
struct DrawnFaults {
  std::vector<simulator::Fault> faults;
  std::uint64_t seed;
};

/// Chooses rates for all kinds of faults. About half of the jobs get only a few
/// faults, some none.
DrawnFaults drawFaults(SeededRandom& random, unsigned transfers);

Bytes randomBytes(std::size_t size, SeededRandom& random);

QString hexText(const Bytes& bytes);

}  // namespace lying
