#include "tests/cli/cli_bench.h"
#include "tests/support/faults.h"

#include <QtTest>

class FirmwareVerbsTest : public QObject {
  Q_OBJECT

  static QByteArray mcuImage(int size) {
    QByteArray image(size, '\0');
    for (int i = 0; i < size; ++i) {
      image[i] = static_cast<char>(0x80 | (i * 7 & 0x7F));
    }
    image[0x20] = 0x13;
    return image;
  }

 private slots:
  void init() {
    bench_.renew();
    image_ = bench_.write("mcu.bin", mcuImage(2500));
    capture_ = bench_.write("capture.img", QByteArray(5000, '\x01') + "KVR-7 V1.04.00");
  }

  void anUpgradeEndsInTheNewFirmware() {
    const auto result = bench_.run(QStringList{"-j", "-y", "mcu", "upgrade", image_, "--expect", "v1.3"});
    QCOMPARE(result.code, 0);
    QVERIFY(simulator::mcuRunsApplication());
    const auto flash = simulator::mcuFlash();
    const QByteArray wanted = mcuImage(2500);
    QVERIFY(std::equal(wanted.begin(), wanted.end(), flash.begin(),
                       [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; }));
    QCOMPARE(result.document()["evidence"].text(), QString("checksums+version"));
    QCOMPARE(result.document()["mainVersion"].text(), QString("v1.3"));
    QVERIFY(result.err.contains("Upgrading: 100 %"));
    QVERIFY(bench_.run("mcu info").out.contains("v1.3"));
  }

  void theExpectedVersionIsNotWrittenAgain() {
    const auto result = bench_.run(QStringList{"-j", "-y", "mcu", "upgrade", image_, "--expect", "v1.2"});
    QCOMPARE(result.code, 0);
    QCOMPARE(result.document()["changed"], cli::Value(false));
    QCOMPARE(callsOf("AT_System_Send_ExternalMCU_cmd"), 0);
  }

  void anUnexpectedVersionIsAMismatch() {
    QCOMPARE(bench_.run(QStringList{"-y", "mcu", "upgrade", image_, "--expect", "v1.9"}).code, 6);
    QCOMPARE(bench_.run(QStringList{"-y", "capture", "burn", capture_, "--expect", "V9"}).code, 6);
  }

  void interruptingAnUpgradeSaysHowToGoOn() {
    int pauses = 0;
    bench_.onPause = [&pauses] {
      if (++pauses == 15) {
        cli::interruption::request();
      }
    };
    const auto result = bench_.run(QStringList{"-j", "-y", "mcu", "upgrade", image_});
    QCOMPARE(result.code, 9);
    QCOMPARE(callsOf("closePort"), 1);
    const QString next = result.document()["next"].text();
    QVERIFY2(next.contains("mcu upgrade"), qPrintable(next));
    bench_.onPause = {};
    cli::interruption::request(false);
    QVERIFY(!simulator::mcuRunsApplication());
    QVERIFY(bench_.run("mcu info").out.contains("bootLoader"));
    QCOMPARE(bench_.run(QStringList{"-y", "mcu", "upgrade", image_}).code, 0);
  }

  void anUpgradeThatNeverBeganLeavesTheMcuAsItWas() {
    simulator::addFault(
        faults::inMcu(simulator::FaultPoint::kMcuReset, simulator::FaultEffect::kNotAcknowledged, 1, 0));
    const auto result = bench_.run(QStringList{"-y", "mcu", "upgrade", image_});
    QCOMPARE(result.code, 1);
    QVERIFY(simulator::mcuRunsApplication());
  }

  // The window differs: there a failed read counts as the checksum 0xFF.
  void aChecksumThatCannotBeReadIsNoMatch() {
    simulator::addFault(faults::inMcu(simulator::FaultPoint::kMcuData, simulator::FaultEffect::kDamage, 3));
    const auto result = bench_.run(QStringList{"-j", "-y", "mcu", "upgrade", image_});
    QVERIFY(result.code == 9 || result.code == 0);
    QCOMPARE(result.code == 0, simulator::mcuRunsApplication());
  }

  void anImageMarkedForTheOtherFamilyIsRefused() {
    QByteArray image = mcuImage(600);
    // Stack at 0x20001000, entry at 0x08005101.
    image.replace(0, 8, QByteArray::fromHex("0010002001510008"));
    const QString path = bench_.write("family2.bin", image);
    QCOMPARE(bench_.run(QStringList{"-n", "mcu", "upgrade", path}).code, 0);
    QCOMPARE(simulator::loadScenario(R"({"externalMcu": {"family": "v"}})"), std::string());
    simulator::useVirtualTime();
    const auto result = bench_.run(QStringList{"-j", "-y", "mcu", "upgrade", path});
    QCOMPARE(result.code, 5);
    QCOMPARE(result.document()["check"].text(), QString("family"));
    QCOMPARE(callsOf("AT_System_Send_ExternalMCU_cmd"), 0);
  }

  void emptyAndMissingImagesAreRefused() {
    const QString empty = bench_.write("empty", "");
    for (const QString& path : {empty, QString("/no/such/file")}) {
      QCOMPARE(bench_.run(QStringList{"-y", "mcu", "upgrade", path}).code, 5);
      QCOMPARE(bench_.run(QStringList{"-y", "capture", "burn", path}).code, 5);
      QCOMPARE(bench_.run(QStringList{"capture", "check", path}).code, 5);
    }
    QVERIFY(simulator::journal().empty());
  }

  void aCaptureImageForAnotherModelIsRefused() {
    const QString other = bench_.write("other.img", "KVR-5B V1.04.00");
    const auto result = bench_.run(QStringList{"-j", "-y", "capture", "burn", other});
    QCOMPARE(result.code, 5);
    QCOMPARE(result.document()["check"].text(), QString("model"));
    QCOMPARE(bench_.run(QStringList{"capture", "check", other}).code, 5);
    QCOMPARE(bench_.run(QStringList{"-d", "KVR-5B", "capture", "check", other}).code, 0);
    QVERIFY(simulator::journal().empty());
  }

  void aBurnShowsItsProgressAndTheVersion() {
    const auto result = bench_.run(QStringList{"-j", "-y", "capture", "burn", capture_, "--expect", "V1.04.00"});
    QCOMPARE(result.code, 0);
    QCOMPARE(result.document()["captureVersion"].text(), QString("V1.04.00"));
    QVERIFY(result.err.contains("Burning: 100 %"));
    QCOMPARE(
        bench_.run(QStringList{"-j", "-y", "capture", "burn", capture_, "--expect", "V1.04.00"}).document()["changed"],
        cli::Value(false));
    QCOMPARE(callsOf("burnToFlash"), 1);
  }

  void aBurnThatBreaksOffNamesTheWayBack() {
    int texts = 0;
    bench_.onHint = [&texts] {
      if (++texts == 3) {
        simulator::unplug();
      }
    };
    const auto result = bench_.run(QStringList{"-y", "capture", "burn", capture_});
    QCOMPARE(result.code, 9);
    QVERIFY2(result.err.contains("next: pellavox-cli -d KVR-7 -y capture burn"), result.err.constData());
    bench_.onHint = {};
    simulator::replug();
    QCOMPARE(bench_.run("info").code, 1);
    QCOMPARE(bench_.run(QStringList{"-y", "capture", "burn", capture_}).code, 0);
    QCOMPARE(bench_.run("info").code, 0);
  }

  // The command that is printed, typed as it is, must do what the first one was to do.
  void theWayBackIsTheSameCommand() {
    int texts = 0;
    bench_.onHint = [&texts] {
      if (++texts == 3) {
        simulator::unplug();
      }
    };
#ifdef _WIN32
    const QString image = bench_.write("a $HOME b.img", "KVR-5B V1.05.00");
    const QByteArray word = '"' + image.toUtf8() + '"';
#else
    const QString image = bench_.write("a \"5 $HOME\" b.img", "KVR-5B V1.05.00");
    const QByteArray word = '\'' + image.toUtf8() + '\'';
#endif
    const QStringList burn{"capture", "burn", image, "--expect", "V1.05.00"};
    const auto result = bench_.run(QStringList{"--force=model", "--force=version", "--confirm=force"} + burn);
    QCOMPARE(result.code, 9);
    const QByteArray next =
        "next: pellavox-cli -d KVR-7 -y --force=model --force=version --confirm=force capture burn " + word +
        " --expect \"V1.05.00\"\n";
    QVERIFY2(result.err.endsWith(next), result.err.constData());
  }

  void aBurnCannotBeStoppedAndSaysSo() {
    bench_.onHint = [] { cli::interruption::request(); };
    const auto result = bench_.run(QStringList{"-y", "capture", "burn", capture_});
    QCOMPARE(result.code, 0);
    QCOMPARE(result.err.count("cannot be stopped"), 1);
  }

  void aHintDoesNotRunIntoTheBar() {
    bench_.isTerminal = true;
    bench_.onHint = [] { cli::interruption::request(); };
    const QString image = bench_.write("large.img", "KVR-7 V1.04.00" + QByteArray(200'000, '\x01'));
    const auto result = bench_.run(QStringList{"-y", "capture", "burn", image});
    QVERIFY2(result.err.contains(" %\na burn cannot be stopped"), result.err.constData());
    QVERIFY2(result.err.contains("please wait\n\rBurning ["), result.err.constData());
  }

  void theBarFitsIntoANarrowTerminal_data() {
    QTest::addColumn<int>("columns");
    for (const int columns : {200, 48, 40, 24, 16}) {
      QTest::addRow("%d columns", columns) << columns;
    }
  }
  void theBarFitsIntoANarrowTerminal() {
    QFETCH(int, columns);
    bench_.isTerminal = true;
    bench_.columns = columns;
    const auto result = bench_.run(QStringList{"-y", "capture", "burn", capture_});
    QCOMPARE(result.code, 0);
    for (const QByteArray& line : result.err.split('\r')) {
      QVERIFY2(line.trimmed().size() < columns, line.constData());
    }
    QVERIFY(result.err.contains("100 %\n"));
  }

  void progressHasTheRequestedForm_data() {
    QTest::addColumn<QString>("option");
    QTest::addColumn<bool>("terminal");
    QTest::addColumn<QString>("sign");
    QTest::newRow("auto, a file") << "--progress=auto" << false << "Burning: 50 %\n";
    QTest::newRow("auto, a terminal") << "--progress=auto" << true << "\rBurning [";
    QTest::newRow("bar") << "--progress=bar" << false << "\rBurning [";
    QTest::newRow("lines") << "--progress=lines" << true << "Burning: 50 %\n";
    QTest::newRow("json") << "--progress=json" << false << "{\"progress\": 100, \"step\": \"Burning\"}\n";
  }
  void progressHasTheRequestedForm() {
    QFETCH(QString, option);
    QFETCH(bool, terminal);
    QFETCH(QString, sign);
    bench_.isTerminal = terminal;
    const QString image = bench_.write("large.img", "KVR-7 V1.04.00" + QByteArray(200'000, '\x01'));
    const auto result = bench_.run(QStringList{option, "-y", "capture", "burn", image});
    QCOMPARE(result.code, 0);
    QVERIFY2(result.err.contains(sign.toUtf8()), result.err.constData());
    QVERIFY(!result.out.contains("Burning"));
    const auto quiet = bench_.run(QStringList{"-q", option, "-y", "capture", "burn", image});
    QCOMPARE(quiet.err, QByteArray());
  }

 private:
  CliBench bench_;
  QString image_;
  QString capture_;
};

QTEST_GUILESS_MAIN(FirmwareVerbsTest)
#include "firmware_test.moc"
