#include "app/main_window.h"
#include "simulator/control/control.h"
#include "tests/support/bus_log.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/posted_texts.h"
#include "tests/support/sleeps.h"
#include "tests/support/upgrade_reference.h"
#include "tests/support/window_driver.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <map>
#include <memory>
#include <random>
#include <semaphore>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

using simulator::McuFault;
using upgrade_reference::Family;
using upgrade_reference::kFamilies;
using namespace std::chrono_literals;

namespace {

constexpr int kVersionOffset = 0x20;  // of the version byte in an image for the simulated MCU
constexpr int kPatienceMs = 60'000;

QByteArray randomImage(int size, unsigned seed) {
  std::mt19937 random(seed);
  QByteArray image(size, '\0');
  for (char& byte : image) {
    byte = static_cast<char>(random() & 0xFF);
  }
  return image;
}

QByteArray flashStart(int size) {
  const std::vector<std::uint8_t> flash = simulator::mcuFlash();
  return {reinterpret_cast<const char*>(flash.data()), std::min(size, static_cast<int>(flash.size()))};
}

// Lines that are not on the same place in both, for a readable failure.
QString firstDifference(const QStringList& seen, const QStringList& expected) {
  for (int i = 0; i < std::max(seen.size(), expected.size()); ++i) {
    if (seen.value(i) != expected.value(i)) {
      return QStringLiteral("line %1 of %2 (%3 expected): \"%4\" instead of \"%5\"")
          .arg(i)
          .arg(seen.size())
          .arg(expected.size())
          .arg(seen.value(i), expected.value(i));
    }
  }
  return {};
}

// The window, connected to the simulated device, and what it does to it.
class Workbench {
 public:
  explicit Workbench(const QByteArray& mcu = "{}", const QByteArray& more = "") : user(window) {
    const QByteArray scenario = "{\"externalMcu\": " + mcu + (more.isEmpty() ? "" : ", ") + more + "}";
    const std::string error = simulator::loadScenario(scenario.toStdString());
    if (!error.empty()) {
      qFatal("%s", error.c_str());
    }
    texts = std::make_unique<PostedTexts>(user.widget<QLabel>("LB_Message"));
  }

  void useVirtualTime() {
    simulator::useVirtualTime();
    sleeps::replaceBy([this](std::chrono::milliseconds time) { log.pause(time); });
  }

  void connect() {
    user.click("BN_Connect");
    log.take();
  }

  QString writeFile(const QByteArray& content) {
    QFile file(directory.filePath(QStringLiteral("image%1.bin").arg(++files)));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
      qFatal("%s", qPrintable(file.errorString()));
    }
    return file.fileName();
  }

  void load(const QByteArray& content, const QString& button = "BN_Browse_ExtMCU_QX") {
    DialogAnswers answers;
    answers.chooseFile(writeFile(content));
    user.click(button);
  }

  /// @return the worker; null once it has deleted itself
  QPointer<QThread> start(const QString& button = "BN_Apply_ExtMCU_QX") {
    user.click(button);
    return window.findChildren<QThread*>(QString(), Qt::FindDirectChildrenOnly).last();
  }

  static bool waitForEnd(const QPointer<QThread>& worker) {
    return QTest::qWaitFor([&worker] { return worker.isNull(); }, kPatienceMs);
  }

  /// Runs an upgrade to its end.
  QStringList upgrade() {
    texts->clear();
    if (!waitForEnd(start())) {
      return {"the worker does not end"};
    }
    return texts->texts();
  }

  MainWindow window;
  WindowDriver user;
  std::unique_ptr<PostedTexts> texts;
  BusLog log;
  QTemporaryDir directory;
  int files = 0;
};

// Holds the worker in a pause of its upgrade until the test lets it go.
class Halt {
 public:
  explicit Halt(int pause) {
    simulator::useVirtualTime();
    sleeps::replaceBy([this, pause, seen = std::make_shared<std::atomic<int>>(0)](auto time) {
      if (++*seen == pause) {
        reached_.release();
        go_.acquire();
      }
      simulator::advanceTime(time);
    });
  }
  bool waitUntilReached() {
    return QTest::qWaitFor([this] { return reached_.try_acquire(); }, kPatienceMs);
  }
  void letGo() { go_.release(); }

 private:
  std::binary_semaphore reached_{0};
  std::binary_semaphore go_{0};
};

QString success() { return QStringLiteral("MCU Update Done...[Success]"); }

}  // namespace

Q_DECLARE_METATYPE(McuFault)

class ExtMcuPageTest : public QObject {
  Q_OBJECT

 private slots:
  void cleanup() {
    sleeps::replaceBy({});
    simulator::reset();
  }

  void anUpgradeSendsTheImageAndTellsItsCourse_data() {
    QTest::addColumn<int>("family");
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("inApplication");
    for (int family = 0; family < 2; ++family) {
      for (const int size : {1, 64, 100, 127, 128, 129, 1023, 1024, 1025, 12288, 60000}) {
        for (const bool inApplication : {true, false}) {
          QTest::addRow("family %s, %d bytes, %s", kFamilies[family].code, size,
                        inApplication ? "application" : "boot loader")
              << family << size << inApplication;
        }
      }
    }
  }

  void anUpgradeSendsTheImageAndTellsItsCourse() {
    QFETCH(int, family);
    QFETCH(int, size);
    QFETCH(bool, inApplication);
    const Family& chip = kFamilies[family];
    Workbench bench(QByteArray(R"({"family": ")") + chip.code + R"(", "mode": ")" +
                    (inApplication ? "application" : "bootLoader") + "\"}");
    bench.useVirtualTime();
    bench.connect();
    const QByteArray image = randomImage(size, static_cast<unsigned>(size));
    bench.load(image);

    QTest::ignoreMessage(QtDebugMsg, "Run test");
    QTest::ignoreMessage(QtDebugMsg, "Update exit");
    const QStringList texts = bench.upgrade();
    QCOMPARE(firstDifference(texts, upgrade_reference::texts(chip, image, inApplication)), QString());
    QCOMPARE(bench.user.message(), success());
    QCOMPARE(firstDifference(bench.log.take(), upgrade_reference::busLog(chip, image, inApplication)), QString());

    const QByteArray padded = upgrade_reference::padded(chip, image);
    QCOMPARE(flashStart(padded.size()), padded);

    // The new image runs and shows its version at the next connection.
    QVERIFY(!simulator::mcuRunsApplication());
    simulator::advanceTime(2s);
    QVERIFY(simulator::mcuRunsApplication());
    bench.user.choose("CB_DeviceType", "KVR-5B");
    bench.user.click("BN_Connect");
    bench.user.choose("CB_DeviceType", "KVR-7");
    bench.user.click("BN_Connect");
    const auto version = static_cast<unsigned char>(padded.at(kVersionOffset));
    QCOMPARE(bench.user.text("lb_Main_VER_QX"), QStringLiteral("v%1.%2").arg(version / 16).arg(version % 16));
  }

  void nothingReachesTheBusWithoutImageOrConnection() {
    Workbench bench;
    bench.useVirtualTime();
    // Without an image, connected or not.
    QCOMPARE(bench.upgrade(), (QStringList{"Start...", "Error No file...[fail]"}));
    bench.connect();
    QCOMPARE(bench.upgrade(), (QStringList{"Start...", "Error No file...[fail]"}));
    bench.load(QByteArray());
    QCOMPARE(bench.upgrade(), (QStringList{"Start...", "Error No file...[fail]"}));
    QCOMPARE(bench.log.take(), QStringList());

    Workbench other;
    other.useVirtualTime();
    other.load("image");
    QCOMPARE(other.upgrade(), QStringList{"Start..."});
    QCOMPARE(other.log.take(), QStringList());
  }

  void anMcuThatIsNotKnownIsLeftAlone_data() {
    QTest::addColumn<QByteArray>("mcu");
    QTest::newRow("silence") << QByteArray(R"({"mode": "silent"})");
    QTest::newRow("other family in its application") << QByteArray(R"({"family": "0x41"})");
    QTest::newRow("other family in its boot loader") << QByteArray(R"({"family": "0x41", "mode": "bootLoader"})");
    QTest::newRow("family 0xFF") << QByteArray(R"({"family": "0xFF", "mode": "bootLoader"})");
  }

  void anMcuThatIsNotKnownIsLeftAlone() {
    QFETCH(QByteArray, mcu);
    Workbench bench(mcu);
    bench.useVirtualTime();
    bench.connect();
    bench.load("image");
    QCOMPARE(bench.upgrade(), QStringList{"Start..."});
    QCOMPARE(bench.log.take(),
             (QStringList{upgrade_reference::get("0x0D", "00"), upgrade_reference::get("0x43", "00")}));
  }

  // Of an image of two blocks; afterwards a plain upgrade of the same device
  // succeeds.
  void aFaultHasItsTextAndLeavesADeviceThatCanBeUpgraded_data() {
    using At = McuFault::At;
    using Kind = McuFault::Kind;
    QTest::addColumn<McuFault>("fault");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<bool>("applicationLeft");
    QTest::addColumn<bool>("needsReplug");

    const QStringList started{"Start..."};
    const QStringList booted = started + QStringList{"MCU into boot", "Update Count2..."};
    const QStringList sent = booted + QStringList{"Update 0%...", "Update 50%..."};
    const QString notReady = "Error MCU status...[fail]";
    const auto row = [](const char* name, McuFault fault, const QStringList& texts, bool applicationLeft = false,
                        bool needsReplug = false) {
      QTest::newRow(name) << fault << texts << applicationLeft << needsReplug;
    };
    const auto numbered = [](const char* text, int count) {
      QStringList texts;
      for (int i = 0; i < count; ++i) {
        texts << QString::number(i) + QString::fromLatin1(text);
      }
      return texts;
    };

    const QString resetFailed = "Error Reset MCU ...";
    row("reset not taken", {At::kReset, Kind::kNotAcknowledged}, started + QStringList{resetFailed}, true);
    row("reset taken, reply lost", {At::kReset, Kind::kLostReply}, started + QStringList{resetFailed});
    const QString setBootFailed = "Error set boot mode ...";
    row("set-boot not taken", {At::kSetBoot, Kind::kNotAcknowledged}, started + QStringList{setBootFailed});
    row("set-boot taken, reply lost", {At::kSetBoot, Kind::kLostReply}, started + QStringList{setBootFailed});
    row("stuck after set-boot", {At::kSetBoot, Kind::kStaysBusy}, started + QStringList{notReady}, false, true);
    row("busy for 99 polls after set-boot", {At::kSetBoot, Kind::kStaysBusy, 1, 1, 99}, sent + QStringList{success()},
        true);
    row("busy for 100 polls after set-boot", {At::kSetBoot, Kind::kStaysBusy, 1, 1, 100},
        started + QStringList{notReady});

    const char* const startText = "Error MCU checksum...[1]";
    row("first start damaged", {At::kStart, Kind::kDamage},
        booted + numbered(startText, 1) + sent.mid(booted.size()) + QStringList{success()}, true);
    row("first start not taken", {At::kStart, Kind::kNotAcknowledged},
        booted + numbered(startText, 1) + sent.mid(booted.size()) + QStringList{success()}, true);
    row("fourth start misread", {At::kStart, Kind::kWrongChecksum, 4},
        booted + QStringList{"3Error MCU checksum...[1]"} + sent.mid(booted.size()) + QStringList{success()}, true);
    row("nine starts damaged", {At::kStart, Kind::kDamage, 1, 9},
        booted + numbered(startText, 9) + sent.mid(booted.size()) + QStringList{success()}, true);
    row("ten starts damaged", {At::kStart, Kind::kDamage, 1, 10}, booted + numbered(startText, 10), false);
    row("last start damaged", {At::kStart, Kind::kDamage, 10}, booted + QStringList{"9Error MCU checksum...[1]"});
    row("stuck after the third start", {At::kStart, Kind::kStaysBusy, 3}, booted + QStringList{notReady}, false, true);

    // Checksum of the second block's address, 0x08005400: 5A + A2 + 08 + 54.
    const char* const addressText = "Error MCU Addr checksum...[2] 88";
    const QStringList firstBlock = booted + QStringList{"Update 0%..."};
    const QStringList rest{"Update 50%...", success()};
    row("second address damaged", {At::kAddress, Kind::kDamage, 2}, firstBlock + numbered(addressText, 1) + rest, true);
    row("second address not taken", {At::kAddress, Kind::kNotAcknowledged, 2},
        firstBlock + numbered(addressText, 1) + rest, true);
    row("second address misread", {At::kAddress, Kind::kWrongChecksum, 2}, firstBlock + numbered(addressText, 1) + rest,
        true);
    row("second address damaged nine times", {At::kAddress, Kind::kDamage, 2, 9},
        firstBlock + numbered(addressText, 9) + rest, true);
    row("second address damaged ten times", {At::kAddress, Kind::kDamage, 2, 10},
        firstBlock + numbered(addressText, 10));
    row("stuck after the second address", {At::kAddress, Kind::kStaysBusy, 2}, firstBlock + QStringList{notReady},
        false, true);

    const QString dataText = "Error MCU data checksum...[fail]";
    row("first data damaged", {At::kData, Kind::kDamage, 1}, booted + QStringList{dataText});
    row("first data not taken", {At::kData, Kind::kNotAcknowledged, 1}, booted + QStringList{dataText});
    row("twentieth data damaged", {At::kData, Kind::kDamage, 20}, firstBlock + QStringList{dataText});
    row("twentieth data misread", {At::kData, Kind::kWrongChecksum, 20}, firstBlock + QStringList{dataText});
    row("stuck after the twentieth data", {At::kData, Kind::kStaysBusy, 20}, firstBlock + QStringList{notReady}, false,
        true);
    row("twentieth data's reply lost", {At::kData, Kind::kLostReply, 20}, sent + QStringList{success()}, true);

    const QString finishText = "Error MCU Addr checksum...[3]";
    const auto finishes = [&finishText](int count) {
      QStringList texts;
      for (int i = 0; i < count; ++i) {
        texts << finishText;
      }
      return texts;
    };
    row("finish damaged", {At::kFinish, Kind::kDamage}, sent + finishes(1) + QStringList{success()}, true);
    row("finish not taken", {At::kFinish, Kind::kNotAcknowledged}, sent + finishes(1) + QStringList{success()}, true);
    row("finish misread nine times", {At::kFinish, Kind::kWrongChecksum, 1, 9},
        sent + finishes(9) + QStringList{success()}, true);
    row("finish damaged ten times", {At::kFinish, Kind::kDamage, 1, 10}, sent + finishes(10));
    // It was taken, although nobody believes it.
    row("finish misread ten times", {At::kFinish, Kind::kWrongChecksum, 1, 10}, sent + finishes(10), true);
    row("stuck after finish", {At::kFinish, Kind::kStaysBusy}, sent + QStringList{notReady}, false, true);
  }

  void aFaultHasItsTextAndLeavesADeviceThatCanBeUpgraded() {
    QFETCH(McuFault, fault);
    QFETCH(QStringList, texts);
    QFETCH(bool, applicationLeft);
    QFETCH(bool, needsReplug);
    Workbench bench;
    bench.useVirtualTime();
    bench.connect();
    const QByteArray image = randomImage(2000, 7);
    bench.load(image);
    simulator::addMcuFault(fault);

    const QStringList seen = bench.upgrade();
    QCOMPARE(firstDifference(seen, texts), QString());
    const QByteArray padded = upgrade_reference::padded(kFamilies[0], image);
    if (texts.last() == success()) {
      QCOMPARE(flashStart(padded.size()), padded);
    }
    simulator::advanceTime(5s);
    QCOMPARE(simulator::mcuRunsApplication(), applicationLeft);

    if (needsReplug) {
      simulator::unplug();
      simulator::replug();
    }
    const bool inApplication = simulator::mcuRunsApplication();
    const QStringList plain = bench.upgrade();
    QCOMPARE(firstDifference(plain, upgrade_reference::texts(kFamilies[0], image, inApplication)), QString());
    QCOMPARE(flashStart(padded.size()), padded);
  }

  void theTransferAtWhichTheBusFailsDecidesTheText_data() {
    QTest::addColumn<unsigned>("transfer");
    QTest::addColumn<QString>("lastText");
    // Of the plain sequence: detection, reset, set-boot, five polls, then the packets.
    QTest::newRow("family read") << 1U << "Start...";
    QTest::newRow("reset") << 2U << "Error Reset MCU ...";
    QTest::newRow("set-boot") << 3U << "Error set boot mode ...";
    QTest::newRow("ready polls") << 4U << "Error MCU status...[fail]";
    QTest::newRow("start") << 9U << "9Error MCU checksum...[1]";
    QTest::newRow("poll after the first start") << 11U << "Error MCU status...[fail]";
    QTest::newRow("address") << 39U << "9Error MCU Addr checksum...[2] 84";
    QTest::newRow("data") << 42U << "Error MCU data checksum...[fail]";
  }

  // All transfers fail from one on, as when a cable comes loose.
  void theTransferAtWhichTheBusFailsDecidesTheText() {
    QFETCH(unsigned, transfer);
    QFETCH(QString, lastText);
    Workbench bench;
    bench.useVirtualTime();
    bench.connect();  // one transfer: the version
    bench.load(randomImage(2000, 7));
    simulator::addMcuFault({McuFault::At::kTransfer, McuFault::Kind::kNotAcknowledged, transfer + 1, 0});
    QCOMPARE(bench.upgrade().last(), lastText);
  }

  void aFailedChecksumReadCountsAs0xFF_data() {
    QTest::addColumn<int>("firstByte");
    QTest::addColumn<QString>("lastText");
    // The first data packet's checksum is 5A + A3 + the image's only byte.
    QTest::newRow("checksum 0xFF") << 0x02 << success();
    QTest::newRow("checksum 0xFE") << 0x01 << "Error MCU data checksum...[fail]";
    QTest::newRow("checksum 0x00") << 0x03 << "Error MCU data checksum...[fail]";
  }

  void aFailedChecksumReadCountsAs0xFF() {
    QFETCH(int, firstByte);
    QFETCH(QString, lastText);
    Workbench bench(R"({"mode": "bootLoader"})");
    bench.useVirtualTime();
    bench.connect();
    bench.load(QByteArray(1, static_cast<char>(firstByte)));
    // Detection 1, starts 3 each, address 3, data 1, then its checksum; the
    // connection did not reach the boot loader.
    simulator::addMcuFault({McuFault::At::kTransfer, McuFault::Kind::kNotAcknowledged, 1 + 30 + 3 + 2});
    QCOMPARE(bench.upgrade().last(), lastText);
  }

  void aPowerCutLeavesTheBootLoaderAndTheNextUpgradeRecovers_data() {
    QTest::addColumn<int>("family");
    QTest::addColumn<int>("calls");
    for (int family = 0; family < 2; ++family) {
      for (const int calls : {60, 75, 90, 120, 165, 200}) {
        QTest::addRow("family %s, after %d calls", kFamilies[family].code, calls) << family << calls;
      }
    }
  }

  void aPowerCutLeavesTheBootLoaderAndTheNextUpgradeRecovers() {
    QFETCH(int, family);
    QFETCH(int, calls);
    const Family& chip = kFamilies[family];
    Workbench bench(QByteArray(R"({"family": ")") + chip.code + "\"}",
                    "\"unplugAfterCalls\": " + QByteArray::number(calls));
    bench.useVirtualTime();
    bench.connect();
    const QByteArray image = randomImage(5 * 1024, 3);
    bench.load(image);
    QVERIFY(bench.upgrade().last().contains("Error MCU"));
    QVERIFY(flashStart(image.size()) != image);

    simulator::replug();
    simulator::advanceTime(5s);
    QVERIFY(!simulator::mcuRunsApplication());
    const QStringList plain = bench.upgrade();
    QCOMPARE(firstDifference(plain, upgrade_reference::texts(chip, image, false)), QString());
    QCOMPARE(flashStart(image.size()), image);
  }

  void bothSetsOfControlsDoTheSame_data() {
    QTest::addColumn<QString>("suffix");
    QTest::newRow("first page") << "";
    QTest::newRow("second page") << "_QX";
  }

  void bothSetsOfControlsDoTheSame() {
    QFETCH(QString, suffix);
    Workbench bench;
    bench.useVirtualTime();
    bench.connect();
    const QString path = bench.writeFile("image");
    DialogAnswers answers;
    answers.chooseFile(path);
    bench.user.click("BN_Browse_ExtMCU" + suffix);
    QCOMPARE(answers.fileDialogs().size(), 1);
    const DialogAnswers::ShownFileDialog& dialog = answers.fileDialogs().first();
    QCOMPARE(dialog.title, "Load Ext MCU Firmware file");
    QCOMPARE(dialog.filters, QStringList{"*.bin"});
    QCOMPARE(dialog.mode, QFileDialog::AcceptOpen);
    QCOMPARE(dialog.parent, &bench.window);
    QCOMPARE(bench.user.widget<QLineEdit>("lineEdit_ExtMcu_Path").text(), path);
    QCOMPARE(bench.user.widget<QLineEdit>("lineEdit_ExtMcu_Path_QX").text(), path);

    QVERIFY(Workbench::waitForEnd(bench.start("BN_Apply_ExtMCU" + suffix)));
    QCOMPARE(bench.user.message(), success());
    QCOMPARE(flashStart(5), "image");
  }

  void aCancelledOrFailedChoiceKeepsTheImage() {
    Workbench bench;
    bench.useVirtualTime();
    bench.connect();
    bench.load("first");
    const auto& path = bench.user.widget<QLineEdit>("lineEdit_ExtMcu_Path_QX");
    const QString first = path.text();
    const QString message = bench.user.message();
    {
      DialogAnswers answers;
      bench.user.click("BN_Browse_ExtMCU_QX");
      QCOMPARE(answers.fileDialogs().size(), 1);
      QCOMPARE(path.text(), first);
    }
#if !defined(_WIN32)
    // A file that the dialog accepts but that cannot be opened.
    const QString unreadable = bench.writeFile("other");
    QVERIFY(QFile::setPermissions(unreadable, QFileDevice::Permissions()));
    if (!QFile(unreadable).open(QIODevice::ReadOnly)) {  // it can for the superuser
      DialogAnswers answers;
      answers.chooseFile(unreadable);
      bench.user.click("BN_Browse_ExtMCU_QX");
      QCOMPARE(path.text(), first);
    }
    // Neither has an end that a reader could wait for.
    const QTemporaryDir special;
    const QString pipe = special.filePath("pipe.bin");
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const QString endless = special.filePath("endless.bin");
    QVERIFY(QFile::link("/dev/zero", endless));
    for (const QString& file : {pipe, endless}) {
      DialogAnswers answers;
      answers.chooseFile(file);
      bench.user.click("BN_Browse_ExtMCU_QX");
      QCOMPARE(path.text(), first);
    }
#endif
    QCOMPARE(bench.user.message(), message);
    QCOMPARE(bench.upgrade().last(), success());
    QCOMPARE(flashStart(5), "first");

    bench.load("other");
    QCOMPARE(bench.upgrade().last(), success());
    QCOMPARE(flashStart(5), "other");
  }

  void anImageLargerThanTheFlashIsRefusedByTheBootLoader() {
    Workbench bench(R"({"family": "v"})");
    bench.useVirtualTime();
    bench.connect();
    bench.load(QByteArray(64 * 1024 + 1, 'x'));
    const QStringList texts = bench.upgrade();
    // 0x00010000: 5A + A2 + 01.
    QCOMPARE(texts.last(), "9Error MCU Addr checksum...[2] 253");
    QVERIFY(!texts.contains(success()));
  }

  void anImageLoadedMeanwhileIsForTheNextUpgrade() {
    Workbench bench;
    Halt halt(20);
    bench.connect();
    const QByteArray first = randomImage(5000, 1);
    const QByteArray second = randomImage(5000, 2);
    bench.load(first);
    const QPointer<QThread> worker = bench.start();
    QVERIFY(halt.waitUntilReached());
    bench.load(second);
    halt.letGo();
    QVERIFY(Workbench::waitForEnd(worker));
    QCOMPARE(bench.user.message(), success());
    QCOMPARE(flashStart(5000), first);

    QCOMPARE(bench.upgrade().last(), success());
    QCOMPARE(flashStart(5000), second);
  }

  void aSecondUpgradeStartedMeanwhileSendsItsOwnImage() {
    Workbench bench(R"({"family": "v"})");
    Halt halt(20);
    bench.connect();
    const QByteArray first = randomImage(5000, 1);
    const QByteArray second = randomImage(5000, 2);
    bench.load(first);
    simulator::clearJournal();
    bench.texts->clear();
    const QPointer<QThread> worker = bench.start();
    QVERIFY(halt.waitUntilReached());
    std::map<std::thread::id, QByteArray> sent;
    collectData(sent);
    bench.load(second);
    sleeps::replaceBy([](auto time) { simulator::advanceTime(time); });
    const QPointer<QThread> other = bench.start();
    QVERIFY(other != worker);
    halt.letGo();
    QVERIFY(Workbench::waitForEnd(worker));
    QVERIFY(Workbench::waitForEnd(other));
    collectData(sent);
    QVERIFY(sent.size() <= 2);
    for (const auto& [thread, content] : sent) {
      QVERIFY(thread != std::this_thread::get_id());
      QVERIFY(upgrade_reference::padded(kFamilies[1], first).startsWith(content) ||
              upgrade_reference::padded(kFamilies[1], second).startsWith(content));
    }
    // Whatever the two left, one alone succeeds.
    simulator::advanceTime(5s);
    QCOMPARE(bench.upgrade().last(), success());
    QCOMPARE(flashStart(5000), second);
  }

  void aDisconnectMeanwhileEndsTheUpgrade() {
    Workbench bench;
    Halt halt(20);
    bench.connect();
    const QByteArray image = randomImage(5000, 1);
    bench.load(image);
    const QPointer<QThread> worker = bench.start();
    QVERIFY(halt.waitUntilReached());
    bench.user.choose("CB_DeviceType", "KVR-5B");
    bench.user.click("BN_Connect");
    QCOMPARE(bench.user.message(), "set Port...[Fail]");
    halt.letGo();
    QVERIFY(Workbench::waitForEnd(worker));
    QVERIFY(bench.texts->texts().last().contains("Error MCU"));

    bench.user.choose("CB_DeviceType", "KVR-7");
    bench.user.click("BN_Connect");
    QCOMPARE(bench.user.message(), "Device Connected");
    QCOMPARE(bench.upgrade().last(), success());
    QCOMPARE(flashStart(5000), image);
  }

  void anUpgradeOutlivesItsWindow_data() {
    QTest::addColumn<int>("pause");
    for (const int pause : {1, 2, 10, 17, 20, 30}) {
      QTest::addRow("closed in pause %d", pause) << pause;
    }
  }

  void anUpgradeOutlivesItsWindow() {
    QFETCH(int, pause);
    auto bench = std::make_unique<Workbench>();
    BusLog log;
    std::binary_semaphore reached{0};
    std::binary_semaphore go{0};
    std::atomic<int> seen = 0;
    simulator::useVirtualTime();
    sleeps::replaceBy([&](auto time) {
      if (++seen == pause) {
        reached.release();
        go.acquire();
      }
      log.pause(time);
    });
    bench->connect();
    const QByteArray image = randomImage(5000, 1);
    bench->load(image);
    const QPointer<QThread> worker = bench->start();
    QVERIFY(QTest::qWaitFor([&reached] { return reached.try_acquire(); }, kPatienceMs));
    log.take();
    bench.reset();
    // The window's end neither waited, nor stopped the worker, nor called the library.
    QVERIFY(!worker.isNull());
    QVERIFY(worker->isRunning());
    QVERIFY(worker->parent() == nullptr);
    QCOMPARE(log.take(), QStringList());

    go.release();
    QVERIFY(worker->wait(kPatienceMs));
    QCOMPARE(flashStart(5000), image);
    // In the program it would end with the process.
    delete worker;
  }

  void closingAtAnyMomentHurtsNoRunningUpgrade() {
    std::mt19937 random(20);
    for (int round = 0; round < 100; ++round) {
      auto bench = std::make_unique<Workbench>(round % 2 ? R"({"family": "v"})" : "{}");
      simulator::useVirtualTime();
      sleeps::replaceBy([](auto time) { simulator::advanceTime(time); });
      bench->connect();
      const QByteArray image = randomImage(1 + static_cast<int>(random() % 3000), static_cast<unsigned>(round));
      bench->load(image);
      const QPointer<QThread> worker = bench->start();
      // A moment somewhere in the upgrade, which takes some milliseconds here.
      const auto moment = std::chrono::microseconds(random() % 6000);
      std::this_thread::sleep_for(moment);
      if (random() % 2 != 0U) {
        QCoreApplication::processEvents();
      }
      bench.reset();
      if (worker) {
        QVERIFY(worker->wait(kPatienceMs));
        delete worker;
      }
      QCOMPARE(flashStart(image.size()), image);
    }
  }

  void theWindowStaysAliveDuringAnUpgrade() {
    Workbench bench(R"({"family": "v"})", "\"latencyMs\": 0.2");
    bench.connect();
    bench.load(randomImage(2000, 1));
    simulator::clearJournal();
    std::atomic<int> sleepsOnWindow = 0;
    sleeps::replaceBy([&, gui = std::this_thread::get_id()](auto time) {
      sleepsOnWindow += std::this_thread::get_id() == gui;
      std::this_thread::sleep_for(time);
    });

    QElapsedTimer sinceTick;
    qint64 worstGap = 0;
    int ticks = 0;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [&] {
      worstGap = std::max(worstGap, sinceTick.restart());
      ++ticks;
    });
    timer.start(10);
    sinceTick.start();
    const QPointer<QThread> worker = bench.start();
    QVERIFY(Workbench::waitForEnd(worker));
    timer.stop();
    QCOMPARE(bench.user.message(), success());
    qInfo("worst gap between two ticks of a 10 ms timer: %lld ms, %d ticks", worstGap, ticks);

    // What could hold the window up, whatever the load of this machine.
    QCOMPARE(sleepsOnWindow, 0);
    QVERIFY(!simulator::journal().empty());
    for (const simulator::JournalEntry& entry : simulator::journal()) {
      QVERIFY(entry.thread != std::this_thread::get_id());
    }
    QVERIFY(ticks > 50);
  }

 private:
  // The payloads of the data packets in the journal, by thread.
  static void collectData(std::map<std::thread::id, QByteArray>& sent) {
    for (const simulator::JournalEntry& entry : simulator::journal()) {
      const QString arguments = QString::fromStdString(entry.arguments);
      const QString data = QStringLiteral("3, 0x43, 68, [00 5A A3 ");
      if (arguments.startsWith(data)) {
        sent[entry.thread] += QByteArray::fromHex(arguments.mid(data.size()).toLatin1()).left(64);
      }
    }
    simulator::clearJournal();
  }
};

QTEST_MAIN(ExtMcuPageTest)
#include "ext_mcu_page_test.moc"
