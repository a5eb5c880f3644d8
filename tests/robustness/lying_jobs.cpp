#include "tests/robustness/lying_jobs.h"

#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "tests/robustness/upgrade_rules.h"
#include "tests/support/chosen_file.h"
#include "tests/support/faults.h"
#include "tests/support/posted_texts.h"
#include "tests/support/seeded_random.h"
#include "tests/support/sleeps.h"
#include "tests/support/upgrade_images.h"
#include "tests/support/window_fixture.h"

#include <QCheckBox>
#include <QRadioButton>
#include <QRegularExpression>
#include <QSpinBox>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <map>
#include <stdexcept>

namespace lying {
namespace {

using simulator::FaultEffect;
using simulator::JournalEntry;
using simulator::Transfer;
using Bytes = std::vector<std::uint8_t>;
using namespace std::chrono_literals;

constexpr std::uint8_t kBoardEeprom = 0x50;        // 1-byte addresses
constexpr std::uint8_t kCalibrationEeprom = 0x54;  // 2-byte addresses
constexpr std::uint8_t kSensor = 0x48;             // 16-bit registers
constexpr std::size_t kSensorRegisters = 4;
constexpr std::size_t kEdidSlots = 7;
constexpr std::size_t kEdidSize = 512;
constexpr std::size_t kFlashSector = std::size_t{64} * 1024;
constexpr auto kForEver = 1h;  // on the device's clock, from its start: no job takes a minute
constexpr char kVersion[] = "V4.56.78";

/// Everything that the device keeps and a job could change.
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
  std::chrono::milliseconds longest = 1s;
};

/// Compares what was reported with what is true.
/// @param reason explanation of a false success
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

/// Judges a job that consists of one library call, whose status decides the text.
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

/// Faults of transfers, and the seed that they are drawn by.
struct DrawnFaults {
  std::vector<simulator::Fault> faults;
  std::uint64_t seed;
};

/// Chooses rates for all kinds of faults. About half of the jobs get only a few
/// faults, some none.
DrawnFaults drawFaults(SeededRandom& random, unsigned transfers) {
  const std::uint64_t seed = random.below(0xFFFF'FFFF);
  const bool some = random.chance(90);
  const auto rate = [&] {
    const unsigned wanted = random.oneOf({0U, 0U, 200U, 1000U, 5000U}) / transfers;
    return some ? std::min(wanted, 500U) : 0;
  };
  // The order of the calls decides what comes of a seed.
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

constexpr const char* kReadButtons[] = {"BN_Info_Read", "BN_Video_Read", "BN_Audio_Read", "BN_SN_Read",
                                        "BN_EDID_Read", "BN_I2C_Read",   "BN_GPIO_Read"};
constexpr const char* kWidthButtons[] = {"RB_I2C_Read_1B", "RB_I2C_Read_2B", "RB_I2C_Read_3B", "RB_I2C_Read_4B"};

}  // namespace

class LyingJobs::JobWindow : private WindowFixture {
 public:
  Verdict upgradeFamily2(SeededRandom& random) { return upgrade(random, "2", 1024); }
  Verdict upgradeFamilyV(SeededRandom& random) { return upgrade(random, "v", 128); }

  Verdict burnCapture(SeededRandom& random) {
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

  Verdict writeEdid(SeededRandom& random) {
    openDevice();
    const std::size_t size =
        random.chance(70) ? random.oneOf<std::size_t>({128, 256, 384, 512}) : 1 + random.below(700);
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

  Verdict setEdidMode(SeededRandom& random) {
    return chooseOther(random, "CB_EDID_Mode", &Memory::edidMode,
                       {"AT_EDID_Set_EDID_mode", "Set EDID Mode...[Done]", "Set EDID Mode...[fail]"});
  }

  Verdict setEdidSlot(SeededRandom& random) {
    return chooseOther(
        random, "CB_Current_FlashEDID_List", &Memory::edidSlot,
        {"AT_EDID_Flash_Set_Default_table", "Set Flash EDID table...[Done]", "Set Flash EDID table...[fail]"});
  }

  Verdict burnKey(SeededRandom& random) {
    openDevice();
    const Bytes key = randomBytes(1 + random.below(1000), random);
    const Seen seen = whileLying(drawFaults(random, 1), [&] { chooseFile("BN_Browse_Key", "key.bin", key); });
    Memory asked = before_;
    asked.hdcpKey = key;
    return judgeWrite(seen, {"burnHDCP", "Burn HDCP...[OK]", "Burn HDCP...[Fail]"}, user.message(), asked);
  }

  Verdict setSerialNumber(SeededRandom& random) {
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

  Verdict writeRegisterOf1ByteAddress(SeededRandom& random) {
    return writeEeprom(random, kBoardEeprom, {static_cast<std::uint8_t>(random.below(64) * 4)});
  }

  Verdict writeRegisterOf2ByteAddress(SeededRandom& random) {
    // A number below 0x100 would be sent as one byte.
    return writeEeprom(
        random, kCalibrationEeprom,
        {static_cast<std::uint8_t>(1 + random.below(31)), static_cast<std::uint8_t>(random.below(64) * 4)});
  }

  Verdict writeSensor(SeededRandom& random) {
    openDevice();
    const auto index = static_cast<std::uint8_t>(1 + random.below(kSensorRegisters - 1));
    const Bytes value{static_cast<std::uint8_t>(1 + random.below(255)), random.byte()};
    Memory asked = readMemory();
    std::copy(value.begin(), value.end(), asked.sensor.begin() + std::ptrdiff_t{2} * index);
    return writeRegister(random, kSensor, {index}, value, asked);
  }

  /// Presses every read button, then again with an honest library that gives the same
  /// answers: the window must show the same.
  Verdict readAll(SeededRandom& random) {
    openDevice();
    simulator::programEeprom(kBoardEeprom, 0, randomBytes(256, random));
    // A complete address; the rest of half an address would come from the previous read.
    switch (random.below(3)) {
      case 0:
        fillRegister(kBoardEeprom, {random.byte()}, {});
        break;
      case 1:
        fillRegister(kCalibrationEeprom, {0x01, random.byte()}, {});
        break;
      default:
        fillRegister(kSensor, {static_cast<std::uint8_t>(random.below(kSensorRegisters))}, {});
    }
    user.click(kWidthButtons[random.below(4)]);
    user.choose("CB_GPIO_INDEX", QStringLiteral("GPIO%1").arg(random.below(14)));
    failuresAreTold_ = true;
    const QStringList truth = readEverything();
    const QString serialNumber = fieldText("lineEdit_SN");
    const QString value = fieldText("lineEdit_I2C_Value");
    QStringList told;
    const Seen seen = whileLying(drawFaults(random, 15), [&] { told = readEverything(); });
    if (fieldText("lineEdit_SN") != shownBytes(seen, "AT_USB_Get_SerialNum", serialNumber, [](const Bytes& bytes) {
          // Up to the first NUL, limited to the field's length.
          return QString::fromLatin1(reinterpret_cast<const char*>(bytes.data()), 16).section(QChar(0), 0, 0);
        })) {
      return {Outcome::kBreach, "the serial number shown is not the one that was read"};
    }
    if (fieldText("lineEdit_I2C_Value") != shownBytes(seen, "AT_System_Get_ExternalMCU_cmd", value, hexText)) {
      return {Outcome::kBreach, "the register's value shown is not the one that was read"};
    }
    readEverything();

    std::map<std::string, unsigned> calls;
    for (const JournalEntry& entry : simulator::journal()) {
      ++calls[entry.operation];
    }
    bool failed = false;
    for (const Transfer& transfer : seen.transfers) {
      const JournalEntry& entry = seen.journal.at(transfer.call);
      simulator::answerCall(entry.operation, ++calls[entry.operation], entry.result, transfer.bytes);
      failed |= entry.result != 0;
    }
    const QStringList repeated = readEverything();
    if (!failuresAreTold_) {
      return {Outcome::kBreach, "a failed read was not told, or one that succeeded was told as failed"};
    }
    if (repeated != told) {
      return {Outcome::kBreach, "what is shown is not what the library returned"};
    }
    return weigh(seen, !failed, !failed && told == truth, reasonOfRead(seen));
  }

  Verdict saveEdid(SeededRandom& random) {
    struct Source {
      const char* button;
      QString failure;
    };
    const auto source = random.oneOf<Source>({{"BN_Apply_ReadTxEDID", "Read Tx EDID...[fail]"},
                                              {"BN_Apply_ReadFlashEDID", "Read Flash EDID...[fail]"},
                                              {"BN_Apply_Read_DDC_EDID", "Read DDC EDID...[fail]"}});
    const auto size = random.oneOf({256, 384, 512});
    openDevice();
    user.click(QStringLiteral("RB_TX_EDID_%1").arg(size));
    user.choose("CB_FlashEDID_List", QString::number(random.below(kEdidSlots)));
    const auto save = [this, &source] {
      const QString path = files().path("saved.bin");
      QFile::remove(path);
      const ChosenFile chosen(path);
      user.click(source.button);
      return contentOf(path);
    };
    const QByteArray truth = save();
    QByteArray saved;
    const Seen seen = whileLying(drawFaults(random, 1), [&] { saved = save(); });
    if (seen.duration > 1s) {
      return {Outcome::kHang, {}};
    }
    if (seen.calls() != 1 || seen.transfers.size() != 1) {
      return {Outcome::kBreach, "other calls than the job's"};
    }
    const bool failed = seen.journal.back().result != 0;
    const Bytes& told = seen.transfers.front().bytes;
    const QByteArray expected(reinterpret_cast<const char*>(told.data()), static_cast<int>(told.size()));
    if (saved != expected || user.message() != (failed ? source.failure : QString())) {
      return {Outcome::kBreach, "what is saved or said is not what the library returned"};
    }
    return weigh(seen, !failed, !failed && saved == truth, reasonOfRead(seen));
  }

 private:
  /// A device in its default state, and the window connected to it.
  void openDevice(const QByteArray& scenario = "{}") {
    loadDevice(scenario);
    // The window keeps a session that it believes is open, so change the model first.
    user.choose("CB_DeviceType", "KVR-5B");
    user.click("BN_Connect");
    user.choose("CB_DeviceType", "KVR-7");
    user.click("BN_Connect");
    if (user.message() != "Device Connected") {
      throw std::logic_error("the window does not connect");
    }
    simulator::advanceTime(10ms);
  }

  Seen whileLying(const DrawnFaults& drawn, const std::function<void()>& act) {
    before_ = readMemory();
    user.widget<QLabel>("LB_Message").clear();
    posted_.clear();
    Seen seen;
    seen.firstCall = simulator::journal().size();
    const std::chrono::nanoseconds start = simulator::now();
    simulator::setTransferFaults(drawn.faults, drawn.seed);
    act();
    seen.duration = simulator::now() - start;
    seen.transfers = simulator::transfers();
    simulator::setTransferFaults({});
    seen.journal = simulator::journal();
    return seen;
  }

  void chooseFile(const QString& button, const QString& name, const Bytes& content) const {
    const ChosenFile chosen(files().write(
        name, QByteArray(reinterpret_cast<const char*>(content.data()), static_cast<int>(content.size()))));
    user.click(button);
  }

  /// Starts a worker and runs the event loop until it has ended.
  void startAndWait(const QString& button) const {
    if (!waitForWorker(startWorker(button))) {
      throw std::runtime_error("the worker does not end");
    }
  }

  QString lastPosted() const { return posted_.texts().isEmpty() ? QString() : posted_.texts().last(); }

  Verdict upgrade(SeededRandom& random, const QByteArray& family, std::size_t blockSize) {
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
    if (seen.duration > 2s + attempts * 50ms + (packets + 1) * 500ms ||
        seen.calls() > 4 + 2 * attempts + 101 * packets) {
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

  Verdict chooseOther(SeededRandom& random, const QString& comboBox, std::uint8_t Memory::*setting,
                      const Rules& rules) {
    openDevice();
    auto& box = user.widget<QComboBox>(comboBox);
    // A row that neither the box shows nor the device has.
    int row = static_cast<int>(random.below(static_cast<std::uint32_t>(box.count())));
    while (row == box.currentIndex() || row == 0) {
      row = (row + 1) % box.count();
    }
    const Seen seen = whileLying(drawFaults(random, 1), [&] { user.choose(comboBox, box.itemText(row)); });
    Memory asked = before_;
    asked.*setting = static_cast<std::uint8_t>(row);
    return judgeWrite(seen, rules, user.message(), asked);
  }

  Verdict writeEeprom(SeededRandom& random, std::uint8_t address, const Bytes& index) {
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

  void fillRegister(std::uint8_t address, const Bytes& index, const Bytes& value) {
    user.widget<QLineEdit>("lineEdit_I2C_Addr").setText(QString::number(address * 2, 16));
    user.widget<QLineEdit>("lineEdit_I2C_Reg").setText(hexText(index));
    user.widget<QLineEdit>("lineEdit_I2C_Value").setText(hexText(value));
  }

  Verdict writeRegister(SeededRandom& random, std::uint8_t address, const Bytes& index, const Bytes& value,
                        const Memory& asked) {
    fillRegister(address, index, value);
    const Seen seen = whileLying(drawFaults(random, 1), [this] { user.click("BN_I2C_Write"); });
    return judgeWrite(seen, {"AT_System_Send_ExternalMCU_cmd", "I2C Write Done", "I2C Error"}, user.message(), asked);
  }

  QString fieldText(const QString& lineEdit) const { return user.widget<QLineEdit>(lineEdit).text(); }

  /// Text that a field must show after a read; `before` if the read failed.
  static QString shownBytes(const Seen& seen, const std::string& operation, const QString& before,
                            const std::function<QString(const Bytes&)>& toText) {
    for (const Transfer& transfer : seen.transfers) {
      const JournalEntry& entry = seen.journal.at(transfer.call);
      if (entry.operation == operation && entry.result == 0) {
        return toText(transfer.bytes);
      }
    }
    return before;
  }

  /// Presses every read button.
  /// @return what all widgets show afterwards, and each button's message
  QStringList readEverything() {
    QStringList shown;
    for (const char* const button : kReadButtons) {
      user.widget<QLabel>("LB_Message").clear();
      const std::size_t callsBefore = simulator::journal().size();
      user.click(button);
      const std::vector<JournalEntry> calls = simulator::journal();
      const auto first = calls.begin() + static_cast<std::ptrdiff_t>(callsBefore);
      const bool failed = std::any_of(first, calls.end(), [](const JournalEntry& entry) {
        return entry.result != 0 && entry.operation.find("_Set_") == std::string::npos;
      });
      // A message appears if and only if something could not be read.
      failuresAreTold_ &= failed == user.message().contains(QRegularExpression("fail|Error"));
      shown << user.message();
    }
    for (const auto* label : window().findChildren<QLabel*>()) {
      shown << label->text();
    }
    for (const auto* field : window().findChildren<QLineEdit*>()) {
      shown << field->text();
    }
    for (const auto* button : window().findChildren<QAbstractButton*>()) {
      shown << QString::number(button->isChecked() ? 1 : 0);
    }
    for (const auto* box : window().findChildren<QComboBox*>()) {
      shown << QString::number(box->currentIndex());
    }
    for (const auto* box : window().findChildren<QSpinBox*>()) {
      shown << QString::number(box->value());
    }
    for (const auto* slider : window().findChildren<QAbstractSlider*>()) {
      shown << QString::number(slider->value());
    }
    return shown;
  }

  PostedTexts posted_{user.widget<QLabel>("LB_Message")};
  Memory before_;
  bool failuresAreTold_ = true;
};

// Reads use a separate window. There, no burn's timer overwrites the message line,
// and the guards that reads leave set cannot swallow a change of a setting.
LyingJobs::LyingJobs() : window_(std::make_unique<JobWindow>()), readWindow_(std::make_unique<JobWindow>()) {
  sleeps::replaceBy([](std::chrono::milliseconds time) {
    simulator::advanceTime(time);
    if (simulator::now() > kForEver) {
      std::_Exit(kHangExitCode);  // its worker would never end
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
