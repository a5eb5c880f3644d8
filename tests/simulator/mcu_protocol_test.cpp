#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/i2c_calls.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/upgrade_reference.h"

#include <chrono>

using i2c::Bytes;
using upgrade_reference::addressPacket;
using upgrade_reference::packet;
using namespace std::chrono_literals;

namespace {

constexpr std::uint8_t kApplication = 0x0D;
constexpr std::uint8_t kBootLoader = 0x43;

/// What is published of a chip family's flash.
struct Family {
  const char* name;
  quint32 first;
  int page;
  int capacity;
  std::chrono::milliseconds erase;
  std::chrono::milliseconds program;
};
constexpr Family kFamilies[] = {{"2", 0x08005000, 1024, 110592, 40ms, 25ms}, {"v", 0, 128, 65536, 10ms, 5ms}};

void open(const QString& scenario = "{}") {
  QCOMPARE(QString::fromStdString(simulator::loadScenario(scenario.toStdString())), QString());
  simulator::useVirtualTime();
  openDefaultDevice();
}

void openMcu(const QString& mcu, const QString& more = "") { open("{\"externalMcu\": {" + mcu + "}" + more + "}"); }
void openBootLoader(const QString& faults = "") {
  openMcu(R"("family": "v", "mode": "bootLoader")", faults.isEmpty() ? "" : ", \"faults\": [" + faults + "]");
}

bool send(const QByteArray& bytes) { return i2c::write(kBootLoader, Bytes(bytes.begin(), bytes.end())) == 0; }
int registerOf(std::uint8_t slave, std::uint8_t index) {
  const Bytes bytes = i2c::read(slave, {index}, 1);
  return bytes.empty() ? -1 : bytes[0];
}
bool ready() { return registerOf(kBootLoader, 0x01) == 0x01; }
int checksum() { return registerOf(kBootLoader, 0x02); }
int sumIn(const QByteArray& bytes) { return static_cast<unsigned char>(bytes.back()); }

/// Whether the MCU is busy for exactly this time from now on.
bool worksFor(std::chrono::nanoseconds time) {
  if (time > 0ns) {
    simulator::advanceTime(time - 1ns);
    if (ready()) {
      return false;
    }
    simulator::advanceTime(1ns);
  }
  return ready();
}

/// Sends a packet that the boot loader takes, and which then works for that time.
void take(const QByteArray& bytes, std::chrono::nanoseconds time) {
  QVERIFY(send(bytes));
  QCOMPARE(checksum(), sumIn(bytes));
  QVERIFY(worksFor(time));
}

QByteArray flash(int offset = 0, int size = -1) {
  const std::vector<std::uint8_t> bytes = simulator::mcuFlash();
  return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())).mid(offset, size);
}

QByteArray factoryFlash(int size) {
  QByteArray bytes(size, '\0');
  for (int i = 0; i < size; ++i) {
    bytes[i] = static_cast<char>(0x55 + i);
  }
  bytes[0x20] = 0x12;
  return bytes;
}

/// The four kinds of packets of an upgrade of one page, family v.
QList<QByteArray> upgrade() {
  return {packet(0xA1), addressPacket(0), packet(0xA3, QByteArray(64, 'p')), packet(0xA3, QByteArray(64, 'q')),
          packet(0xA4)};
}
constexpr std::chrono::milliseconds kWork[] = {0ms, 10ms, 0ms, 5ms, 20ms};  // in the boot loader already

}  // namespace

/// The external MCU's registers, times and faults, packet by packet.
class McuProtocolTest : public QObject {
  Q_OBJECT

  static void finishUpgrade(int from) {
    for (int i = from; i < 5; ++i) {
      take(upgrade()[i], kWork[i]);
    }
    QCOMPARE(flash(0, 128), QByteArray(64, 'p') + QByteArray(64, 'q'));
  }

  static void addFamilies() {
    QTest::addColumn<int>("number");
    QTest::newRow("family 2") << 0;
    QTest::newRow("family v") << 1;
  }

 private slots:
  void onlyTheDocumentedRegistersAreThere() {
    open();
    for (int index = 0; index < 256; ++index) {
      QCOMPARE(registerOf(kApplication, static_cast<std::uint8_t>(index)), index == 0   ? 0x32
                                                                           : index == 2 ? 0x12
                                                                                        : 0xFF);
    }
    QCOMPARE(i2c::read(kApplication, {0}, 3), (Bytes{0x32, 0xFF, 0xFF}));
    QVERIFY(i2c::read(kApplication, {0, 0}, 1).empty());
    openBootLoader();
    for (int index = 0; index < 256; ++index) {
      QCOMPARE(registerOf(kBootLoader, static_cast<std::uint8_t>(index)), index == 0   ? 0x76
                                                                          : index == 1 ? 0x01
                                                                          : index == 2 ? 0x00
                                                                                       : 0xFF);
    }
  }

  void otherWritesAreAcknowledgedAndDoNothing() {
    open();
    for (const Bytes& bytes : {Bytes{8}, {8, 0}, {8, 2}, {8, 1, 0}, {7, 1}, {9, 1}, {0, 1}, {1, 1}}) {
      QCOMPARE(i2c::write(kApplication, bytes), 0);
      QVERIFY(simulator::mcuRunsApplication());
    }
    openBootLoader();
    take(packet(0xA1), 0ms);
    for (const Bytes& bytes : {Bytes{1}, {1, 0}, {1, 2}, {1, 1, 0}, {2, 1}, {8, 1}}) {
      QCOMPARE(i2c::write(kBootLoader, bytes), 0);
      QVERIFY(ready());
    }
    finishUpgrade(1);
  }

  void theBootLoaderCommandBeginsAnUpgradeAnew() {
    openBootLoader();
    take(packet(0xA1), 0ms);
    QVERIFY(send(QByteArray("\x01\x01", 2)));
    QVERIFY(worksFor(20ms));
    QVERIFY(send(addressPacket(0)));
    QVERIFY(checksum() != sumIn(addressPacket(0)));
    finishUpgrade(0);
  }

  void eachStepTakesItsTime_data() { addFamilies(); }

  void eachStepTakesItsTime() {
    QFETCH(int, number);
    const Family& family = kFamilies[number];
    openMcu(QStringLiteral("\"family\": \"%1\"").arg(family.name));
    QCOMPARE(flash(), factoryFlash(family.capacity));
    QCOMPARE(i2c::write(kApplication, {8, 1}), 0);
    simulator::advanceTime(300ms - 1ns);
    QCOMPARE(registerOf(kBootLoader, 1), -1);
    simulator::advanceTime(1ns);
    QVERIFY(ready());
    QCOMPARE(checksum(), 0);
    take(packet(0xA1), 10ms);  // makes the application invalid
    take(packet(0xA1), 0ms);   // which it is by now
    for (int page = 0; page < 2; ++page) {
      take(addressPacket(family.first + static_cast<quint32>(page * family.page)), family.erase);
      QCOMPARE(flash(page * family.page, family.page), QByteArray(family.page, '\xFF'));
      for (int i = 1; i < family.page / 64; ++i) {
        take(packet(0xA3, QByteArray(64, 'x')), 0ms);
      }
      QCOMPARE(flash(page * family.page, family.page), QByteArray(family.page, '\xFF'));
      take(packet(0xA3, QByteArray(64, 'y')), family.program);
    }
    const QByteArray page = QByteArray(family.page - 64, 'x') + QByteArray(64, 'y');
    QCOMPARE(flash(), page + page + factoryFlash(family.capacity).mid(2 * family.page));
    take(packet(0xA4), 20ms);
    take(packet(0xA4), 0ms);
    QVERIFY(simulator::mcuBusyTime() == 30ms + 2 * (family.erase + family.program));
  }

  void theFlashIsTakenToItsLastPage_data() { addFamilies(); }

  void theFlashIsTakenToItsLastPage() {
    QFETCH(int, number);
    const Family& family = kFamilies[number];
    openMcu(QStringLiteral("\"family\": \"%1\", \"mode\": \"bootLoader\"").arg(family.name));
    take(packet(0xA1), 0ms);
    for (int offset = 0; offset < family.capacity; offset += family.page) {
      take(addressPacket(family.first + static_cast<quint32>(offset)), family.erase);
      for (int i = 0; i < family.page; i += 64) {
        QVERIFY(send(packet(0xA3, QByteArray(64, static_cast<char>(offset / family.page)))));
      }
      simulator::advanceTime(family.program);
    }
    const QByteArray beyond = addressPacket(family.first + static_cast<quint32>(family.capacity));
    QVERIFY(send(beyond));
    QVERIFY(checksum() != sumIn(beyond));
    for (int offset = 0; offset < family.capacity; offset += family.page) {
      QCOMPARE(flash(offset, family.page), QByteArray(family.page, static_cast<char>(offset / family.page)));
    }
  }

  void theApplicationStartsAfterASecondOfSilence() {
    openBootLoader();
    finishUpgrade(0);
    QVERIFY(!simulator::mcuRunsApplication());
    simulator::advanceTime(1s - 1ns);
    QCOMPARE(registerOf(kBootLoader, 1), 1);  // breaks the silence
    simulator::advanceTime(1s - 1ns);
    QVERIFY(!simulator::mcuRunsApplication());
    simulator::advanceTime(1ns);
    QVERIFY(simulator::mcuRunsApplication());
    QCOMPARE(registerOf(kApplication, 2), int{'p'});
    // Counted from the end of the work.
    openBootLoader();
    for (int i = 0; i < 4; ++i) {
      take(upgrade()[i], kWork[i]);
    }
    QVERIFY(send(upgrade()[4]));
    simulator::advanceTime(20ms + 1s - 1ns);
    QVERIFY(!simulator::mcuRunsApplication());
    simulator::advanceTime(1ns);
    QVERIFY(simulator::mcuRunsApplication());
  }

  // A caller that asks for the application has waited for it.
  void onAClockThatSkipsWaitingTheApplicationIsThereWhenAskedFor() {
    openMcu(R"("family": "v")", R"(, "clock": "virtual")");
    QCOMPARE(i2c::write(kApplication, {8, 1}), 0);
    for (const QByteArray& bytes : upgrade()) {
      QCOMPARE(registerOf(kApplication, 2), -1);
      QVERIFY(send(bytes));
      QCOMPARE(checksum(), sumIn(bytes));
    }
    QCOMPARE(registerOf(kBootLoader, 1), 1);
    QCOMPARE(registerOf(kApplication, 2), int{'p'});
    QCOMPARE(registerOf(kBootLoader, 1), -1);
  }

  void aPowerCutHarmsThePageBeingProgrammedOnly() {
    const auto cut = [] {
      simulator::unplug();
      simulator::replug();
    };
    // While the boot loader starts, erases, has programmed or checks.
    openBootLoader();
    QVERIFY(send(QByteArray("\x01\x01", 2)));
    simulator::advanceTime(10ms);
    cut();
    QCOMPARE(flash(), factoryFlash(65536));
    QCOMPARE(registerOf(kApplication, 0), -1);
    for (const int steps : {2, 4, 5}) {
      openBootLoader();
      for (int i = 0; i < steps - 1; ++i) {
        take(upgrade()[i], kWork[i]);
      }
      QVERIFY(send(upgrade()[steps - 1]));
      simulator::advanceTime(steps == 4 ? 6ms : 4ms);
      cut();
      QCOMPARE(flash(), (steps == 2 ? QByteArray(128, '\xFF') : QByteArray(64, 'p') + QByteArray(64, 'q')) +
                            factoryFlash(65536).mid(128));
      QCOMPARE(checksum(), steps == 5 ? -1 : 0);
      QCOMPARE(registerOf(kApplication, 2), steps == 5 ? int{'p'} : -1);
    }
    openBootLoader();
    for (int i = 0; i < 3; ++i) {
      take(upgrade()[i], kWork[i]);
    }
    QVERIFY(send(upgrade()[3]));
    simulator::advanceTime(1250us);
    cut();
    QCOMPARE(flash(0, 128), QByteArray(32, 'p') + QByteArray(96, '\xFF'));
    QVERIFY(ready());
    finishUpgrade(0);
  }

  void aFaultConcernsItsKindOfPacketAndNoOther_data() {
    QTest::addColumn<QString>("what");
    QTest::addColumn<int>("step");
    QTest::addColumn<bool>("byKind");
    for (const char* what : {"notAcknowledged", "lost", "damage", "misread", "busy", "unplug"}) {
      for (const int step : {0, 1, 2, 4}) {
        QTest::addRow("%s at %d of its kind", what, step) << what << step << true;
        QTest::addRow("%s at %d of all", what, step) << what << step << false;
      }
    }
  }

  void aFaultConcernsItsKindOfPacketAndNoOther() {
    QFETCH(QString, what);
    QFETCH(int, step);
    QFETCH(bool, byKind);
    const char* const kinds[] = {"start", "address", "data", "data", "finish"};
    openBootLoader(QStringLiteral(R"({"at": "mcu.%1", "first": %2, "what": "%3"%4})")
                       .arg(byKind ? kinds[step] : "packet")
                       .arg(byKind ? 1 : step + 1)
                       .arg(what, what == "busy" ? ", \"polls\": 2" : ""));
    for (int i = 0; i < step; ++i) {
      take(upgrade()[i], kWork[i]);
    }
    const QByteArray bytes = upgrade()[step];
    const int before = checksum();
    QCOMPARE(send(bytes), what != "notAcknowledged" && what != "lost");
    const bool isDone = what == "lost" || what == "misread" || what == "busy";
    if (what == "unplug") {
      QCOMPARE(checksum(), -1);
      simulator::replug();
      finishUpgrade(step == 4 ? 5 : 0);
      return;
    }
    if (what == "notAcknowledged") {
      QCOMPARE(checksum(), before);
    } else {
      QCOMPARE(checksum() == sumIn(bytes), what == "lost" || what == "busy");
    }
    simulator::advanceTime(isDone ? kWork[step] : 0ms);
    if (what == "busy") {
      QVERIFY(!ready());
      QVERIFY(!ready());
    }
    QVERIFY(ready());
    finishUpgrade(isDone ? step + 1 : step);
  }

  void faultsOfTransfersAndCommands() {
    openMcu("", R"(, "faults": [{"at": "mcu.transfer", "first": 2, "what": "notAcknowledged"},
                                {"at": "mcu.transfer", "first": 3, "what": "lost"},
                                {"at": "mcu.reset", "what": "notAcknowledged"},
                                {"at": "mcu.reset", "first": 2, "what": "lost"},
                                {"at": "mcu.setBoot", "what": "notAcknowledged"},
                                {"at": "mcu.setBoot", "first": 2, "what": "lost"},
                                {"at": "mcu.setBoot", "first": 3, "what": "busy"}])");
    QCOMPARE(registerOf(kApplication, 0), 0x32);
    QCOMPARE(registerOf(kApplication, 0), -1);
    QCOMPARE(registerOf(kApplication, 0), -1);
    QCOMPARE(i2c::write(kApplication, {8, 1}), simulator::kNoAnswer);
    QCOMPARE(registerOf(kApplication, 0), 0x32);
    QCOMPARE(i2c::write(kApplication, {8, 1}), simulator::kNoAnswer);
    QCOMPARE(registerOf(kApplication, 0), -1);
    simulator::advanceTime(300ms);
    QCOMPARE(i2c::write(kBootLoader, {1, 1}), simulator::kNoAnswer);
    QVERIFY(ready());
    QCOMPARE(i2c::write(kBootLoader, {1, 1}), simulator::kNoAnswer);
    QVERIFY(worksFor(20ms));
    // Busy until power is cut.
    QCOMPARE(i2c::write(kBootLoader, {1, 1}), 0);
    simulator::advanceTime(1h);
    for (int i = 0; i < 1000; ++i) {
      QVERIFY(!ready());
    }
    simulator::unplug();
    simulator::replug();
    QCOMPARE(registerOf(kApplication, 0), 0x32);
  }

  void twoFaultsCanMeetInAPacket() {
    openBootLoader(R"({"at": "mcu.packet", "first": 1, "what": "misread"},
                      {"at": "mcu.start", "what": "busy", "polls": 1},
                      {"at": "mcu.packet", "first": 2, "what": "busy", "polls": 2},
                      {"at": "mcu.address", "what": "busy", "polls": 5})");
    QVERIFY(send(packet(0xA1)));
    QVERIFY(checksum() != sumIn(packet(0xA1)));
    QVERIFY(!ready());
    QVERIFY(ready());
    QVERIFY(send(addressPacket(0)));
    simulator::advanceTime(10ms);
    QVERIFY(!ready());
    QVERIFY(!ready());
    QVERIFY(ready());
  }

  // Wherever the wrong bit is.
  void noDamagedPacketIsTaken() {
    openBootLoader(R"({"at": "mcu.packet", "first": 2, "count": 0, "what": "damage"})");
    take(packet(0xA1), 0ms);
    const QByteArray bytes = packet(0xA1);
    for (int i = 0; i < 8 * 67; ++i) {
      QVERIFY(send(bytes));
      QVERIFY(checksum() != sumIn(bytes));
    }
  }

  void anUnknownFamilyIsNotUpgraded() {
    openMcu(R"("family": "0x41", "version": "0x7", "mode": "bootLoader")");
    QCOMPARE(registerOf(kBootLoader, 0), 0x41);
    for (const QByteArray& bytes : upgrade()) {
      QVERIFY(send(bytes));
      QVERIFY(checksum() != sumIn(bytes));
    }
    QCOMPARE(flash().size(), 110592);
    QCOMPARE(int{flash()[0x20]}, 7);
  }
};

QTEST_GUILESS_MAIN(McuProtocolTest)
#include "mcu_protocol_test.moc"
