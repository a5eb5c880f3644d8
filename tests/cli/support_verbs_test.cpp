#include "tests/cli/cli_bench.h"

#include <QtTest>

/// snapshot, diff, watch and doctor when a value cannot be read.
class SupportVerbsTest : public QObject {
  Q_OBJECT

  CliBench bench_;
  QString before_ = bench_.path("before.json");

  // Number of the operation's next call.
  static unsigned nextCall(const char* operation) { return static_cast<unsigned>(callsOf(operation)) + 1; }

  QByteArray fileContent(const QString& path) const {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }

 private slots:
  void init() {
    bench_.renew();
    QCOMPARE(bench_.run(QStringList{"snapshot", before_}).code, 0);
  }

  void aDifferenceIsNamedByItsPath() {
    QCOMPARE(bench_.run(QStringList{"diff", before_}).out, QByteArray("no difference\n"));
    QCOMPARE(bench_.run("audio gain 7").code, 0);
    QCOMPARE(bench_.run(QStringList{"diff", before_}).out, QByteArray("audio.receiverGain: 0 -> 7\n"));
  }

  void unreadValuesAreNoDifference_data() {
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("unread");
    QTest::newRow("a value") << "AT_USB_Get_SerialNum"
                             << "serial.serialNumber";
    QTest::newRow("a whole record") << "AT_HdmiRX_GetRawTimingInfo"
                                    << "rx.receiver";
    QTest::newRow("a value of several numbers") << "AT_UVC_Get_Output_Timing"
                                                << "video.outputTiming";
  }
  void unreadValuesAreNoDifference() {
    QFETCH(QString, operation);
    QFETCH(QString, unread);
    const std::string name = operation.toStdString();
    simulator::failCall(name, nextCall(name.c_str()), -5);
    const auto result = bench_.run(QStringList{"-j", "diff", before_});
    QCOMPARE(result.code, 1);
    QVERIFY2(result.document()["differences"].list().empty(), result.out.constData());
    QCOMPARE(result.document()["different"], cli::Value(false));
    QCOMPARE(result.document()["unread"][unread].text(), QString("status -5"));
    simulator::failCall(name, nextCall(name.c_str()), -5);
    QCOMPARE(bench_.run(QStringList{"diff", before_}).out, (unread + ": not read (status -5)\n").toUtf8());
  }

  void aDeviceThatVanishesIsNoDifference() {
    simulator::unplugAtCall("AT_USB_Get_SerialNum", nextCall("AT_USB_Get_SerialNum"));
    const auto result = bench_.run(QStringList{"-j", "diff", before_});
    QCOMPARE(result.code, 1);
    QVERIFY2(result.document()["differences"].list().empty(), result.out.constData());
    QVERIFY(result.document()["unread"].members().size() > 20);
    QCOMPARE(bench_.run(QStringList{"-j", "diff", before_}).code, 3);
  }

  void twoFilesOfWhichOneLacksAValueAreNotEqual() {
    const QString after = bench_.path("after.json");
    simulator::failCall("AT_USB_Get_SerialNum", nextCall("AT_USB_Get_SerialNum"), -5);
    QCOMPARE(bench_.run(QStringList{"snapshot", after}).code, 1);
    for (const QStringList& files : {QStringList{before_, after}, QStringList{after, before_}}) {
      const auto result = bench_.run(QStringList{"diff"} + files);
      QCOMPARE(result.code, 1);
      QCOMPARE(result.out, QByteArray("serial.serialNumber: not read (status -5)\n"));
    }
  }

  void aDoctorsFileThatLacksAValueIsAFailure() {
    const QString report = bench_.path("report.json");
    QCOMPARE(bench_.run(QStringList{"doctor", "-o", report}).code, 0);
    simulator::failCall("AT_USB_Get_SerialNum", nextCall("AT_USB_Get_SerialNum"), -5);
    QCOMPARE(bench_.run(QStringList{"doctor", "-o", report}).code, 1);
    QVERIFY(fileContent(report).contains("\"serialNumber\": null"));
  }

  void everyReadingCanBeWatched() {
    for (const char* verb : {"info", "rx", "video", "audio", "hdcp", "serial", "mcu", "edid", "gpio", "snapshot"}) {
      const auto result = bench_.run(QStringList{"-j", "watch", verb, "--count", "2"});
      QCOMPARE(result.code, 0);
      QCOMPARE(result.out.count('\n'), 2);
      QString error;
      const cli::Value line = cli::Value::fromJson(result.out.left(result.out.indexOf('\n')), &error);
      QCOMPARE(line["schema"].text(), QStringLiteral("pellavox-cli/%1").arg(verb));
      QVERIFY(!line["time"].text().isEmpty());
    }
  }

  void aWatchContinuesWhenTheDeviceIsBack() {
    int pauses = 0;
    bench_.onPause = [&pauses] {
      ++pauses;
      if (pauses == 1) {
        simulator::unplug();
      } else if (pauses == 2) {
        simulator::replug();
      }
    };
    const auto result = bench_.run("-j watch serial --count 3");
    QCOMPARE(result.code, 1);
    const auto lines = result.out.split('\n');
    QCOMPARE(lines.size(), 4);
    QVERIFY2(!lines[0].contains("unread"), lines[0].constData());
    QVERIFY2(lines[1].contains("unread"), lines[1].constData());
    QVERIFY2(!lines[2].contains("unread"), lines[2].constData());
    QCOMPARE(callsOf("openPort"), callsOf("closePort"));
  }
};

QTEST_GUILESS_MAIN(SupportVerbsTest)
#include "support_verbs_test.moc"
