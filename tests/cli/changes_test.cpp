#include "device/RTICE_SDK_x64.h"
#include "tests/cli/cli_bench.h"

#include <QtTest>

/// What every verb that sets a value promises: read before, write, read back.
class ChangesTest : public QObject {
  Q_OBJECT

  static void rows() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("reader");
    QTest::addColumn<QString>("writer");
    const auto row = [](const char* line, const char* key, const char* reader, const char* writer) {
      QTest::newRow(line) << line << key << reader << writer;
    };
    row("serial set NEW-1", "serialNumber", "AT_USB_Get_SerialNum", "AT_USB_Set_SerialNum");
    row("video source dp", "source", "AT_Get_Current_Input_Source", "AT_Input_Source_Switch");
    row("audio gain -10", "receiverGain", "AT_Audio_Get_HdmiDPRX_VolumeGain", "AT_Audio_Set_HdmiDPRX_VolumeGain");
    row("audio hp-gain 5", "headphoneGain", "AT_Audio_Get_HPOUTgain", "AT_Audio_Set_HPOUTgain");
    row("audio mute on", "headphoneMuted", "AT_Audio_Get_DACHP_Mute", "AT_Audio_Set_DACHP_Mute");
    row("gpio set 3 200", "iso3", "AT_GPIO_Get_Param", "AT_GPIO_Set_Param");
    row("gpio set 13 1 --group misc", "misc13", "AT_GPIO_Get_Param", "AT_GPIO_Set_Param");
    row("i2c set 48 1 60 80", "bytes", "AT_System_Get_ExternalMCU_cmd", "AT_System_Send_ExternalMCU_cmd");
    row("i2c set A8 100 41 --addr8 --confirm=raw", "bytes", "AT_System_Get_ExternalMCU_cmd",
        "AT_System_Send_ExternalMCU_cmd");
  }

 private slots:
  void init() { bench_.renew(); }

  void whatIsWrittenIsReadBack_data() { rows(); }
  void whatIsWrittenIsReadBack() {
    QFETCH(QString, line);
    QFETCH(QString, writer);
    const QStringList arguments = QStringList{"-j", "-y"} + line.split(' ');
    const auto result = bench_.run(arguments);
    QCOMPARE(result.code, 0);
    QCOMPARE(result.document()["changed"], cli::Value(true));
    QCOMPARE(result.document()["evidence"].text(), QString("readback"));
    QCOMPARE(callsOf(writer.toStdString()), 1);
  }

  void correctValuesAreNotWrittenAgain_data() { rows(); }
  void correctValuesAreNotWrittenAgain() {
    QFETCH(QString, line);
    QFETCH(QString, writer);
    const QStringList arguments = QStringList{"-j", "-y"} + line.split(' ');
    bench_.run(arguments);
    const auto again = bench_.run(arguments);
    QCOMPARE(again.code, 0);
    QCOMPARE(again.document()["changed"], cli::Value(false));
    QCOMPARE(callsOf(writer.toStdString()), 1);
    const auto always = bench_.run(QStringList{"--always"} + arguments);
    QCOMPARE(always.document()["changed"], cli::Value(true));
    QCOMPARE(callsOf(writer.toStdString()), 2);
  }

  void aWriteThatDoesNothingIsAMismatch_data() { rows(); }
  void aWriteThatDoesNothingIsAMismatch() {
    QFETCH(QString, line);
    QFETCH(QString, writer);
    QFETCH(QString, reader);
    simulator::failCall(writer.toStdString(), 1, 0);
    const auto result = bench_.run(QStringList{"-j", "-y"} + line.split(' '));
    QCOMPARE(result.code, 6);
    QCOMPARE(result.document()["error"].text(), QString("mismatch"));
    QVERIFY(!result.document()["details"]["found"].isNull());
    // One read before, one after, and three retries.
    QCOMPARE(callsOf(reader.toStdString()), 5);
  }

  void aRefusedWriteIsAFailure_data() { rows(); }
  void aRefusedWriteIsAFailure() {
    QFETCH(QString, line);
    QFETCH(QString, writer);
    simulator::failCall(writer.toStdString(), 1, -42);
    const auto result = bench_.run(QStringList{"-y"} + line.split(' '));
    QCOMPARE(result.code, 1);
    QVERIFY(result.err.contains("-42"));
    QCOMPARE(result.out, QByteArray());
    QCOMPARE(callsOf("closePort"), 1);
  }

  void oneWrongReadIsNotBelieved_data() { rows(); }
  void oneWrongReadIsNotBelieved() {
    QFETCH(QString, line);
    QFETCH(QString, reader);
    // The first read after the write.
    simulator::answerCall(reader.toStdString(), 2, 0, {0x5A});
    QCOMPARE(bench_.run(QStringList{"-y"} + line.split(' ')).code, 0);
  }

  void aValueThatCannotBeReadBackIsUnchecked() {
    simulator::failCall("AT_USB_Get_SerialNum", 2, -9, 0);
    QCOMPARE(bench_.run("-y serial set A").code, 7);
    QCOMPARE(callsOf("AT_USB_Set_SerialNum"), 1);
  }

  void valuesThatCannotBeReadAreReportedOnly_data() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("writer");
    QTest::newRow("hpd") << "video hpd off"
                         << "AT_HdmiRX_Set_HPD";
    QTest::newRow("tx") << "hdcp tx off"
                        << "AT_SetHDMI_HDCP_OnOff";
    QTest::newRow("restore") << "-y restore"
                             << "AT_RestoreToDefault";
    QTest::newRow("MCU") << "i2c set 0D 20 1 --confirm=raw"
                         << "AT_System_Send_ExternalMCU_cmd";
  }
  void valuesThatCannotBeReadAreReportedOnly() {
    QFETCH(QString, line);
    QFETCH(QString, writer);
    simulator::failCall(writer.toStdString(), 2, -42);
    const auto result = bench_.run(QStringList{"-j"} + line.split(' '));
    QCOMPARE(result.code, 0);
    QCOMPARE(result.document()["evidence"].text(), QString("reported"));
    QCOMPARE(callsOf(writer.toStdString()), 1);
    QCOMPARE(bench_.run(QStringList{"-j"} + line.split(' ')).code, 1);
  }

  void anEightBitAddressIsRefusedUnlessItIsMeant() {
    const auto result = bench_.run("-j i2c get A0 0");
    QCOMPARE(result.code, 5);
    QVERIFY(result.document()["message"].text().contains("0x50"));
    QVERIFY(simulator::journal().empty());
    QCOMPARE(bench_.run("i2c get A0 0 --addr8").code, 0);
  }

  void theMcuAndTheEepromsWantTheWord() {
    QCOMPARE(bench_.run("-y i2c set 50 0 1").code, 10);
    QCOMPARE(bench_.run("-y i2c set 0D 8 1").code, 10);
    QCOMPARE(bench_.run("-y i2c set 43 1 1").code, 10);
    QCOMPARE(callsOf("AT_System_Send_ExternalMCU_cmd"), 0);
    QCOMPARE(bench_.run("--confirm=raw i2c set 50 0 1").code, 0);
    QCOMPARE(simulator::eepromContent(0x50)[0], 1);
  }

  void aSerialNumberThatWouldNotSurviveIsRefused_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("17 characters") << "12345678901234567";
    QTest::newRow("accent") << QString::fromUtf8("caf\xc3\xa9");
    QTest::newRow("control character") << "A\tB";
  }
  void aSerialNumberThatWouldNotSurviveIsRefused() {
    QFETCH(QString, text);
    const auto result = bench_.run(QStringList{"-y", "-j", "serial", "set", text});
    QCOMPARE(result.code, 5);
    QCOMPARE(result.document()["check"].text(), QString("serial"));
    QVERIFY(simulator::journal().empty());
  }

  void gainsOutsideTheirRangeAreRefused() {
    QCOMPARE(bench_.run("audio gain 31").code, 5);
    QCOMPARE(bench_.run("audio gain -73").code, 5);
    QCOMPARE(bench_.run("audio hp-gain 13").code, 5);
    QCOMPARE(bench_.run("audio hp-gain -51").code, 5);
    QVERIFY(simulator::journal().empty());
    QCOMPARE(bench_.run("--force=range --confirm=force audio gain 31").code, 0);
    QVERIFY(
        bench_.run("--force=range audio gain 32").err.contains("pellavox-cli: Set receiver gain to 32? There is no"));
  }

  void aKeyFileThatIsEmptyOrMissingIsRefused() {
    QCOMPARE(bench_.run("--confirm=key hdcp burn /no/such/file").code, 5);
    QCOMPARE(bench_.run(QStringList{"--confirm=key", "hdcp", "burn", bench_.write("empty", "")}).code, 5);
    QVERIFY(simulator::journal().empty());
  }

  void rebootWaitsForTheDevice() {
    const auto result = bench_.run("-j -y reboot --wait");
    QCOMPARE(result.code, 0);
    QCOMPARE(result.document()["evidence"].text(), QString("answers"));
    QVERIFY(simulator::now() >= std::chrono::milliseconds(1500));
    QCOMPARE(bench_.run("-y --wait=0.2 reboot").code, 3);
  }

  void anInterruptedWaitTellsThatTheDeviceWasRestarted() {
    bench_.onPause = [] { cli::interruption::request(); };
    const auto result = bench_.run("-y reboot --wait");
    bench_.renew();
    QCOMPARE(result.err, QByteArray("pellavox-cli: interrupted; the device was restarted, but has not answered yet\n"));
    QCOMPARE(result.code, 7);
  }

 private:
  CliBench bench_;
};

QTEST_GUILESS_MAIN(ChangesTest)
#include "changes_test.moc"
