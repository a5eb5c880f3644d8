#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/faults.h"

#include <bit>
#include <climits>
#include <set>
#include <stdexcept>

using simulator::FaultEffect;
using simulator::Transfer;
using Bytes = std::vector<std::uint8_t>;

namespace {

constexpr std::uint8_t kEeprom = 0x50;

std::int32_t send(const Bytes& bytes) {
  simulator::advanceTime(std::chrono::milliseconds(10));  // the EEPROM programs its page
  return AT_System_Send_ExternalMCU_cmd(3, kEeprom, static_cast<std::uint16_t>(bytes.size()), bytes.data());
}

/// Reads the start of the EEPROM into a buffer of zeros.
Bytes readEeprom(unsigned size, std::int32_t expectedStatus = 0) {
  simulator::advanceTime(std::chrono::milliseconds(10));
  const std::uint8_t address = 0;
  Bytes bytes(size);
  if (AT_System_Get_ExternalMCU_cmd(3, kEeprom, 1, &address, size, bytes.data()) != expectedStatus) {
    return {};
  }
  return bytes;
}

int differingBits(const Bytes& one, const Bytes& other) {
  int bits = one.size() == other.size() ? 0 : 1'000'000;
  for (std::size_t i = 0; i < std::min(one.size(), other.size()); ++i) {
    bits += std::popcount(static_cast<unsigned>(one[i] ^ other[i]));
  }
  return bits;
}

bool isFewBits(int bits) { return bits >= 1 && bits <= 3; }

/// All stored state of the device that a test can read.
std::vector<Bytes> memories() {
  std::vector<Bytes> all{simulator::eepromContent(0x50), simulator::eepromContent(0x54), simulator::mcuFlash(),
                         simulator::captureFlash(), simulator::hdcpKey()};
  for (std::uint8_t slot = 0; slot < 7; ++slot) {
    Bytes& table = all.emplace_back(512);
    AT_EDID_Flash_Get_table(slot, table.data(), 512);
  }
  std::uint32_t length = 0;
  AT_USB_Get_SerialNum(all.emplace_back(100).data(), 100, &length);
  AT_EDID_Get_EDID_mode(all.emplace_back(1).data());
  AT_EDID_Flash_Get_Default_table(all.emplace_back(1).data());
  AT_Audio_Get_DACHP_Mute(all.emplace_back(1).data());
  AT_GPIO_Get_Param(0, 0, all.emplace_back(1).data());
  return all;
}

}  // namespace

class SimulatorTransferFaultsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    simulator::reset();
    simulator::useVirtualTime();
    openDefaultDevice();
    simulator::programEeprom(kEeprom, 0, {0, 0, 0xFF, 0x5A, 1, 2, 3, 4, 5, 6, 7, 8});
  }

  void transfersWithoutAFaultAreRecorded() {
    simulator::setTransferFaults({});
    QCOMPARE(send({0x01, 0x77}), 0);
    QCOMPARE(readEeprom(4), (Bytes{0, 0x77, 0xFF, 0x5A}));
    const std::vector<Transfer> transfers = simulator::transfers();
    QCOMPARE(transfers.size(), std::size_t{2});
    QVERIFY(!transfers[0].fault && !transfers[1].fault);
    QCOMPARE(transfers[0].bytes, (Bytes{0x01, 0x77}));
    QCOMPARE(transfers[1].bytes, (Bytes{0, 0x77, 0xFF, 0x5A}));
  }

  void misreadingLeavesTheDeviceAsItIs() {
    const Bytes truth = readEeprom(8);
    simulator::setTransferFaults({faults::misread(1000)});
    std::set<Bytes> seen;
    for (int i = 0; i < 200; ++i) {
      const Bytes told = readEeprom(8);
      QVERIFY(isFewBits(differingBits(told, truth)));
      QCOMPARE(simulator::transfers().back().bytes, told);
      QVERIFY(simulator::transfers().back().fault == FaultEffect::kMisread);
      seen.insert(told);
    }
    QVERIFY(seen.size() > 50);
    simulator::setTransferFaults({});
    QCOMPARE(readEeprom(8), truth);
  }

  void damagedBytesArriveOtherwise() {
    simulator::setTransferFaults({faults::damage(1000)});
    const std::uint8_t serialNumber[] = {'S', 'N', '1'};
    for (int i = 0; i < 200; ++i) {
      QCOMPARE(AT_USB_Set_SerialNum(serialNumber, 3), 0);
      QVERIFY(simulator::transfers().back().fault == FaultEffect::kDamage);
      const Bytes arrived = simulator::transfers().back().bytes;
      QVERIFY(isFewBits(differingBits(arrived, {'S', 'N', '1'})));
      Bytes stored(3);
      std::uint32_t length = 0;
      Bytes buffer(100);
      QCOMPARE(AT_USB_Get_SerialNum(buffer.data(), 100, &length), 0);
      stored.assign(buffer.begin(), buffer.begin() + 3);
      QCOMPARE(stored, arrived);
    }
  }

  void everyWriteOfBytesCanBeDamaged() {
    const BurnFile file;  // 100 times 'x'
    simulator::setTransferFaults({faults::damage(1000)});
    QCOMPARE(burnToFlash(file.path(), [](float) {}), 0);
    Bytes flash = simulator::captureFlash();
    QCOMPARE(differingBits({flash.begin() + 100, flash.end()}, Bytes(flash.size() - 100, 0xFF)), 0);
    flash.resize(100);
    QVERIFY(isFewBits(differingBits(flash, Bytes(100, 'x'))));

    QCOMPARE(burnHDCP(file.path()), 0);
    QVERIFY(isFewBits(differingBits(simulator::hdcpKey(), Bytes(100, 'x'))));

    const Bytes table(256, 0x11);
    Bytes stored(256);
    QCOMPARE(AT_EDID_Flash_Set_table(5, table.data(), 256), 0);
    QCOMPARE(AT_EDID_Flash_Get_table(5, stored.data(), 256), 0);
    QVERIFY(isFewBits(differingBits(stored, table)));

    const Bytes before = simulator::eepromContent(kEeprom);
    QCOMPARE(send({0x00, 0x55}), 0);
    QCOMPARE(differingBits(simulator::transfers().back().bytes, {0x00, 0x55}) > 0, true);
    QVERIFY(simulator::eepromContent(kEeprom) != before);
  }

  void shortReadsFillTheBeginningOnly() {
    simulator::setTransferFaults({faults::shortRead(1000)});
    std::set<std::size_t> sizes;
    for (int i = 0; i < 100; ++i) {
      Bytes buffer(8, 0xA5);
      const std::uint8_t address = 4;
      QCOMPARE(AT_System_Get_ExternalMCU_cmd(3, kEeprom, 1, &address, 8, buffer.data()), 0);
      const Bytes truth{1, 2, 3, 4, 5, 6, 7, 8};
      const auto filled = static_cast<std::size_t>(std::find(buffer.begin(), buffer.end(), 0xA5) - buffer.begin());
      QVERIFY(filled < 8);
      QVERIFY(std::equal(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(filled), truth.begin()));
      QCOMPARE(std::count(buffer.begin(), buffer.end(), 0xA5), static_cast<std::ptrdiff_t>(8 - filled));
      QVERIFY(simulator::transfers().back().fault == FaultEffect::kShort);
      QCOMPARE(simulator::transfers().back().bytes, buffer);
      sizes.insert(filled);
    }
    QCOMPARE(sizes.size(), std::size_t{8});
  }

  void aShortReadOfAStringReturnsWhatArrived() {
    Bytes truth(64, 0xA5);
    const std::int32_t length = AT_USB_Get_iProduct(truth.data(), 64);
    simulator::setTransferFaults({faults::shortRead(1000)});
    for (int i = 0; i < 50; ++i) {
      Bytes buffer(64, 0xA5);
      const std::int32_t told = AT_USB_Get_iProduct(buffer.data(), 64);
      QVERIFY(told >= 0 && told < length);
      QVERIFY(std::equal(buffer.begin(), buffer.begin() + told, truth.begin()));
      QCOMPARE(std::count(buffer.begin(), buffer.end(), 0xA5), static_cast<std::ptrdiff_t>(64 - told));
    }
  }

  // Only what the answer fills is looked at, however large a buffer the caller promises.
  void aPromisedCapacityIsNotRead() {
    simulator::setTransferFaults({faults::misread(1000)});
    Bytes buffer(64, 0xA5);
    const std::int32_t length = AT_USB_Get_iProduct(buffer.data(), UINT_MAX);
    QVERIFY(length > 0 && length < 64);
    QCOMPARE(simulator::transfers().back().bytes.size(), static_cast<std::size_t>(length));
    QCOMPARE(std::count(buffer.begin() + length, buffer.end(), 0xA5), static_cast<std::ptrdiff_t>(64 - length));
  }

  void ignoredWritesSucceedAndDoNothing() {
    const std::vector<Bytes> before = memories();
    const BurnFile file;
    simulator::setTransferFaults({faults::ignored(1000)});
    int writes = 0;
    for (const OperationCall& operation : portOperations(file.path())) {
      Scratch scratch;
      QVERIFY2(operation.run(scratch) >= 0, operation.name);
      writes += scratch == Scratch() ? 1 : 0;
    }
    QCOMPARE(writes, 16);  // all writing operations, including a reboot and a burn
    simulator::setTransferFaults({});
    QCOMPARE(memories() == before, true);
  }

  void aBurnLosesSinglePieces() {
    QTemporaryDir directory;
    QFile file(directory.filePath("image"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    const std::ptrdiff_t pieces = 100;
    file.write(QByteArray(static_cast<int>(pieces * 4096), 'x'));
    file.close();
    simulator::setTransferFaults({faults::ignored(100)});
    QCOMPARE(burnToFlash(file.fileName().toUtf8().constData(), [](float) {}), 0);
    std::ptrdiff_t ignored = 0;
    for (const Transfer& transfer : simulator::transfers()) {
      ignored += transfer.fault == FaultEffect::kIgnored ? 1 : 0;
    }
    QVERIFY(ignored > 0 && ignored < pieces);
    const Bytes flash = simulator::captureFlash();
    QCOMPARE(std::count(flash.begin(), flash.begin() + pieces * 4096, 0xFF), ignored * 4096);
  }

  void acknowledgementsStop() {
    simulator::setTransferFaults({faults::notAcknowledgedAfter(2)});
    QCOMPARE(readEeprom(2), (Bytes{0, 0}));
    QCOMPARE(send({0x00, 0x12}), 0);
    for (int i = 0; i < 3; ++i) {
      QCOMPARE(readEeprom(2, simulator::kNoAnswer), (Bytes{0, 0}));
      QCOMPARE(send({0x01, 0x34}), simulator::kNoAnswer);
      QVERIFY(simulator::transfers().back().fault == FaultEffect::kNotAcknowledged);
      QVERIFY(simulator::transfers().back().bytes.empty());
    }
    QCOMPARE(simulator::eepromContent(kEeprom)[0], std::uint8_t{0x12});
    QCOMPARE(simulator::eepromContent(kEeprom)[1], std::uint8_t{0});
    // Session calls make no transfers, so they do not fail.
    QCOMPARE(closePort(), 0);
  }

  void acknowledgementsStopWithinABurn() {
    const BurnFile file;
    simulator::setTransferFaults({faults::notAcknowledgedAfter(2)});  // the burn's start, the erasing of a sector
    QCOMPARE(burnToFlash(file.path(), [](float) {}), simulator::kNoAnswer);
    simulator::setTransferFaults({});
    Bytes version(128);
    QCOMPARE(AT_Get_Customer_Ver(version.data()), simulator::kNoFirmware);
    QCOMPARE(burnToFlash(file.path(), [](float) {}), 0);
  }

  void theSameSeedBringsTheSameFaults() {
    const auto run = [](std::uint64_t seed) {
      simulator::setTransferFaults(
          {faults::misread(200), faults::shortRead(200), faults::damage(200), faults::ignored(200)}, seed);
      std::vector<Bytes> told;
      for (int i = 0; i < 50; ++i) {
        send({0x04, 0x44});
        told.push_back(readEeprom(8));
      }
      return told;
    };
    const auto first = run(7);
    init();
    const auto again = run(7);
    init();
    const auto other = run(8);
    QVERIFY(first == again);
    QVERIFY(first != other);
  }

  void ratesAreOfAThousandTransfers() {
    simulator::setTransferFaults({faults::misread(250)});
    for (int i = 0; i < 2000; ++i) {
      readEeprom(1);
    }
    int misread = 0;
    for (const Transfer& transfer : simulator::transfers()) {
      misread += transfer.fault == FaultEffect::kMisread ? 1 : 0;
    }
    QVERIFY2(misread > 400 && misread < 600, qPrintable(QString::number(misread)));
    QVERIFY_EXCEPTION_THROWN(simulator::setTransferFaults({faults::damage(1001)}), std::invalid_argument);
  }

  void onlyFaultsOfTransfersAreTaken() {
    simulator::setTransferFaults({faults::misread(1000)});
    for (const simulator::FaultPoint at : {simulator::FaultPoint::kCall, simulator::FaultPoint::kCaptureFlash}) {
      QVERIFY_EXCEPTION_THROWN(simulator::setTransferFaults({{.at = at}}), std::invalid_argument);
    }
    QVERIFY_EXCEPTION_THROWN(simulator::setTransferFaults({{.at = simulator::FaultPoint::kRead, .first = 0}}),
                             std::invalid_argument);
    QVERIFY(readEeprom(4) != (Bytes{0, 0, 0xFF, 0x5A}));  // the earlier faults still apply
  }

  void transfersNameTheirCalls() {
    simulator::setTransferFaults({faults::ignored(1000)});
    readEeprom(1);
    closePort();  // no transfer
    openPort();
    send({0x00, 0x01});
    const std::vector<simulator::JournalEntry> journal = simulator::journal();
    const std::vector<Transfer> transfers = simulator::transfers();
    QCOMPARE(transfers.size(), std::size_t{2});
    QCOMPARE(journal[transfers[0].call].operation, std::string("AT_System_Get_ExternalMCU_cmd"));
    QCOMPARE(journal[transfers[1].call].arguments, std::string("3, 0x50, 2, [00 01]"));
  }

  void aResetEndsTheFaults() {
    simulator::setTransferFaults({faults::misread(1000)});
    init();
    QVERIFY(simulator::transfers().empty());
    QCOMPARE(readEeprom(4), (Bytes{0, 0, 0xFF, 0x5A}));
  }
};

QTEST_GUILESS_MAIN(SimulatorTransferFaultsTest)
#include "transfer_faults_test.moc"
