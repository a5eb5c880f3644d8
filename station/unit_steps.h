#pragma once

#include "device/ext_mcu_channel.h"
#include "device/usb_ids.h"

#include <QByteArray>
#include <QString>
#include <tl/expected.hpp>

#include <cstdint>
#include <functional>

/// The operations of a unit, each with its evidence: what is right already is not
/// written, and what was written is read back as far as the device can tell it.
/// The device must be open; the calling thread does the work and waits.
namespace station {

/// What a step needs besides the device. All members are set.
struct StepTools {
  device::Pause pause;                        ///< all waiting goes through it
  std::function<bool()> stopRequested;        ///< asked wherever a step can stop
  std::function<void(int percent)> progress;  ///< of the long steps; any thread
};

/// How a step ended.
enum class StepEnding : std::uint8_t {
  kDone,     ///< written, and as far as the evidence goes
  kAlready,  ///< was right before, nothing written
  kFailed,
  kStopped,  ///< on request
};

/// The outcome of a step.
struct StepReport {
  StepEnding ending = StepEnding::kFailed;
  QString evidence;  ///< what it rests on, in the command line's words: "readback", "checksums+version", "version",
                     ///< "reported"; empty unless done or right already
  QString before;    ///< what the device held, where it can tell
  QString after;     ///< what it holds now
  QString problem;   ///< of a failure: one clause without a full stop
};

/// A value that several reads agreed on, or why there is none.
template <typename Value>
using Agreed = tl::expected<Value, QString>;

/// Who is plugged in, as far as the device tells.
struct Identity {
  QString uvcName;
  QString manufacturer;
  QString product;
  QString serialNumber;
  QString captureVersion;  ///< empty while the capture chip has no firmware that tells
  QString mcuVersion;      ///< for example "v1.3"; empty while the MCU runs no application

  bool operator==(const Identity&) const = default;
  /// In one line, for records and messages.
  QString text() const;
};

/// Each text is the one that several reads agreed on.
Agreed<Identity> readIdentity();

/// @param slot 0 to 6
/// @param bytes 1 to 512: how much of the table
Agreed<QByteArray> readTable(std::uint8_t slot, int bytes);
Agreed<int> readEdidMode();
Agreed<int> readEdidSlot();

/// Sends firmware to the external MCU, unless it tells the expected version.
/// Stops on request behind the packet under way; the MCU then waits for firmware.
StepReport upgradeMcu(const QByteArray& image, const QString& expectedVersion, const StepTools& tools);

/// Burns the capture chip, unless it tells the expected version. Cannot be stopped.
StepReport burnCapture(const QString& path, const QString& expectedVersion, const StepTools& tools);

/// Burns an HDCP key. No operation reads it: the device's word is all there is.
StepReport burnKey(const QString& path);

/// @param table 1 to 512 bytes
StepReport writeEdid(std::uint8_t slot, const QByteArray& table);
/// @param mode 0 = from flash, 1 = follow TX, 2 = follow USB, 3 = mixed
StepReport setEdidMode(int mode);
StepReport setEdidSlot(std::uint8_t slot);

/// @param text ASCII, at most 16 characters
StepReport setSerialNumber(const QString& text);

/// Restores the factory defaults; reported by the device only.
StepReport restoreDefaults();

/// Restarts the device. The caller reopens it (`waitForReturn` of the run).
StepReport restart();

/// "256 bytes, SHA-256 ef7b88a9..."
QString tableText(const QByteArray& table);

}  // namespace station
