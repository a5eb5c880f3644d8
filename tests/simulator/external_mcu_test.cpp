#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/upgrade_reference.h"

#include <numeric>

using upgrade_reference::addressPacket;
using upgrade_reference::packet;
using namespace std::chrono_literals;

namespace {

constexpr quint32 kFirst = 0x08005000;  // of family 2
constexpr int kCapacity = 108 * 1024;

void open(const char* mcu = "{}") {
  const std::string scenario = std::string(R"({"externalMcu": )") + mcu + "}";
  QCOMPARE(QString::fromStdString(simulator::loadScenario(scenario)), QString());
  simulator::useVirtualTime();
  openDefaultDevice();
}

bool write(std::uint8_t slave, const QByteArray& bytes) {
  return AT_System_Send_ExternalMCU_cmd(3, slave, static_cast<std::uint16_t>(bytes.size()),
                                        reinterpret_cast<const std::uint8_t*>(bytes.constData())) == 0;
}

// -1 when the read fails.
int read(std::uint8_t slave, std::uint8_t index) {
  std::uint8_t value = 0;
  return AT_System_Get_ExternalMCU_cmd(3, slave, 1, &index, 1, &value) == 0 ? value : -1;
}

bool ready() { return read(0x43, 0x01) == 0x01; }

void waitUntilReady() {
  for (int i = 0; i < 1000 && !ready(); ++i) {
    simulator::advanceTime(1ms);
  }
}

// Sends a packet and waits for the boot loader. Returns whether the checksum read
// back matched.
bool taken(const QByteArray& bytes) {
  write(0x43, bytes);
  const bool matches = read(0x43, 0x02) == static_cast<unsigned char>(bytes.back());
  waitUntilReady();
  return matches;
}

bool blockTaken(quint32 address, char fill) {
  bool all = taken(addressPacket(address));
  for (int i = 0; i < 16; ++i) {
    all = taken(packet(0xA3, QByteArray(64, fill))) && all;
  }
  return all;
}

void openBootLoader() { open(R"({"mode": "bootLoader"})"); }

QByteArray flash(int offset, int size) {
  const std::vector<std::uint8_t> bytes = simulator::mcuFlash();
  return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())).mid(offset, size);
}

}  // namespace

class ExternalMcuTest : public QObject {
  Q_OBJECT

 private slots:
  void resetBringsTheBootLoaderAfterItsStart() {
    open();
    QVERIFY(write(0x0D, QByteArray("\x08\x02", 2)));
    QCOMPARE(read(0x0D, 0x00), 0x32);
    QVERIFY(write(0x0D, QByteArray("\x08\x01", 2)));
    QVERIFY(!simulator::mcuRunsApplication());
    QCOMPARE(read(0x0D, 0x00), -1);
    QCOMPARE(read(0x43, 0x00), -1);
    simulator::advanceTime(299ms);
    QCOMPARE(read(0x43, 0x00), -1);
    simulator::advanceTime(1ms);
    QCOMPARE(read(0x43, 0x00), 0x32);
    QVERIFY(ready());
    QVERIFY(write(0x43, QByteArray("\x01\x01", 2)));
    QVERIFY(!ready());
    simulator::advanceTime(20ms);
    QVERIFY(ready());
    // Nothing was lost: after a power cut, the application runs again.
    simulator::unplug();
    simulator::replug();
    QCOMPARE(read(0x0D, 0x02), 0x12);
  }

  void aSilentMcuAnswersNowhere() {
    open(R"({"mode": "silent"})");
    QCOMPARE(read(0x0D, 0x00), -1);
    QCOMPARE(read(0x43, 0x00), -1);
    open(R"({"mode": "application"})");
    QCOMPARE(read(0x0D, 0x00), 0x32);
  }

  void itStaysBusyWhileTheFlashIsWritten() {
    openBootLoader();
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(write(0x43, addressPacket(kFirst)));
    QVERIFY(!ready());
    // Nothing is acknowledged meanwhile, and the checksum does not change.
    QVERIFY(!write(0x43, packet(0xA3)));
    QVERIFY(!write(0x43, QByteArray("\x01\x01", 2)));
    QCOMPARE(read(0x43, 0x02), 0x54);
    simulator::advanceTime(40ms - 1ns);
    QVERIFY(!ready());
    simulator::advanceTime(1ns);
    QVERIFY(ready());
    for (int i = 0; i < 15; ++i) {
      QVERIFY(write(0x43, packet(0xA3)));
      QVERIFY(ready());
    }
    QVERIFY(write(0x43, packet(0xA3)));
    QVERIFY(!ready());
    simulator::advanceTime(25ms);
    QVERIFY(ready());
    QCOMPARE(simulator::mcuBusyTime(), std::chrono::nanoseconds(65ms));
  }

  void theSpeedFactorScalesTheWork() {
    QCOMPARE(simulator::loadScenario(R"({"externalMcu": {"mode": "bootLoader"}, "speedFactor": 4})"), std::string());
    simulator::useVirtualTime();
    openDefaultDevice();
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(write(0x43, addressPacket(kFirst)));
    simulator::advanceTime(10ms - 1ns);
    QVERIFY(!ready());
    simulator::advanceTime(1ns);
    QVERIFY(ready());
  }

  void aWholeUpgradeFillsTheFlashAndStartsTheApplication() {
    open();
    QVERIFY(write(0x0D, QByteArray("\x08\x01", 2)));
    simulator::advanceTime(1s);
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(blockTaken(kFirst, 'a'));
    QVERIFY(blockTaken(kFirst + 1024, 'b'));
    QVERIFY(taken(packet(0xA4)));
    QCOMPARE(flash(0, 2048), QByteArray(1024, 'a') + QByteArray(1024, 'b'));
    // The rest of the flash is unchanged.
    QCOMPARE(flash(2048, 1), QByteArray(1, 0x55));
    // It starts after a second of silence on the bus.
    simulator::advanceTime(999ms);
    QVERIFY(ready());
    simulator::advanceTime(999ms);
    QCOMPARE(read(0x43, 0x00), 0x32);
    simulator::advanceTime(1s);
    QVERIFY(simulator::mcuRunsApplication());
    QCOMPARE(read(0x43, 0x00), -1);
    QCOMPARE(read(0x0D, 0x02), int{'a'});
  }

  // The first transfer after the silence may be a write, and a write breaks the silence.
  void aWriteIsATransferToo() {
    const auto upgrade = [] {
      openBootLoader();
      QVERIFY(taken(packet(0xA1)));
      QVERIFY(blockTaken(kFirst, 'a'));
      QVERIFY(taken(packet(0xA4)));
    };
    upgrade();
    simulator::advanceTime(999ms);
    QVERIFY(write(0x43, QByteArray("\x01\x00", 2)));
    simulator::advanceTime(999ms);
    QVERIFY(!simulator::mcuRunsApplication());
    upgrade();
    simulator::advanceTime(1s);
    QVERIFY(write(0x0D, QByteArray("\x08\x01", 2)));
    QVERIFY(!simulator::mcuRunsApplication());
    QCOMPARE(read(0x0D, 0x00), -1);
    simulator::advanceTime(300ms);
    QCOMPARE(read(0x43, 0x00), 0x32);
  }

  void aWrongPacketIsRefused_data() {
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray good = packet(0xA3, "data");
    const auto row = [](const char* name, QByteArray bytes, bool sumAgain) {
      if (sumAgain) {
        int sum = 0;
        for (int i = 1; i < 67; ++i) {
          sum += static_cast<unsigned char>(bytes[i]);
        }
        bytes[67] = static_cast<char>(sum % 256);
      }
      QTest::newRow(name) << bytes;
    };
    const auto with = [&good](int offset, char byte) {
      QByteArray bytes = good;
      bytes[offset] = byte;
      return bytes;
    };
    row("marker", with(1, 0x5B), true);
    row("command 0xA0", with(2, '\xA0'), true);
    row("command 0xA5", with(2, '\xA5'), true);
    row("command 0", with(2, 0), true);
    row("damaged payload", with(40, 1), false);
    row("damaged checksum", with(67, 1), false);
    row("too short", good.left(67), false);
    row("too long", good + '\0', false);
    row("register only", QByteArray(1, '\0'), false);
  }

  void aWrongPacketIsRefused() {
    QFETCH(QByteArray, bytes);
    openBootLoader();
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(taken(addressPacket(kFirst)));
    QVERIFY(!taken(bytes));
    QVERIFY(ready());
    // The refused packet did not count: exactly sixteen good ones fill the block.
    for (int i = 0; i < 16; ++i) {
      QVERIFY(taken(packet(0xA3, QByteArray(64, static_cast<char>('A' + i)))));
    }
    QCOMPARE(flash(0, 64), QByteArray(64, 'A'));
    QCOMPARE(flash(960, 64), QByteArray(64, 'P'));
    QVERIFY(taken(packet(0xA4)));
  }

  // After a refusal, the checksum read is neither the one sent nor the one computed.
  void aRefusalIsNeverTakenForASuccess() {
    for (int place = 3; place < 68; ++place) {
      for (const int bit : {0, 3, 7}) {
        openBootLoader();
        QVERIFY(taken(packet(0xA1)));
        QVERIFY(taken(addressPacket(kFirst)));
        QByteArray bytes = packet(0xA3, QByteArray(64, '\x2E'));
        const char checksum = bytes.back();
        bytes[place] = static_cast<char>(bytes[place] ^ 1 << bit);
        write(0x43, bytes);
        QVERIFY(read(0x43, 0x02) != static_cast<unsigned char>(checksum));
        const int sum = std::accumulate(bytes.begin() + 1, bytes.end() - 1, 0);
        QVERIFY(read(0x43, 0x02) != (sum & 0xFF));
      }
    }
  }

  void packetsAreTakenInTheirOrderOnly() {
    const QByteArray data = packet(0xA3, "x");
    const QByteArray finish = packet(0xA4);
    openBootLoader();
    QVERIFY(!taken(addressPacket(kFirst)));
    QVERIFY(!taken(data));
    QVERIFY(!taken(finish));
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(!taken(data));
    QVERIFY(!taken(finish));
    QVERIFY(taken(addressPacket(kFirst)));
    QVERIFY(taken(addressPacket(kFirst)));  // sent again
    QVERIFY(!taken(finish));
    QVERIFY(taken(data));
    QVERIFY(!taken(addressPacket(kFirst)));
    QVERIFY(!taken(addressPacket(kFirst + 1024)));
    QVERIFY(!taken(finish));
    for (int i = 1; i < 16; ++i) {
      QVERIFY(taken(data));
    }
    QVERIFY(!taken(data));
    QVERIFY(!taken(addressPacket(kFirst)));
    QVERIFY(!taken(addressPacket(kFirst + 2048)));
    QVERIFY(taken(finish));
    QVERIFY(taken(finish));  // sent again
    QVERIFY(!taken(data));
    QVERIFY(!taken(addressPacket(kFirst + 1024)));
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(taken(addressPacket(kFirst)));
  }

  void anAddressOutsideTheFlashIsRefused() {
    openBootLoader();
    QVERIFY(taken(packet(0xA1)));
    for (const quint32 address : {quint32{0}, kFirst - 1024, kFirst + 1, kFirst + 64, kFirst + 1024, 0xFFFFFC00U}) {
      QVERIFY(!taken(addressPacket(address)));
    }
    for (int page = 0; page < kCapacity / 1024; ++page) {
      QVERIFY(blockTaken(kFirst + static_cast<quint32>(page) * 1024, 'z'));
    }
    QVERIFY(!taken(addressPacket(kFirst + kCapacity)));
    QCOMPARE(flash(0, kCapacity), QByteArray(kCapacity, 'z'));
  }

  void aPowerCutWhileProgrammingLeavesHalfAPage() {
    openBootLoader();
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(taken(addressPacket(kFirst)));
    for (int i = 0; i < 15; ++i) {
      QVERIFY(taken(packet(0xA3, QByteArray(64, 'h'))));
    }
    write(0x43, packet(0xA3, QByteArray(64, 'h')));
    simulator::advanceTime(12500us);
    simulator::unplug();
    QCOMPARE(read(0x43, 0x00), -1);
    simulator::replug();
    QCOMPARE(read(0x43, 0x00), 0x32);
    QCOMPARE(flash(0, 1024), QByteArray(512, 'h') + QByteArray(512, '\xFF'));
    // It has forgotten its progress.
    QVERIFY(!taken(addressPacket(kFirst + 1024)));
  }

  void aRestartOfTheDeviceCutsThePowerToo() {
    openBootLoader();
    QVERIFY(taken(packet(0xA1)));
    QCOMPARE(AT_Set_System_Reboot(), 0);
    simulator::advanceTime(2s);
    QVERIFY(!taken(addressPacket(kFirst)));
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(taken(addressPacket(kFirst)));
  }

  void faultsComeFromTheScenario() {
    QCOMPARE(simulator::loadScenario(R"({"externalMcu": {"mode": "bootLoader"}, "faults": [
        {"at": "mcu.start", "first": 2, "count": 2, "what": "damage"},
        {"at": "mcu.start", "first": 4, "what": "misread"},
        {"at": "mcu.start", "first": 5, "what": "notAcknowledged"},
        {"at": "mcu.packet", "first": 6, "what": "lost"},
        {"at": "mcu.packet", "first": 7, "what": "busy", "polls": 3},
        {"at": "mcu.transfer", "first": 50, "what": "notAcknowledged", "count": 0}]})"),
             std::string());
    simulator::useVirtualTime();
    openDefaultDevice();
    QVERIFY(taken(packet(0xA1)));
    QVERIFY(!taken(packet(0xA1)));
    QVERIFY(!taken(packet(0xA1)));
    QVERIFY(!taken(packet(0xA1)));
    QVERIFY(!write(0x43, packet(0xA1)));
    QVERIFY(!write(0x43, packet(0xA1)));
    QCOMPARE(read(0x43, 0x02), 0xFB);
    QVERIFY(write(0x43, packet(0xA1)));
    for (int poll = 0; poll < 3; ++poll) {
      QVERIFY(!ready());
    }
    QVERIFY(ready());
    for (int i = 0; i < 50; ++i) {
      ready();
    }
    QCOMPARE(read(0x43, 0x00), -1);
    simulator::clearMcuFaults();
    QCOMPARE(read(0x43, 0x00), 0x32);
  }
};

QTEST_APPLESS_MAIN(ExternalMcuTest)
#include "external_mcu_test.moc"
