#pragma once

#include <QString>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

/// Unit after unit on a production line: the job that says what a unit becomes, the
/// run of one unit, and the ledger that records it.
namespace station {

/// The most characters that a serial number may have.
inline constexpr int kMaxSerialLength = 16;

/// A firmware file. All paths of a job are absolute; its file may name them relative
/// to the folder it is in.
struct Image {
  QString path;
  QString sha256;   ///< 64 lower-case hexadecimal digits
  QString version;  ///< that must read back, for example "v1.3" or "V1.04.00"
};

/// A table for a slot of the EDID flash.
struct EdidTable {
  std::uint8_t slot = 0;  ///< 0 to 6
  QString path;
  QString sha256;
};

struct EdidRule {
  std::vector<EdidTable> tables;            ///< by slot, no slot twice
  std::optional<std::uint8_t> mode;         ///< as `edid::readMode` tells it
  std::optional<std::uint8_t> defaultSlot;  ///< the slot in use
};

enum class SerialSource : std::uint8_t {
  kScan,   ///< a barcode reader types it
  kList,   ///< the next free line of a file
  kCount,  ///< prefix and the next number
};

struct SerialRule {
  SerialSource source = SerialSource::kScan;
  QString pattern;         ///< a regular expression for the whole text; empty = any
  QString listFile;        ///< of kList
  QString prefix;          ///< of kCount
  int digits = 0;          ///< of kCount: leading zeros make the number as long
  std::int64_t first = 1;  ///< of kCount
};

enum class Step : std::uint8_t {
  kMcu,      ///< upgrade the external MCU
  kCapture,  ///< burn the capture chip
  kKey,      ///< take a key and burn it
  kSerial,   ///< write the serial number
  kEdid,     ///< write tables, mode and slot in use
};
inline constexpr std::array kAllSteps{Step::kMcu, Step::kCapture, Step::kKey, Step::kSerial, Step::kEdid};

/// As the job file and the ledger name it, for example "mcu".
QString nameOf(Step step);

struct PlannedStep {
  Step step = Step::kMcu;
  int retries = 0;  ///< further tries after the first
};

/// What is read again after the restart and compared with the job.
enum class Compared : std::uint8_t { kMcuVersion, kCaptureVersion, kSerialNumber, kEdidTables, kEdidMode, kEdidSlot };
inline constexpr std::array kAllCompared{Compared::kMcuVersion, Compared::kCaptureVersion, Compared::kSerialNumber,
                                         Compared::kEdidTables, Compared::kEdidMode,       Compared::kEdidSlot};

/// As the job file names it, for example "mcuVersion".
QString nameOf(Compared compared);

/// Whether a unit that has passed may be processed again.
enum class Rework : std::uint8_t {
  kRefuse,
  kSameUnit,  ///< only the unit that carries the serial number already
};

/// All that is to be done to each unit of a line.
struct Job {
  QString path;    ///< of the job file
  QString sha256;  ///< of the job file's bytes
  QString model;   ///< "KVR-7" or "KVR-5B"
  std::optional<Image> mcu;
  std::optional<Image> capture;
  EdidRule edid;
  SerialRule serial;
  QString keyFolder;               ///< one key file a unit; empty = no keys
  std::vector<PlannedStep> steps;  ///< in this order, none twice
  std::vector<Compared> compared;  ///< at least what the steps write
  Rework rework = Rework::kRefuse;
  std::chrono::seconds waitForDevice{120};  ///< for the unit to be plugged in
  std::chrono::seconds waitForRestart{60};  ///< for it to answer after a restart
};

}  // namespace station
