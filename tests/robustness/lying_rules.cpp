#include "tests/robustness/lying_rules.h"

#include "device/RTICE_SDK_x64.h"
#include "tests/support/faults.h"

#include <QByteArray>

namespace lying {

Memory readMemory() {
  Memory memory;
  memory.mcuFlash = simulator::mcuFlash();
  memory.mcuRunsApplication = simulator::mcuRunsApplication();
  memory.captureFlash = simulator::captureFlash();
  std::array<char, 128> version{};
  if (AT_Get_Customer_Ver(reinterpret_cast<std::uint8_t*>(version.data())) == 0) {
    memory.captureVersion = version.data();
  }
  memory.hdcpKey = simulator::hdcpKey();
  for (const std::uint8_t address : {kBoardEeprom, kCalibrationEeprom}) {
    memory.eeproms[address] = simulator::eepromContent(address);
  }
  memory.sensor.resize(2 * kSensorRegisters);
  for (std::uint8_t i = 0; i < kSensorRegisters; ++i) {
    AT_System_Get_ExternalMCU_cmd(3, kSensor, 1, &i, 2, &memory.sensor[2 * std::size_t{i}]);
  }
  for (std::uint8_t slot = 0; slot < kEdidSlots; ++slot) {
    memory.edid[slot].resize(kEdidSize);
    AT_EDID_Flash_Get_table(slot, memory.edid[slot].data(), kEdidSize);
  }
  AT_EDID_Get_EDID_mode(&memory.edidMode);
  AT_EDID_Flash_Get_Default_table(&memory.edidSlot);
  memory.serialNumber.resize(100);
  std::uint32_t length = 0;
  AT_USB_Get_SerialNum(memory.serialNumber.data(), 100, &length);
  return memory;
}

Verdict weigh(const Seen& seen, bool reported, bool done, const std::string& reason) {
  if (seen.isHonest() && !(reported && done)) {
    return {Outcome::kBreach, "no fault happened, yet the job did not succeed"};
  }
  if (reported) {
    if (done) {
      return {Outcome::kHonestSuccess, {}};
    }
    return reason.empty() ? Verdict{Outcome::kBreach, "a success that nothing explains"}
                          : Verdict{Outcome::kFalseSuccess, reason};
  }
  return {done ? Outcome::kFailureThoughDone : Outcome::kHonestFailure, {}};
}

std::string reasonOfWrite(const Seen& seen) {
  if (seen.has(FaultEffect::kDamage)) {
    return "bits flipped on the way; no read-back is part of the job";
  }
  return seen.has(FaultEffect::kIgnored)
             ? "the library reported a write that was not done; no read-back is part of the job"
             : "";
}

Verdict judgeWrite(const Seen& seen, const Rules& rules, const QString& message, const Memory& asked) {
  if (seen.duration > rules.longest) {
    return {Outcome::kHang, {}};
  }
  if (seen.calls() != 1 || seen.journal.back().operation != rules.operation) {
    return {Outcome::kBreach, "other calls than the job's"};
  }
  const bool succeeded = seen.journal.back().result == 0;
  if (message != (succeeded ? rules.success : rules.failure)) {
    return {Outcome::kBreach, "the text is not the one for the library's answer: " + message.toStdString()};
  }
  return weigh(seen, succeeded, readMemory() == asked, reasonOfWrite(seen));
}

std::string reasonOfRead(const Seen& seen) {
  if (seen.has(FaultEffect::kMisread)) {
    return "bits flipped in what was read; nothing tells";
  }
  return seen.has(FaultEffect::kShort) ? "less was read than the library reported; nothing tells" : "";
}

DrawnFaults drawFaults(SeededRandom& random, unsigned transfers) {
  const std::uint64_t seed = random.below(0xFFFF'FFFF);
  const bool some = random.chance(90);
  const auto rate = [&] {
    const unsigned wanted = random.oneOf({0U, 0U, 200U, 1000U, 5000U}) / transfers;
    return some ? std::min(wanted, 500U) : 0;
  };
  // The order of these calls determines the outcome of a seed.
  const unsigned misread = rate();
  const unsigned damage = rate();
  const unsigned shortRead = rate();
  const unsigned ignored = rate();
  DrawnFaults drawn{
      {faults::misread(misread), faults::damage(damage), faults::shortRead(shortRead), faults::ignored(ignored)}, seed};
  if (some && random.chance(20)) {
    drawn.faults.push_back(faults::notAcknowledgedAfter(random.below(transfers + 1)));
  }
  return drawn;
}

Bytes randomBytes(std::size_t size, SeededRandom& random) {
  Bytes bytes(size);
  std::generate(bytes.begin(), bytes.end(), [&random] { return random.byte(); });
  return bytes;
}

QString hexText(const Bytes& bytes) {
  return QString::fromLatin1(
      QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())).toHex().toUpper());
}

}  // namespace lying
