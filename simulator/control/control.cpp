#include "simulator/control/control.h"

#include "simulator/library/library.h"

#include <algorithm>
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

void failCall(const std::string& operation, unsigned call, std::int32_t status, unsigned count) {
  Library::instance().addFault({operation, call, count, status, {}});
}

void answerCall(const std::string& operation, unsigned call, std::int32_t status, std::vector<std::uint8_t> answer,
                std::optional<std::uint32_t> length) {
  Library::instance().addFault({operation, call, 1, status, std::move(answer), length});
}

void delayCall(const std::string& operation, unsigned call, std::chrono::nanoseconds time) {
  FaultPlan::Fault fault{operation, call, 1, 0, {}};
  fault.answers = false;
  fault.delay = time;
  Library::instance().addFault(std::move(fault));
}

void unplugAtCall(const std::string& operation, unsigned call) {
  FaultPlan::Fault fault{operation, call, 1, 0, {}};
  fault.answers = false;
  fault.unplugs = true;
  Library::instance().addFault(std::move(fault));
}

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
  std::chrono::nanoseconds time{};
  Library::instance().withDevice([&time](Device& device) { time = device.clock.now(); });
  return time;
}

void lie(const Lies& lies) {
  Library::instance().withDevice([&lies](Device& device) { device.liar.start(lies); });
}

std::vector<Transfer> transfers() {
  std::vector<Transfer> transfers;
  Library::instance().withDevice([&transfers](const Device& device) { transfers = device.liar.transfers(); });
  return transfers;
}

std::vector<std::uint8_t> eepromContent(std::uint8_t address) {
  std::vector<std::uint8_t> content;
  Library::instance().withDevice([&](Device& device) {
    const auto memory = eepromAt(device, address).content();
    content.assign(memory.begin(), memory.end());
  });
  return content;
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
  std::vector<std::uint8_t> content;
  Library::instance().withDevice([&content](const Device& device) { content = device.flash.content(); });
  return content;
}

std::vector<std::uint8_t> hdcpKey() {
  std::vector<std::uint8_t> key;
  Library::instance().withDevice([&key](const Device& device) { key = device.provisioning.key(); });
  return key;
}

void addMcuFault(const McuFault& fault) {
  Library::instance().withDevice([&fault](Device& device) { device.mcu.addFault(fault); });
}

void clearMcuFaults() {
  Library::instance().withDevice([](Device& device) { device.mcu.clearFaults(); });
}

std::vector<std::uint8_t> mcuFlash() {
  std::vector<std::uint8_t> flash;
  Library::instance().withDevice([&flash](Device& device) { flash = device.mcu.flash(); });
  return flash;
}

bool mcuRunsApplication() {
  bool runs = false;
  Library::instance().withDevice([&runs](Device& device) { runs = device.mcu.runsApplication(); });
  return runs;
}

std::chrono::nanoseconds mcuBusyTime() {
  std::chrono::nanoseconds time{};
  Library::instance().withDevice([&time](Device& device) { time = device.mcu.busyTime(); });
  return time;
}

}  // namespace simulator
