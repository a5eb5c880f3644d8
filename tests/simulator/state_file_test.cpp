#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/seeded_random.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

#include <memory>

namespace {

// From the command line: how often to kill a process at a random moment, and the seed
// for these moments.
int kills = 2;
std::uint32_t seed = 1;

constexpr int kSector = 64 * 1024;
constexpr int kPiece = 4 * 1024;

struct Run {
  int exitCode = -1;  // -1: killed, or still running
  QString output;
  QString errors;

  /// The rest of the line that begins with this word.
  QString said(const QString& word) const {
    for (const QString& line : output.split('\n')) {
      if (line.startsWith(word + " ")) {
        return line.mid(word.size() + 1);
      }
    }
    return {};
  }
};

QString digestOf(const QByteArray& bytes) {
  quint64 hash = 0xCBF29CE484222325ULL;
  for (const char byte : bytes) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3ULL;
  }
  return QStringLiteral("0 %1 %2").arg(bytes.size()).arg(hash, 16, 16, QChar('0')).toUpper();
}

}  // namespace

// Qt's meta-object compiler miscounts braces in raw strings.
// NOLINTBEGIN(modernize-raw-string-literal)
class StateFileTest : public QObject {
  Q_OBJECT

  std::unique_ptr<QTemporaryDir> folder_;

  QString path(const QString& name) const { return folder_->filePath(name); }

  void write(const QString& name, const QByteArray& content) const {
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
      qFatal("%s", qPrintable(file.errorString()));
    }
  }

  QByteArray content(const QString& name) const {
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }

  void useScenario(const QByteArray& more) const { write("scenario.json", "{\"clock\": \"virtual\"" + more + "}"); }

  void start(QProcess& process, const QStringList& arguments) const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("RTICE_SIMULATOR_SCENARIO", path("scenario.json"));
    environment.insert("RTICE_SIMULATOR_STATE", path("device.state"));
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationDirPath() + "/state_probe", arguments);
    if (!process.waitForStarted()) {
      qFatal("the probe does not start: %s", qPrintable(process.errorString()));
    }
  }

  static Run finish(QProcess& process) {
    Run run;
    if (process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() != 9) {
      run.exitCode = process.exitCode();
    }
    run.output = QString::fromUtf8(process.readAllStandardOutput()).remove('\r');
    run.errors = QString::fromUtf8(process.readAllStandardError()).remove('\r');
    return run;
  }

  Run probe(const QStringList& arguments = {}) const {
    QProcess process;
    start(process, arguments);
    return finish(process);
  }

 private slots:
  void init() {
    folder_ = std::make_unique<QTemporaryDir>();
    useScenario("");
    simulator::reset();
  }
  void cleanup() { simulator::reset(); }

  void everythingSurvivesTheProcess() {
    write("key.bin", "the key");
    const Run fresh = probe();
    QCOMPARE(fresh.exitCode, 0);
    QCOMPARE(fresh.errors, QString());
    const Run changed = probe({"change", folder_->path()});
    QCOMPARE(changed.exitCode, 0);
    const QStringList before = fresh.output.split('\n');
    const QStringList after = changed.output.split('\n');
    QCOMPARE(before.size(), after.size());
    // "change" leaves alone: versions, five slots, both flashes, the MCU, the last line.
    int same = 0;
    for (int i = 0; i < before.size(); ++i) {
      same += before[i] == after[i] ? 1 : 0;
    }
    QVERIFY2(same <= 11, qPrintable(fresh.output + changed.output));
    for (int i = 0; i < 2; ++i) {
      const Run again = probe();
      QCOMPARE(again.output, changed.output);
      QCOMPARE(again.errors, QString());
    }
    QVERIFY(content("device.state").size() < 4096);
  }

  void withoutAFileNothingSurvives() {
    write("key.bin", "the key");
    const Run fresh = probe();
    QVERIFY(probe({"change", folder_->path()}).output != fresh.output);
    QVERIFY(QFile::remove(path("device.state")));
    QCOMPARE(probe().output, fresh.output);
  }

  void theScenarioMayNameTheFile() {
    const std::string scenario = "{\"clock\": \"virtual\", \"stateFile\": \"" + path("own.state").toStdString() + "\"}";
    for (const int time : {1, 2}) {
      QCOMPARE(simulator::loadScenario(scenario), std::string());
      openDefaultDevice();
      std::uint8_t slot = 9;
      QCOMPARE(AT_EDID_Flash_Get_Default_table(&slot), 0);
      QCOMPARE(int{slot}, time == 1 ? 0 : 5);
      QCOMPARE(AT_EDID_Flash_Set_Default_table(5), 0);
    }
  }

  void aDamagedFileIsRefusedWhicheverByteItIs() {
    const std::string scenario = "{\"stateFile\": \"" + path("small.state").toStdString() + "\"}";
    QCOMPARE(simulator::loadScenario(scenario), std::string());
    openDefaultDevice();
    QCOMPARE(AT_USB_Set_SerialNum(reinterpret_cast<const std::uint8_t*>("SN-43"), 5), 0);
    const QByteArray good = content("small.state");
    QVERIFY(good.size() > 100);
    for (int i = 0; i < good.size(); ++i) {
      for (const int bit : {0, 7}) {
        simulator::reset();
        QByteArray damaged = good;
        damaged[i] = static_cast<char>(damaged[i] ^ 1 << bit);
        write("small.state", damaged);
        QCOMPARE(simulator::loadScenario(scenario), std::string());
        QCOMPARE(initialize(), simulator::kBadState);
        QCOMPARE(openPort(), simulator::kNotInitialized);
        QCOMPARE(content("small.state"), damaged);
      }
    }
    // Once the file is repaired or removed, the next session works.
    write("small.state", good);
    openDefaultDevice();
    std::array<std::uint8_t, 100> serialNumber{};
    std::uint32_t length = 0;
    QCOMPARE(AT_USB_Get_SerialNum(serialNumber.data(), 100, &length), 0);
    QCOMPARE(reinterpret_cast<const char*>(serialNumber.data()), "SN-43");
  }

  // The file as left by a process that was killed while writing.
  void anIncompleteChangeDoesNotCount() {
    const std::string scenario = "{\"stateFile\": \"" + path("small.state").toStdString() + "\"}";
    QCOMPARE(simulator::loadScenario(scenario), std::string());
    openDefaultDevice();
    const int snapshot = content("small.state").size();
    QCOMPARE(AT_USB_Set_SerialNum(reinterpret_cast<const std::uint8_t*>("SN-43"), 5), 0);
    const QByteArray good = content("small.state");
    int old = 0;
    for (int size = 1; size < good.size(); ++size) {
      simulator::reset();
      write("small.state", good.left(size));
      QCOMPARE(simulator::loadScenario(scenario), std::string());
      QCOMPARE(initialize(), size < snapshot ? simulator::kBadState : 0);
      if (size < snapshot) {
        continue;
      }
      QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
      QCOMPARE(openPort(), 0);
      std::array<std::uint8_t, 100> bytes{};
      std::uint32_t length = 0;
      QCOMPARE(AT_USB_Get_SerialNum(bytes.data(), 100, &length), 0);
      const QByteArray serialNumber(reinterpret_cast<const char*>(bytes.data()));
      QVERIFY(serialNumber == "OV7A00001234" || serialNumber == "SN-43");
      old += serialNumber == "SN-43" ? 0 : 1;
    }
    QVERIFY(old > 10);
  }

  void filesThatAreNotStateFilesAreRefused_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("text") << QByteArray("{}\n");
    QTest::newRow("other version") << QByteArray("Pellavox simulated device 2\n");
    QTest::newRow("no snapshot") << QByteArray("Pellavox simulated device 1\n");
    QTest::newRow("zeros") << QByteArray(1000, '\0');
  }

  void filesThatAreNotStateFilesAreRefused() {
    QFETCH(QByteArray, file);
    write("device.state", file);
    const Run run = probe();
    QCOMPARE(run.output, QStringLiteral("initialize %1\n").arg(simulator::kBadState));
    QVERIFY2(run.errors.startsWith(path("device.state") + ": ") && run.errors.contains("; delete it"),
             qPrintable(run.errors));
    QCOMPARE(run.errors.count('\n'), 1);
    QCOMPARE(content("device.state"), file);
  }

  void anEmptyStateFileIsANewOne() {
    write("device.state", "");
    QCOMPARE(probe().exitCode, 0);
  }

  void aFolderOrAMissingPathIsRefused() {
    QVERIFY(QDir(folder_->path()).mkdir("device.state"));
    Run run = probe();
    QCOMPARE(run.output, QStringLiteral("initialize %1\n").arg(simulator::kBadState));
    QVERIFY(run.errors.contains("is no state file"));
    simulator::loadScenario("{\"stateFile\": \"" + path("nowhere/at.all").toStdString() + "\"}");
    QCOMPARE(initialize(), simulator::kBadState);
  }

#ifndef Q_OS_WIN  // a link needs a privilege there
  void aLinkedFileIsUsedAndTheLinkStays() {
    QVERIFY(QFile::link(path("elsewhere"), path("device.state")));
    QCOMPARE(probe().exitCode, 0);
    QVERIFY(QFileInfo(path("device.state")).isSymLink());
    const QByteArray state = content("elsewhere");
    QVERIFY(!state.isEmpty());
    write("key.bin", "the key");
    QCOMPARE(probe({"change", folder_->path()}).exitCode, 0);
    QVERIFY(QFileInfo(path("device.state")).isSymLink());
    QVERIFY(content("elsewhere") != state);
  }

  void aLinkToItselfIsRefusedAndStays() {
    QVERIFY(QFile::link("device.state", path("device.state")));
    const Run run = probe();
    QCOMPARE(run.output, QStringLiteral("initialize %1\n").arg(simulator::kBadState));
    QCOMPARE(run.errors, path("device.state") + ": is a link that leads nowhere; name a file\n");
    QVERIFY(QFileInfo(path("device.state")).isSymLink());
  }

  void nothingIsLeftBesideWhatIsNoFile() {
    QVERIFY(QDir(folder_->path()).mkdir("folder"));
    QVERIFY(QFile::link(path("folder"), path("device.state")));
    QCOMPARE(probe().errors, path("device.state") + ": is no state file; name another one\n");
    QCOMPARE(QDir(folder_->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{"device.state", "folder", "scenario.json"}));
  }
#endif

  void theStateOfAnotherModelIsRefused() {
    QCOMPARE(probe().exitCode, 0);
    for (const char* other : {", \"model\": \"KVR-5B\"", ", \"externalMcu\": {\"family\": \"v\"}"}) {
      useScenario(other);
      const Run run = probe();
      QCOMPARE(run.output, QStringLiteral("initialize %1\n").arg(simulator::kBadState));
      QVERIFY2(run.errors.contains("is the state of a KVR-7 with MCU family 2"), qPrintable(run.errors));
      QCOMPARE(run.errors.count('\n'), 1);
    }
    useScenario("");
    QCOMPARE(probe().exitCode, 0);
  }

  void aSecondProcessIsRefusedWhileTheFirstLives() {
    QProcess first;
    start(first, {"hold"});
    QVERIFY(first.waitForReadyRead(60'000));
    const Run second = probe();
    QCOMPARE(second.output, QStringLiteral("initialize %1\n").arg(simulator::kStateInUse));
    QVERIFY2(second.errors.startsWith(path("device.state") + ": another program has the simulated device; end it"),
             qPrintable(second.errors));
    QCOMPARE(second.errors.count('\n'), 1);
    first.write("\n");
    first.closeWriteChannel();
    QCOMPARE(finish(first).exitCode, 0);
    QCOMPARE(probe().exitCode, 0);
  }

  // The device stays powered: the next process finds the MCU where the last one left it.
  void anUpgradeGoesOnInTheNextProcess() {
    useScenario(", \"externalMcu\": {\"family\": \"v\"}");
    const Run whole = probe({"upgrade", "0", "1000"});
    const int transfers = whole.said("transfers").toInt();
    QCOMPARE(transfers, 13);
    const Run good = probe();
    QCOMPARE(good.said("running"), QStringLiteral("application"));
    for (const int end : {1, 2, 4, 6, 9, 12}) {
      QVERIFY(QFile::remove(path("device.state")));
      QCOMPARE(probe({"upgrade", "0", QString::number(end)}).exitCode, -1);
      QCOMPARE(probe().said("running"), QStringLiteral("boot loader"));
      QCOMPARE(probe({"upgrade", QString::number(end), "1000"}).exitCode, -1);
      QCOMPARE(probe().output, good.output);
    }
  }

  void aBurnThatWasKilledLeavesNoFirmware() {
    QByteArray image("firmware V2.00.01 for KVR-7");
    for (int i = 0; image.size() < 3 * kSector - 100; ++i) {
      image += QByteArray::number(i * 7919);
    }
    write("image.img", image);
    const int sectors = 3;
    const QByteArray erased(sectors * kSector, '\xFF');
    // Progress reports: one at the start, one per sector, one per piece.
    for (const int report : {1, 2, sectors + 1, sectors + 2, sectors + 20}) {
      QCOMPARE(probe({"burn", path("image.img"), QString::number(report)}).exitCode, -1);
      const Run left = probe();
      QCOMPARE(left.said("version"), QStringLiteral("%1 ").arg(simulator::kNoFirmware));
      if (report > sectors) {
        QByteArray expected = erased;
        const int written = (report - sectors - 1) * kPiece;
        expected.replace(0, written, image.left(written));
        QCOMPARE(left.said("capture flash"), digestOf(expected));
      }
    }
    const Run burnt = probe({"burn", path("image.img"), "0"});
    QCOMPARE(burnt.said("burn"), QStringLiteral("0"));
    QByteArray expected = erased;
    expected.replace(0, image.size(), image);
    const Run kept = probe();
    QCOMPARE(kept.said("version"), QStringLiteral("0 V2.00.01"));
    QCOMPARE(kept.said("capture flash"), digestOf(expected));
  }

  // Whenever the kill happens, the next process finds a device in a valid state.
  void aKillAtAnyMomentLeavesAValidDevice() {
    SeededRandom random{seed};
    QByteArray image("firmware V2.00.01 for KVR-7");
    image.resize(40 * kSector);
    write("image.img", image);
    for (int i = 0; i < kills; ++i) {
      QProcess process;
      start(process, {"burn", path("image.img"), "0"});
      QVERIFY(process.waitForReadyRead(60'000));
      QTest::qSleep(1 + static_cast<int>(random.below(40)));
      process.kill();
      finish(process);
      const Run left = probe();
      QCOMPARE(left.errors, QString());
      QCOMPARE(left.exitCode, 0);
      const QString version = left.said("version");
      QVERIFY2(version == "0 V1.03.07" || version == "0 V2.00.01" ||
                   version == QStringLiteral("%1 ").arg(simulator::kNoFirmware),
               qPrintable(version));
    }
    QCOMPARE(probe({"burn", path("image.img"), "0"}).said("burn"), QStringLiteral("0"));
    QCOMPARE(probe().said("version"), QStringLiteral("0 V2.00.01"));
    // Appended changes have been compacted.
    QVERIFY(content("device.state").size() < 4 * image.size());
  }

  void timeGoesOnWhileNoProcessIsThere() {
    const std::string scenario = "{\"clock\": \"real\", \"stateFile\": \"" + path("own.state").toStdString() + "\"}";
    QCOMPARE(simulator::loadScenario(scenario), std::string());
    openDefaultDevice();
    QCOMPARE(AT_Set_System_Reboot(), 0);
    const auto before = simulator::now();
    QCOMPARE(simulator::loadScenario(scenario), std::string());
    QCOMPARE(initialize(), 0);
    QVERIFY(simulator::now() >= before - std::chrono::milliseconds(50));
    simulator::useVirtualTime();
    simulator::advanceTime(std::chrono::milliseconds(1600));
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
  }
};
// NOLINTEND(modernize-raw-string-literal)

/// Usage: simulator_state_file_test [KILLS SEED] [QtTest's arguments].
int main(int argc, char* argv[]) {
  QCoreApplication application(argc, argv);
  QStringList arguments = QCoreApplication::arguments();
  if (arguments.size() >= 3 && arguments[1].toInt() > 0) {
    kills = arguments[1].toInt();
    seed = arguments[2].toUInt();
    arguments.erase(arguments.begin() + 1, arguments.begin() + 3);
  }
  StateFileTest test;
  return QTest::qExec(&test, arguments);
}

#include "state_file_test.moc"
