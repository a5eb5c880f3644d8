#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/i2c_calls.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/test_files.h"
#include "tests/support/upgrade_reference.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <memory>

#if !defined(_WIN32)
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

using upgrade_reference::addressPacket;
using upgrade_reference::packet;
using namespace std::chrono_literals;

namespace {

std::int32_t openSession() {
  const std::int32_t status = initialize();
  return status != 0 ? status : setDevice(0, 0, 0x5C19, 0x6B03) != 0 ? -1000 : openPort();
}

int slot() {
  std::uint8_t value = 99;
  const std::int32_t status = AT_EDID_Flash_Get_Default_table(&value);
  return status == 0 ? int{value} : status;
}

QStringList& problems() {
  static QStringList lines;
  return lines;
}

#if !defined(_WIN32)
int openFiles() { return QDir("/proc/self/fd").entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).size(); }
#endif

}  // namespace

/// Devices that are plugged in, left and found again: by the next program, or as the next
/// unit.
class ReopenedDeviceTest : public QObject {
  Q_OBJECT

  std::unique_ptr<TestFiles> files_;

  QString state() const { return files_->path("state"); }
  std::int32_t start(const char* more = "") const {
    const std::string scenario = "{\"stateFile\": \"" + state().toStdString() + "\"" + more + "}";
    const std::string error = simulator::loadScenario(scenario);
    if (!error.empty()) {
      qFatal("%s", error.c_str());
    }
    simulator::useVirtualTime();
    return initialize();
  }
  void open(const char* more = "") const {
    QCOMPARE(start(more), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(openPort(), 0);
  }
  static void load(const char* scenario) {
    QCOMPARE(QString::fromStdString(simulator::loadScenario(scenario)), QString());
    simulator::useVirtualTime();
  }

 private slots:
  void init() {
    simulator::reset();
    files_ = std::make_unique<TestFiles>();
    problems().clear();
    pellavoxTellProblemsTo([](const char* line) { problems() << QString::fromUtf8(line); });
  }
  void cleanup() {
    pellavoxTellProblemsTo(nullptr);
    simulator::reset();
  }

  void anUpgradeGoesOnAtEachPacket() {
    const char* const mcu = R"(, "externalMcu": {"family": "v", "mode": "bootLoader"},
                               "faults": [{"at": "mcu.finish", "what": "busy", "polls": 3}])";
    const auto ready = [] { return i2c::read(0x43, {1}, 1) == i2c::Bytes{1}; };
    const auto send = [](const QByteArray& bytes) {
      QCOMPARE(i2c::write(0x43, i2c::Bytes(bytes.begin(), bytes.end())), 0);
      QCOMPARE(i2c::read(0x43, {2}, 1), i2c::Bytes{static_cast<std::uint8_t>(bytes.back())});
    };
    open(mcu);
    send(packet(0xA1));
    for (const quint32 page : {0U, 1U}) {
      open(mcu);
      simulator::advanceTime(page * 5ms);
      send(addressPacket(page * 128));
      simulator::advanceTime(4ms);
      AT_EDID_Flash_Set_Default_table(static_cast<std::uint8_t>(page + 1));  // stores the time
      open(mcu);
      simulator::advanceTime(6ms - 1ns);
      QVERIFY(!ready());
      simulator::advanceTime(1ns);
      QVERIFY(ready());
      send(packet(0xA3, QByteArray(64, 'p')));
      open(mcu);
      send(packet(0xA3, QByteArray(64, 'q')));
    }
    open(mcu);
    simulator::advanceTime(1250us);
    simulator::unplug();  // a quarter of the second page is written
    const std::vector<std::uint8_t> flash = simulator::mcuFlash();
    for (std::size_t i = 0; i < 256; ++i) {
      QCOMPARE(int{flash[i]}, i >= 160 ? 0xFF : i % 128 < 64 ? int{'p'} : int{'q'});
    }
  }

  void aBusyBootLoaderStaysBusyForItsPolls() {
    const char* const mcu = R"(, "externalMcu": {"mode": "bootLoader"},
                               "faults": [{"at": "mcu.start", "what": "busy", "polls": 3}])";
    open(mcu);
    const QByteArray bytes = packet(0xA1);
    QCOMPARE(i2c::write(0x43, i2c::Bytes(bytes.begin(), bytes.end())), 0);
    for (int poll = 0; poll < 3; ++poll) {
      open(mcu);
      QCOMPARE(i2c::read(0x43, {1}, 1), i2c::Bytes{0});
    }
    QCOMPARE(i2c::read(0x43, {1}, 1), i2c::Bytes{1});
  }

  void aRestartGoesOn() {
    open();
    QCOMPARE(AT_Set_System_Reboot(), 0);
    QCOMPARE(start(), 0);
    simulator::advanceTime(1500ms - 1ns);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), simulator::kDeviceGone);
    simulator::advanceTime(1ns);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
  }

  // Each change is appended; once there is a MiB more than the state itself, it is written anew.
  void theFileIsWrittenAnewOnceItIsLong() {
    open();
    const auto fileSize = [this] { return QFileInfo(files_->path("state")).size(); };
    const qint64 snapshot = fileSize();
    std::vector<std::uint8_t> table(512);
    qint64 largest = snapshot;
    qint64 before = snapshot;
    int renewed = 0;
    for (int i = 0; i < 2100; ++i) {
      table[0] = static_cast<std::uint8_t>(i);
      QCOMPARE(AT_EDID_Flash_Set_table(0, table.data(), 512), 0);
      renewed += fileSize() < before ? 1 : 0;
      before = fileSize();
      largest = std::max(largest, before);
    }
    QCOMPARE(renewed, 1);
    const qint64 change = 528 + 31;
    const qint64 most = 2 * snapshot + 1048576;
    QVERIFY2(largest > most - change && largest <= most, qPrintable(QString::number(largest)));
  }

  void eachUnitHasItsOwnStateFile() {
    const char* const units = ", \"units\": [{}, {}, {}]";
    for (const int round : {0, 1}) {
      QCOMPARE(start(units), 0);
      for (std::uint8_t unit = 1; unit <= 3; ++unit) {
        QCOMPARE(openSession(), 0);
        QCOMPARE(slot(), round == 0 ? 0 : int{unit});
        QCOMPARE(AT_EDID_Flash_Set_Default_table(unit), 0);
        closePort();
        QCOMPARE(simulator::plugNextUnit(), unit < 3);
      }
    }
    QCOMPARE(QDir(files_->folder()).entryList(QDir::Files),
             (QStringList{"state", "state.2", "state.2.lock", "state.3", "state.3.lock", "state.lock"}));
  }

  void theNextUnitIsPluggedInAfterItsDelay() {
    load("{\"nextUnitAfterMs\": 50, \"units\": [{}, {}, {}]}");
    for (int unit = 0; unit < 2; ++unit) {
      QCOMPARE(openSession(), 0);
      simulator::advanceTime(1s);
      simulator::unplug();
      QCOMPARE(slot(), simulator::kDeviceGone);
      simulator::advanceTime(50ms - 1ns);
      QCOMPARE(closePort(), simulator::kDeviceGone);
      QCOMPARE(openSession(), -1000);
      simulator::advanceTime(1ns);
    }
    QCOMPARE(openSession(), 0);
    QVERIFY(!simulator::plugNextUnit());
    // A new scenario's units have their own delay.
    load("{\"nextUnitAfterMs\": 50, \"units\": [{}, {}]}");
    simulator::unplug();
    QCOMPARE(openSession(), -1000);
    load("{\"nextUnitAfterMs\": 500, \"units\": [{}, {}]}");
    simulator::unplug();
    simulator::advanceTime(100ms);
    QCOMPARE(openSession(), -1000);
    simulator::advanceTime(500ms - 1ns);
    QCOMPARE(openSession(), -1000);
    simulator::advanceTime(1ns);
    QCOMPARE(openSession(), 0);
  }

  void aPlugThatIsPulledForAWhileBringsNoOtherUnit() {
    load(
        "{\"units\": [{\"edid\": {\"defaultSlot\": 1}, \"faults\": [{\"at\": \"call\", \"first\": 4, "
        "\"what\": \"unplug\", \"delayMs\": 20}]}, {\"edid\": {\"defaultSlot\": 2}}]}");
    QCOMPARE(openSession(), 0);
    QCOMPARE(slot(), simulator::kDeviceGone);
    simulator::advanceTime(20ms - 1ns);
    QCOMPARE(slot(), simulator::kDeviceGone);
    simulator::advanceTime(1ns);
    QCOMPARE(slot(), 1);
  }

  // Counted from when the unit was plugged in, or found again.
  void aUnitsTimesBeginWithIt() {
    load("{\"nextUnitAfterMs\": 1000000, \"units\": [{}, {\"unplugAfterMs\": 100}, {\"unplugAfterIdleMs\": 100}]}");
    for (int unit = 1; unit <= 2; ++unit) {
      simulator::advanceTime(10s);
      QVERIFY(simulator::plugNextUnit());
      QCOMPARE(openSession(), 0);
      simulator::advanceTime(100ms - 1ns);
      QCOMPARE(slot(), 0);
      simulator::advanceTime(1ns);
      QCOMPARE(slot(), simulator::kDeviceGone);
      closePort();
    }
    for (const char* after : {", \"unplugAfterMs\": 100000", ", \"unplugAfterIdleMs\": 100000"}) {
      open();
      simulator::advanceTime(10s);
      QCOMPARE(AT_EDID_Flash_Set_Default_table(static_cast<std::uint8_t>(1 + slot())), 0);
      open(after);
      QVERIFY(simulator::now() >= 10s);
      simulator::advanceTime(50s);  // some real time passed before it was stopped
      QVERIFY(slot() > 0);
      simulator::advanceTime(50s);
      QCOMPARE(slot(), simulator::kDeviceGone);
    }
  }

  void aFileThatCannotBeUsedIsToldOnce() {
    const QString damaged = state() + ": is damaged; delete it to start with a new device";
    const QString none = state() + ": is no state file, or a damaged one; delete it or name another one";
    open();
    const QByteArray good = contentOf(state());
    simulator::reset();
    writeFile(state(), good.left(good.size() - 1));
    QCOMPARE(start(), simulator::kBadState);
    QCOMPARE(initialize(), simulator::kBadState);
    QCOMPARE(problems(), QStringList{damaged});
    writeFile(state(), "text");
    QCOMPARE(initialize(), simulator::kBadState);
    QCOMPARE(initialize(), simulator::kBadState);
    QCOMPARE(problems(), (QStringList{damaged, none}));
    // Once it has worked, the same problem is new.
    writeFile(state(), good);
    QCOMPARE(initialize(), 0);
    simulator::reset();
    writeFile(state(), "text");
    QCOMPARE(start(), simulator::kBadState);
    QCOMPARE(problems(), (QStringList{damaged, none, none}));
  }

  void onlyASessionOpensTheFile() {
    const std::string scenario = "{\"stateFile\": \"" + state().toStdString() + "\"}";
    QCOMPARE(simulator::loadScenario(scenario), std::string());
    QCOMPARE(openPort(), simulator::kNotInitialized);
    QVERIFY(!QFile::exists(state()) && !QFile::exists(state() + ".lock"));
    QCOMPARE(initialize(), 0);
    QVERIFY(QFile::exists(state()) && QFile::exists(state() + ".lock"));
  }

  void eachProblemIsNamed() {
    QCOMPARE(start(", \"model\": \"KVR-5B\", \"externalMcu\": {\"family\": \"0x07\"}"), 0);
    QCOMPARE(start(), simulator::kBadState);
    simulator::reset();
    QVERIFY(QFile::remove(state()));
    QVERIFY(QDir().mkdir(state()));
    QCOMPARE(start(), simulator::kBadState);
    QVERIFY(QDir().rmdir(state()));
    QFile large(state());
    QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(qint64{128} * 1024 * 1024 + 1));
    large.close();
    QCOMPARE(start(), simulator::kBadState);
    QVERIFY(QFile::resize(state(), qint64{128} * 1024 * 1024));
    QCOMPARE(start(), simulator::kBadState);
    const QString missing = files_->path("no/folder");
    QCOMPARE(simulator::loadScenario("{\"stateFile\": \"" + missing.toStdString() + "\"}"), std::string());
    QCOMPARE(initialize(), simulator::kBadState);
    QCOMPARE(problems(),
             (QStringList{state() + ": is the state of a KVR-5B with MCU family 7, but the scenario describes a KVR-7 "
                                    "with MCU family 2; name another state file",
                          state() + ": is no state file; name another one",
                          state() + ": is no state file, or a damaged one; delete it or name another one",
                          missing + ": cannot be made; name a state file in a folder that can be written"}));
  }

#if !defined(_WIN32)
  void anotherProgramsFileIsInUse() {
    const int lock = ::open((state() + ".lock").toLocal8Bit().constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    QVERIFY(lock >= 0 && flock(lock, LOCK_EX | LOCK_NB) == 0);
    const int before = openFiles();
    QCOMPARE(start(), simulator::kStateInUse);
    QCOMPARE(initialize(), simulator::kStateInUse);
    QCOMPARE(openFiles(), before);
    QCOMPARE(problems(), QStringList{state() + ": another program has the simulated device; end it, or name another "
                                               "state file"});
    close(lock);
    QCOMPARE(initialize(), 0);
    // The next one finds all files closed.
    open();
    const int open = openFiles();
    for (int i = 0; i < 3; ++i) {
      this->open();
      QCOMPARE(openFiles(), open);
    }
  }

  void theLockIsAPlainFileOfItsOwn() {
    QVERIFY(QFile::link(files_->path("other"), state() + ".lock"));
    QCOMPARE(start(), simulator::kBadState);
    QVERIFY(!QFile::exists(files_->path("other")));
    QVERIFY(QFile::remove(state() + ".lock"));
    QCOMPARE(initialize(), 0);
    QVERIFY(!QFile::permissions(state() + ".lock").testFlag(QFile::ExeOther));
  }

  void aFileThatCannotBeWrittenIsToldAndTriedAgain() {
    open();
    const QString error = state() + ": cannot be written; make room, or name another state file";
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    rlimit full = limit;
    full.rlim_cur = static_cast<rlim_t>(QFileInfo(state()).size() + 10);
    setrlimit(RLIMIT_FSIZE, &full);
    const std::int32_t first = AT_EDID_Flash_Set_Default_table(3);
    const QStringList told = problems();
    const std::int32_t second = AT_EDID_Flash_Set_Default_table(4);
    const QStringList toldAgain = problems();
    full.rlim_cur = 10;
    setrlimit(RLIMIT_FSIZE, &full);
    closePort();
    const std::int32_t again = initialize();
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, before);
    QCOMPARE(first, 0);
    QCOMPARE(second, 0);
    QCOMPARE(told, QStringList{error});
    QCOMPARE(toldAgain, QStringList{error});
    QCOMPARE(again, simulator::kBadState);
    QCOMPARE(problems(), (QStringList{error, error}));
    QCOMPARE(initialize(), 0);
  }

  void aStateThatCannotBeWrittenAnewIsKept() {
    open();
    QCOMPARE(AT_EDID_Flash_Set_Default_table(3), 0);
    simulator::reset();
    QVERIFY(QDir().mkpath(state() + ".new"));
    QCOMPARE(start(), simulator::kBadState);
    QVERIFY(QDir().rmdir(state() + ".new"));
    QCOMPARE(initialize(), 0);
    simulator::reset();
    open();
    std::uint8_t table = 0;
    QCOMPARE(AT_EDID_Flash_Get_Default_table(&table), 0);
    QCOMPARE(table, std::uint8_t{3});
  }

  // Something else has its name by the time it would be written anew.
  void aFileThatCannotBeReplacedIsTold() {
    open();
    QVERIFY(QFile::remove(state()) && QDir().mkpath(state() + "/folder"));
    std::vector<std::uint8_t> table(512);
    for (int i = 0; i < 2100 && problems().isEmpty(); ++i) {
      table[0] = static_cast<std::uint8_t>(i);
      QCOMPARE(AT_EDID_Flash_Set_table(0, table.data(), 512), 0);
    }
    QCOMPARE(problems(), QStringList{state() + ": cannot be written; make room, or name another state file"});
  }
#endif
};

QTEST_GUILESS_MAIN(ReopenedDeviceTest)
#include "reopened_device_test.moc"
