#include "simulator/sim_control.h"

#include "simulator/library.h"

namespace simulator {

void reset() { Library::instance().reset(); }

std::string loadScenario(const std::string& json, const std::string& name) {
  return Library::instance().loadScenario(json, name);
}

std::vector<JournalEntry> journal() { return Library::instance().journal(); }

void clearJournal() { Library::instance().clearJournal(); }

void failCall(const std::string& operation, unsigned call, std::int32_t status, unsigned count) {
  Library::instance().addFault({operation, call, count, status, {}});
}

void answerCall(const std::string& operation, unsigned call, std::int32_t status, std::vector<std::uint8_t> answer) {
  Library::instance().addFault({operation, call, 1, status, std::move(answer)});
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

}  // namespace simulator
