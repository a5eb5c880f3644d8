#include "tests/firmware/ext_mcu_fixture.h"
#include "tests/support/dialog_answers.h"

#include <QTemporaryDir>
#include <QTest>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

using upgrade_reference::Family;
using upgrade_reference::kFamilies;
using namespace std::chrono_literals;

namespace {

constexpr int kVersionOffset = 0x20;  // of the version byte in an image for the simulated MCU

}  // namespace

class ExtMcuPageTest : public ExtMcuFixture {
  Q_OBJECT

 private slots:
  void init() { startMcu(); }
  void cleanup() { finish(); }

  void anUpgradeSendsTheImageAndReportsItsProgress_data() {
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

  void anUpgradeSendsTheImageAndReportsItsProgress() {
    QFETCH(int, family);
    QFETCH(int, size);
    QFETCH(bool, inApplication);
    const Family& chip = kFamilies[family];
    startMcu(QByteArray(R"({"family": ")") + chip.code + R"(", "mode": ")" +
             (inApplication ? "application" : "bootLoader") + "\"}");
    logPauses();
    connectDevice();
    const QByteArray image = randomImage(size, static_cast<unsigned>(size));
    load(image);

    QTest::ignoreMessage(QtDebugMsg, "Run test");
    QTest::ignoreMessage(QtDebugMsg, "Update exit");
    const QStringList texts = upgrade();
    QCOMPARE(firstDifference(texts, upgrade_reference::texts(chip, image, inApplication)), QString());
    QCOMPARE(user.message(), success());
    QCOMPARE(firstDifference(log.take(), upgrade_reference::busLog(chip, image, inApplication)), QString());

    const QByteArray padded = upgrade_reference::padded(chip, image);
    QCOMPARE(flashStart(padded.size()), padded);

    // The new image runs, and the next connection shows its version.
    QVERIFY(!simulator::mcuRunsApplication());
    simulator::advanceTime(2s);
    QVERIFY(simulator::mcuRunsApplication());
    user.choose("CB_DeviceType", "KVR-5B");
    user.click("BN_Connect");
    user.choose("CB_DeviceType", "KVR-7");
    user.click("BN_Connect");
    const auto version = static_cast<unsigned char>(padded.at(kVersionOffset));
    QCOMPARE(user.text("lb_Main_VER_QX"), QStringLiteral("v%1.%2").arg(version / 16).arg(version % 16));
  }

  void nothingReachesTheBusWithoutImageOrConnection() {
    logPauses();
    // Without an image, connected or not.
    QCOMPARE(upgrade(), (QStringList{"Start...", "Error No file...[fail]"}));
    connectDevice();
    QCOMPARE(upgrade(), (QStringList{"Start...", "Error No file...[fail]"}));
    load(QByteArray());
    QCOMPARE(upgrade(), (QStringList{"Start...", "Error No file...[fail]"}));
    QCOMPARE(log.take(), QStringList());

    startMcu();
    logPauses();
    load("image");
    QCOMPARE(upgrade(), QStringList{"Start..."});
    QCOMPARE(log.take(), QStringList());
  }

  void anUnknownMcuIsLeftAlone_data() {
    QTest::addColumn<QByteArray>("mcu");
    QTest::newRow("silence") << QByteArray(R"({"mode": "silent"})");
    QTest::newRow("other family in its application") << QByteArray(R"({"family": "0x41"})");
    QTest::newRow("other family in its boot loader") << QByteArray(R"({"family": "0x41", "mode": "bootLoader"})");
    QTest::newRow("family 0xFF") << QByteArray(R"({"family": "0xFF", "mode": "bootLoader"})");
  }

  void anUnknownMcuIsLeftAlone() {
    QFETCH(QByteArray, mcu);
    startMcu(mcu);
    logPauses();
    connectDevice();
    load("image");
    QCOMPARE(upgrade(), QStringList{"Start..."});
    QCOMPARE(log.take(), (QStringList{upgrade_reference::get("0x0D", "00"), upgrade_reference::get("0x43", "00")}));
  }

  void bothSetsOfControlsDoTheSame_data() {
    QTest::addColumn<QString>("suffix");
    QTest::newRow("first page") << "";
    QTest::newRow("second page") << "_QX";
  }

  void bothSetsOfControlsDoTheSame() {
    QFETCH(QString, suffix);
    logPauses();
    connectDevice();
    const QString path = writeImage("image");
    DialogAnswers answers;
    answers.chooseFile(path);
    user.click("BN_Browse_ExtMCU" + suffix);
    QCOMPARE(answers.fileDialogs().size(), 1);
    const DialogAnswers::ShownFileDialog& dialog = answers.fileDialogs().first();
    QCOMPARE(dialog.title, "Load Ext MCU Firmware file");
    QCOMPARE(dialog.filters, QStringList{"*.bin"});
    QCOMPARE(dialog.mode, QFileDialog::AcceptOpen);
    QCOMPARE(dialog.parent, &window());
    QCOMPARE(user.widget<QLineEdit>("lineEdit_ExtMcu_Path").text(), path);
    QCOMPARE(user.widget<QLineEdit>("lineEdit_ExtMcu_Path_QX").text(), path);

    QVERIFY(waitForWorker(startUpgrade("BN_Apply_ExtMCU" + suffix)));
    QCOMPARE(user.message(), success());
    QCOMPARE(flashStart(5), "image");
  }

  void aCancelledOrFailedChoiceKeepsTheImage() {
    logPauses();
    connectDevice();
    load("first");
    const auto& path = user.widget<QLineEdit>("lineEdit_ExtMcu_Path_QX");
    const QString first = path.text();
    const QString message = user.message();
    {
      DialogAnswers answers;
      user.click("BN_Browse_ExtMCU_QX");
      QCOMPARE(answers.fileDialogs().size(), 1);
      QCOMPARE(path.text(), first);
    }
#if !defined(_WIN32)
    // The dialog accepts this file, but it cannot be opened.
    const QString unreadable = writeImage("other");
    QVERIFY(QFile::setPermissions(unreadable, QFileDevice::Permissions()));
    if (!QFile(unreadable).open(QIODevice::ReadOnly)) {  // root can open it
      DialogAnswers answers;
      answers.chooseFile(unreadable);
      user.click("BN_Browse_ExtMCU_QX");
      QCOMPARE(path.text(), first);
    }
    // Reading either of them would never end.
    const QTemporaryDir special;
    const QString pipe = special.filePath("pipe.bin");
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const QString endless = special.filePath("endless.bin");
    QVERIFY(QFile::link("/dev/zero", endless));
    for (const QString& file : {pipe, endless}) {
      DialogAnswers answers;
      answers.chooseFile(file);
      user.click("BN_Browse_ExtMCU_QX");
      QCOMPARE(path.text(), first);
    }
#endif
    QCOMPARE(user.message(), message);
    QCOMPARE(upgrade().last(), success());
    QCOMPARE(flashStart(5), "first");

    load("other");
    QCOMPARE(upgrade().last(), success());
    QCOMPARE(flashStart(5), "other");
  }

  void anImageLargerThanTheFlashIsRefusedByTheBootLoader() {
    startMcu(R"({"family": "v"})");
    logPauses();
    connectDevice();
    load(QByteArray(64 * 1024 + 1, 'x'));
    const QStringList texts = upgrade();
    // 0x00010000: 5A + A2 + 01.
    QCOMPARE(texts.last(), "9Error MCU Addr checksum...[2] 253");
    QVERIFY(!texts.contains(success()));
  }
};

QTEST_MAIN(ExtMcuPageTest)
#include "ext_mcu_page_test.moc"
