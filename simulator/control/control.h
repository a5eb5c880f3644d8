/// @file
/// Control of the simulated device, for tests and tools. Not part of the device
/// library: the program never includes this.
///
/// One simulated device exists per process. All functions may be called from
/// any thread.
#pragma once

#include "simulator/control/records.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#if defined(_WIN32)
#if defined(RTICE_SDK_X64_BUILD)
#define SIMULATOR_API __declspec(dllexport)
#else
#define SIMULATOR_API __declspec(dllimport)
#endif
#else
#define SIMULATOR_API __attribute__((visibility("default")))
#endif

/// From here on whatever keeps the simulated device from being used, a mistake in its
/// scenario or state file, is said to `tell` instead of on standard error. C, so that a
/// program that loads the library at run time can find it by its name.
/// @param tell gets one line without a line feed, valid during the call, on the thread
///             that called the library; null = standard error again
extern "C" SIMULATOR_API void pellavoxTellProblemsTo(void (*tell)(const char* line));

namespace simulator {

/// Replaces the device by the embedded default one, as when the process had
/// just started: nothing initialised, no fault, call counts zero, journal empty
/// and recording, real time.
SIMULATOR_API void reset();

/// As `reset`, but with the device that a scenario text (JSON) describes.
/// @param name what error lines call the text
/// @return empty, or one line that names place, key and remedy; the device is
///         then left as `reset` leaves it
SIMULATOR_API std::string loadScenario(const std::string& json, const std::string& name = "scenario");

/// The calls since `reset` or `clearJournal` (the last 200,000 of them), in the
/// order in which they ended.
SIMULATOR_API std::vector<JournalEntry> journal();
SIMULATOR_API void clearJournal();

/// How many calls have been made and have not returned yet, of all threads.
SIMULATOR_API unsigned callsUnderWay();

/// Adds a fault at any place.
/// @throws std::invalid_argument for an unknown operation and for a `first` of 0
SIMULATOR_API void addFault(const Fault& fault);

/// Makes calls of `operation` return `status` and do nothing else.
/// @param call  the first call to fail, counted from 1 since `reset`
/// @param count how many calls fail; 0 = all from there on
/// @throws std::invalid_argument for an unknown operation and for call 0
SIMULATOR_API void failCall(const std::string& operation, unsigned call, std::int32_t status, unsigned count = 1);

/// Makes one call of `operation` return `status` and write `answer` to its
/// output buffer, cut to the buffer's size but otherwise as it stands: no
/// terminator is added and a length argument is left alone.
/// @param call   counted from 1 since `reset`
/// @param length what its length argument is set to, if given
/// @throws std::invalid_argument for an unknown operation and for call 0
SIMULATOR_API void answerCall(const std::string& operation, unsigned call, std::int32_t status,
                              std::vector<std::uint8_t> answer, std::optional<std::uint32_t> length = std::nullopt);

/// Makes one call of `operation` return so much later: the device does its part
/// at once, its answer is late.
/// @param call counted from 1 since `reset`
/// @throws std::invalid_argument for an unknown operation and for call 0
SIMULATOR_API void delayCall(const std::string& operation, unsigned call, std::chrono::nanoseconds time);

/// Pulls the device's plug as one call of `operation` comes in, before it does
/// anything.
/// @param call counted from 1 since `reset`
/// @throws std::invalid_argument for an unknown operation and for call 0
SIMULATOR_API void unplugAtCall(const std::string& operation, unsigned call);

/// Pulls the device's plug: every operation but initialize and uninitialize
/// fails until `replug`. The port stays open; the library finds the device again.
SIMULATOR_API void unplug();
SIMULATOR_API void replug();
/// Plugs the scenario's next unit in, the present one out. A port that is open
/// stays the old unit's.
/// @return false when there is no other unit
SIMULATOR_API bool plugNextUnit();

/// From here to the next `reset` no call takes real time: the device's clock
/// moves only by `advanceTime` and by what each call takes on the device.
SIMULATOR_API void useVirtualTime();
SIMULATOR_API void advanceTime(std::chrono::nanoseconds by);
/// The device's clock, counted from the last `reset`.
SIMULATOR_API std::chrono::nanoseconds now();

// ---- Faults of transfers -------------------------------------------------

/// Replaces all faults of transfers, counts transfers from 1 again, and starts a new
/// record of them. An empty list ends the faults.
/// @param faults at kTransfer, kRead or kWrite
/// @param seed   decides what is drawn by lot
/// @throws std::invalid_argument for another point, a `first` of 0 and a rate above 1000
SIMULATOR_API void setTransferFaults(const std::vector<Fault>& faults, std::uint64_t seed = 1);
/// All transfers since `setTransferFaults`.
SIMULATOR_API std::vector<Transfer> transfers();

// ---- I2C targets and GPIO ------------------------------------------------

/// The whole memory of an EEPROM on the I2C bus.
/// @throws std::invalid_argument when none is at the 7-bit address
SIMULATOR_API std::vector<std::uint8_t> eepromContent(std::uint8_t address);
/// Puts bytes into an EEPROM at once; what does not fit is dropped.
/// @throws std::invalid_argument when none is at the 7-bit address
SIMULATOR_API void programEeprom(std::uint8_t address, std::size_t offset, const std::vector<std::uint8_t>& bytes);

/// Sets what a pin reads; group 0 = ISO, 1 = MISC, pins 0 to 13.
/// @throws std::invalid_argument for another group or pin
SIMULATOR_API void setGpioPin(std::uint8_t group, std::uint8_t pin, std::uint8_t value);

// ---- Video and audio -----------------------------------------------------

enum class Input { kHdmi, kDp };

/// Names of all signals, "none" among them.
SIMULATOR_API std::vector<std::string> knownSignals();

/// Lets the source at an input send another signal; "none" = nothing.
/// @throws std::invalid_argument for an unknown signal, and for one that the
///         input does not carry (HDMI signals at DP and the reverse)
SIMULATOR_API void feedSignal(Input input, const std::string& signal);

/// Plugs the sink at the transmitter in or out.
SIMULATOR_API void attachSink(bool present);

// ---- Capture flash and key store -----------------------------------------

/// Lets each burn wait once it has reported its progress `reports` times, until
/// a call with a larger number, `releaseBurns` or `reset`. The device serves
/// other calls meanwhile.
SIMULATOR_API void holdBurns(unsigned reports);
SIMULATOR_API void releaseBurns();
/// How many burns wait now.
SIMULATOR_API unsigned heldBurns();
/// From here to the next `reset` each burn reports these values, all of them
/// before its first step, instead of its progress.
SIMULATOR_API void reportDuringBurns(std::vector<float> percents);
/// The flash from its start to the end of the last image's last sector.
SIMULATOR_API std::vector<std::uint8_t> captureFlash();

/// The HDCP key that was burnt last; empty before.
SIMULATOR_API std::vector<std::uint8_t> hdcpKey();

// ---- External MCU ----------------------------------------------------------

/// Takes away all faults inside the MCU and on the bus to it; what they have done
/// remains.
SIMULATOR_API void clearMcuFaults();

/// The MCU's flash from the family's first address on.
SIMULATOR_API std::vector<std::uint8_t> mcuFlash();
/// Whether the MCU runs its application, else its boot loader.
SIMULATOR_API bool mcuRunsApplication();
/// How long the boot loader has worked on its flash, or was about to, since `reset`.
SIMULATOR_API std::chrono::nanoseconds mcuBusyTime();

}  // namespace simulator
