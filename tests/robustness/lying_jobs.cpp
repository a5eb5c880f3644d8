#include "tests/robustness/lying_jobs.h"

#include "tests/robustness/lying_window.h"
#include "tests/robustness/upgrade_rules.h"
#include "tests/support/sleeps.h"
#include "tests/support/upgrade_images.h"

#include <algorithm>
#include <cstdlib>

namespace lying {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kFlashSector = std::size_t{64} * 1024;
constexpr auto kForEver = 1h;  // on the device's clock, from its start: no job takes a minute
constexpr char kVersion[] = "V4.56.78";

}  // namespace

Verdict LyingJobs::JobWindow::burnCapture(SeededRandom& random) {
  openDevice();
  Bytes image = randomBytes(1000 + random.below(150'000), random);
  const auto put = [&image](std::size_t at, const std::string& text) {
    std::copy(text.begin(), text.end(), image.begin() + static_cast<std::ptrdiff_t>(at));
  };
  put(random.below(400), "KVR-7");
  put(500 + random.below(400), kVersion);
  Memory asked = readMemory();
  asked.captureFlash = image;
  asked.captureFlash.resize((image.size() + kFlashSector - 1) / kFlashSector * kFlashSector, 0xFF);
  asked.captureVersion = kVersion;

  chooseFile("BN_Browse_Cap_QX", "image.img", image);
  const Seen seen = whileLying(drawFaults(random, 2 + static_cast<unsigned>(image.size() / 4096)),
                               [this] { startAndWait("BN_Apply_CapMCU_QX"); });
  return judgeWrite(seen, {"burnToFlash", "Burn CAP...[OK]", "Burn CAP...[Fail]", 60s}, lastPosted(), asked);
}

Verdict LyingJobs::JobWindow::writeEdid(SeededRandom& random) {
  openDevice();
  const std::size_t size = random.chance(70) ? random.oneOf<std::size_t>({128, 256, 384, 512}) : 1 + random.below(700);
  Bytes table = randomBytes(size, random);
  const auto slot = static_cast<std::uint8_t>(random.below(kEdidSlots));
  user.choose("CB_FlashEDID_List_2", QString::number(slot));
  const Seen seen =
      whileLying(drawFaults(random, 1), [&] { chooseFile("BN_Apply_WriteFlashEDID", "edid.bin", table); });
  Memory asked = before_;
  table.resize(std::min(size, kEdidSize));
  table.resize(kEdidSize, 0xFF);
  asked.edid[slot] = table;
  return judgeWrite(seen,
                    {"AT_EDID_Flash_Set_table", "Write flash EDID table...[Done]", "Write flash EDID table...[fail]"},
                    user.message(), asked);
}

Verdict LyingJobs::JobWindow::setEdidMode(SeededRandom& random) {
  return chooseOther(random, "CB_EDID_Mode", &Memory::edidMode,
                     {"AT_EDID_Set_EDID_mode", "Set EDID Mode...[Done]", "Set EDID Mode...[fail]"});
}

Verdict LyingJobs::JobWindow::setEdidSlot(SeededRandom& random) {
  return chooseOther(
      random, "CB_Current_FlashEDID_List", &Memory::edidSlot,
      {"AT_EDID_Flash_Set_Default_table", "Set Flash EDID table...[Done]", "Set Flash EDID table...[fail]"});
}

Verdict LyingJobs::JobWindow::burnKey(SeededRandom& random) {
  openDevice();
  const Bytes key = randomBytes(1 + random.below(1000), random);
  const Seen seen = whileLying(drawFaults(random, 1), [&] { chooseFile("BN_Browse_Key", "key.bin", key); });
  Memory asked = before_;
  asked.hdcpKey = key;
  return judgeWrite(seen, {"burnHDCP", "Burn HDCP...[OK]", "Burn HDCP...[Fail]"}, user.message(), asked);
}

Verdict LyingJobs::JobWindow::setSerialNumber(SeededRandom& random) {
  openDevice();
  QString text;
  for (std::uint32_t i = 1 + random.below(16); i > 0; --i) {  // what the field holds
    text += random.chance(90) ? QChar(static_cast<ushort>(0x21 + random.below(0x5E))) : QChar(0xE4);
  }
  user.widget<QLineEdit>("lineEdit_SN").setText(text);
  const Seen seen = whileLying(drawFaults(random, 1), [this] { user.click("BN_SN_Set"); });
  Memory asked = before_;
  const std::string utf8 = text.toStdString();
  asked.serialNumber.assign(utf8.begin(), utf8.end());
  asked.serialNumber.resize(100);
  return judgeWrite(seen, {"AT_USB_Set_SerialNum", "Set Serial Number...[OK]", "Set Serial Number...[fail]"},
                    user.message(), asked);
}

Verdict LyingJobs::JobWindow::writeRegisterOf1ByteAddress(SeededRandom& random) {
  return writeEeprom(random, kBoardEeprom, {static_cast<std::uint8_t>(random.below(64) * 4)});
}

Verdict LyingJobs::JobWindow::writeRegisterOf2ByteAddress(SeededRandom& random) {
  // A number below 0x100 would be sent as one byte.
  return writeEeprom(
      random, kCalibrationEeprom,
      {static_cast<std::uint8_t>(1 + random.below(31)), static_cast<std::uint8_t>(random.below(64) * 4)});
}

Verdict LyingJobs::JobWindow::writeSensor(SeededRandom& random) {
  openDevice();
  const auto index = static_cast<std::uint8_t>(1 + random.below(kSensorRegisters - 1));
  const Bytes value{static_cast<std::uint8_t>(1 + random.below(255)), random.byte()};
  Memory asked = readMemory();
  std::copy(value.begin(), value.end(), asked.sensor.begin() + std::ptrdiff_t{2} * index);
  return writeRegister(random, kSensor, {index}, value, asked);
}

Verdict LyingJobs::JobWindow::upgrade(SeededRandom& random, const QByteArray& family, std::size_t blockSize) {
  const bool inApplication = random.chance(80);
  openDevice(R"({"externalMcu": {"family": ")" + family + R"(", "mode": ")" +
             (inApplication ? "application" : "bootLoader") + "\"}}");
  const std::size_t size = random.chance(20)
                               ? random.oneOf<std::size_t>({1, 63, 64, 65, 127, 128, 129, 1023, 1024, 1025, 2048})
                               : 1 + random.below(3000);
  Bytes image = upgrade_images::randomImage(size, random);
  if (random.chance(20)) {
    // Checksums with which an empty read or a lost finish packet looks right.
    upgrade_images::setChecksums(image, random.oneOf<std::uint8_t>({0x00, 0xFE}), random);
  }
  const Bytes padded = upgrade_images::padded(image, blockSize);
  const auto blocks = static_cast<unsigned>(padded.size() / blockSize);
  const auto packets = static_cast<unsigned>(11 + blocks + padded.size() / 64);

  chooseFile("BN_Browse_ExtMCU_QX", "mcu.bin", image);
  const Seen seen = whileLying(drawFaults(random, 3 * packets), [this] { startAndWait("BN_Apply_ExtMCU_QX"); });
  // Reset, set-boot; 10 attempts for each address and the finish; each packet
  // with 100 polls, 5 ms apart.
  const unsigned attempts = packets + 9 * (blocks + 1);
  if (seen.duration > 2s + attempts * 50ms + (packets + 1) * 500ms || seen.calls() > 4 + 2 * attempts + 101 * packets) {
    return {Outcome::kHang, {}};
  }
  const bool success = lastPosted() == QLatin1String("MCU Update Done...[Success]");
  const upgrade_rules::Findings findings = upgrade_rules::check(seen.journal, seen.transfers, success);
  if (!findings.breach.empty()) {
    return {Outcome::kBreach, findings.breach};
  }

  simulator::advanceTime(5s);  // the boot loader starts the new image
  Memory asked = before_;
  std::copy(padded.begin(), padded.end(), asked.mcuFlash.begin());
  asked.mcuRunsApplication = true;
  const Memory now = readMemory();
  std::string reason;
  for (const std::string& one : findings.reasons) {
    reason += (reason.empty() ? "" : "; ") + one;
  }
  if (!reason.empty() && now.mcuFlash == asked.mcuFlash) {
    reason = "image whole, but not started: " + reason;
  }
  return weigh(seen, success, now == asked, reason);
}

Verdict LyingJobs::JobWindow::chooseOther(SeededRandom& random, const QString& comboBox, std::uint8_t Memory::*setting,
                                          const Rules& rules) {
  openDevice();
  auto& box = user.widget<QComboBox>(comboBox);
  // A row that is neither selected nor set in the device.
  int row = static_cast<int>(random.below(static_cast<std::uint32_t>(box.count())));
  while (row == box.currentIndex() || row == 0) {
    row = (row + 1) % box.count();
  }
  const Seen seen = whileLying(drawFaults(random, 1), [&] { user.choose(comboBox, box.itemText(row)); });
  Memory asked = before_;
  asked.*setting = static_cast<std::uint8_t>(row);
  return judgeWrite(seen, rules, user.message(), asked);
}

Verdict LyingJobs::JobWindow::writeEeprom(SeededRandom& random, std::uint8_t address, const Bytes& index) {
  openDevice();
  Bytes value = randomBytes(1 + random.below(4), random);
  value.front() = std::max<std::uint8_t>(value.front(), 1);  // leading zeros would not be sent
  Memory asked = readMemory();
  std::size_t at = 0;
  for (const std::uint8_t byte : index) {
    at = at << 8 | byte;
  }
  const auto there = asked.eeproms[address].begin() + static_cast<std::ptrdiff_t>(at);
  if (std::equal(value.begin(), value.end(), there)) {
    value.back() ^= 1;  // a write must change something to prove anything
  }
  std::copy(value.begin(), value.end(), there);
  return writeRegister(random, address, index, value, asked);
}

void LyingJobs::JobWindow::fillRegister(std::uint8_t address, const Bytes& index, const Bytes& value) {
  user.widget<QLineEdit>("lineEdit_I2C_Addr").setText(QString::number(address * 2, 16));
  user.widget<QLineEdit>("lineEdit_I2C_Reg").setText(hexText(index));
  user.widget<QLineEdit>("lineEdit_I2C_Value").setText(hexText(value));
}

Verdict LyingJobs::JobWindow::writeRegister(SeededRandom& random, std::uint8_t address, const Bytes& index,
                                            const Bytes& value, const Memory& asked) {
  fillRegister(address, index, value);
  const Seen seen = whileLying(drawFaults(random, 1), [this] { user.click("BN_I2C_Write"); });
  return judgeWrite(seen, {"AT_System_Send_ExternalMCU_cmd", "I2C Write Done", "I2C Error"}, user.message(), asked);
}

// Reads use a separate window. There, no burn's timer overwrites the message line,
// and the guards that reads leave set cannot swallow a change of a setting.
LyingJobs::LyingJobs() : window_(std::make_unique<JobWindow>()), readWindow_(std::make_unique<JobWindow>()) {
  sleeps::replaceBy([](std::chrono::milliseconds time) {
    simulator::advanceTime(time);
    if (simulator::now() > kForEver) {
      std::_Exit(kHangExitCode);  // the worker would never end
    }
  });
}

LyingJobs::~LyingJobs() { sleeps::replaceBy({}); }

struct LyingJobs::Job {
  const char* name;
  Verdict (JobWindow::*run)(SeededRandom&);
  bool reads = false;
};

const std::vector<LyingJobs::Job>& LyingJobs::jobs() {
  static const std::vector<Job> all{{"MCU upgrade, family 2", &JobWindow::upgradeFamily2},
                                    {"MCU upgrade, family v", &JobWindow::upgradeFamilyV},
                                    {"capture burn", &JobWindow::burnCapture},
                                    {"EDID table write", &JobWindow::writeEdid},
                                    {"EDID mode", &JobWindow::setEdidMode},
                                    {"EDID default slot", &JobWindow::setEdidSlot},
                                    {"HDCP key", &JobWindow::burnKey},
                                    {"serial number", &JobWindow::setSerialNumber},
                                    {"I2C write, 1-byte address", &JobWindow::writeRegisterOf1ByteAddress},
                                    {"I2C write, 2-byte address", &JobWindow::writeRegisterOf2ByteAddress},
                                    {"I2C write, 16-bit register", &JobWindow::writeSensor},
                                    {"EDID table read", &JobWindow::saveEdid, true},
                                    {"all read buttons", &JobWindow::readAll, true}};
  return all;
}

std::vector<std::string> LyingJobs::jobNames() {
  std::vector<std::string> names;
  for (const Job& job : jobs()) {
    names.emplace_back(job.name);
  }
  return names;
}

Verdict LyingJobs::run(std::size_t job, std::uint32_t seed, std::uint32_t number) {
  SeededRandom random{seed, number, static_cast<std::uint32_t>(job)};
  const Job& chosen = jobs().at(job);
  return ((chosen.reads ? *readWindow_ : *window_).*chosen.run)(random);
}

}  // namespace lying
