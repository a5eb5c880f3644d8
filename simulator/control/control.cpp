#include "simulator/control/control.h"

#include "simulator/library/library.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace simulator {
namespace {

Eeprom& eepromAt(Device& device, std::uint8_t address) {
  for (Eeprom* eeprom : {&device.boardEeprom, &device.calibrationEeprom}) {
    if (eeprom->busAddress() == address) {
      return *eeprom;
    }
  }
  throw std::invalid_argument("no EEPROM at address " + std::to_string(address));
}

}  // namespace

void reset() { Library::instance().reset(); }

std::string loadScenario(const std::string& json, const std::string& name) {
  return Library::instance().loadScenario(json, name);
}

std::vector<JournalEntry> journal() { return Library::instance().journal(); }

void clearJournal() { Library::instance().clearJournal(); }

unsigned callsUnderWay() { return Library::instance().callsUnderWay(); }

void addFault(const Fault& fault) { Library::instance().addFault(fault); }

void failCall(const std::string& operation, unsigned call, std::int32_t status, unsigned count) {
  addFault({.operation = operation, .first = call, .count = count, .status = status});
}

void answerCall(const std::string& operation, unsigned call, std::int32_t status, std::vector<std::uint8_t> answer,
                std::optional<std::uint32_t> length) {
  addFault({.operation = operation, .first = call, .status = status, .answer = std::move(answer), .length = length});
}

void delayCall(const std::string& operation, unsigned call, std::chrono::nanoseconds time) {
  addFault({.operation = operation, .first = call, .what = FaultEffect::kDelay, .delay = time});
}

void unplugAtCall(const std::string& operation, unsigned call) {
  addFault({.operation = operation, .first = call, .what = FaultEffect::kUnplug});
}

bool plugNextUnit() { return Library::instance().plugNextUnit(); }

void unplug() {
  Library::instance().withDevice([](Device& device) { device.unplug(); });
}

void replug() {
  Library::instance().withDevice([](Device& device) { device.replug(); });
}

void useVirtualTime() {
  Library::instance().withDevice([](Device& device) { device.clock.stop(); });
}

void advanceTime(std::chrono::nanoseconds by) {
  Library::instance().withDevice([by](Device& device) { device.clock.advance(by); });
}

std::chrono::nanoseconds now() {
  return Library::instance().withDevice([](const Device& device) { return device.clock.now(); });
}

void setTransferFaults(const std::vector<Fault>& faults, std::uint64_t seed) {
  Library::instance().withDevice([&](Device& device) { device.transfers.start(faults, seed); });
}

std::vector<Transfer> transfers() {
  return Library::instance().withDevice([](const Device& device) { return device.transfers.record(); });
}

std::vector<std::uint8_t> eepromContent(std::uint8_t address) {
  return Library::instance().withDevice([address](Device& device) {
    const auto memory = eepromAt(device, address).content();
    return std::vector<std::uint8_t>(memory.begin(), memory.end());
  });
}

void programEeprom(std::uint8_t address, std::size_t offset, const std::vector<std::uint8_t>& bytes) {
  Library::instance().withDevice([&](Device& device) { eepromAt(device, address).program(offset, bytes); });
}

void setGpioPin(std::uint8_t group, std::uint8_t pin, std::uint8_t value) {
  Library::instance().withDevice([&](Device& device) {
    std::uint8_t* const found = device.gpio.pin(group, pin);
    if (!found) {
      throw std::invalid_argument("no GPIO pin " + std::to_string(pin) + " in group " + std::to_string(group));
    }
    *found = value;
  });
}

std::vector<std::string> knownSignals() { return {signalNames().begin(), signalNames().end()}; }

void feedSignal(Input input, const std::string& signal) {
  const auto source = input == Input::kDp ? Receiver::kDp : Receiver::kHdmi;
  const auto found = std::find_if(signalTable().begin(), signalTable().end(),
                                  [&](const Signal& known) { return known.name == signal; });
  if (found == signalTable().end() || !Receiver::carries(source, *found)) {
    throw std::invalid_argument("no signal " + signal + " for that input");
  }
  Library::instance().withDevice([&](Device& device) { device.receiver.feed(source, *found); });
}

void attachSink(bool present) {
  Library::instance().withDevice([present](Device& device) { device.transmitter.setSinkPresent(present); });
}

void holdBurns(unsigned reports) { Library::instance().burnControl().hold(reports); }

void releaseBurns() { Library::instance().burnControl().release(); }

unsigned heldBurns() { return Library::instance().burnControl().held(); }

void reportDuringBurns(std::vector<float> percents) {
  Library::instance().burnControl().replaceReports(std::move(percents));
}

std::vector<std::uint8_t> captureFlash() {
  return Library::instance().withDevice([](const Device& device) { return device.flash.content(); });
}

std::vector<std::uint8_t> hdcpKey() {
  return Library::instance().withDevice([](const Device& device) { return device.provisioning.key(); });
}

void clearMcuFaults() {
  Library::instance().withDevice(
      [](Device& device) { device.faults.removeAt(FaultPoint::kMcuTransfer, FaultPoint::kMcuFinish); });
}

std::vector<std::uint8_t> mcuFlash() {
  return Library::instance().withDevice([](const Device& device) { return device.mcu.flash(); });
}

bool mcuRunsApplication() {
  return Library::instance().withDevice([](const Device& device) { return device.mcu.runsApplication(); });
}

std::chrono::nanoseconds mcuBusyTime() {
  return Library::instance().withDevice([](const Device& device) { return device.mcu.busyTime(); });
}

}  // namespace simulator
