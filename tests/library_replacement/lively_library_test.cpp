#include "tests/support/program_run.h"
#include "tests/support/test_files.h"

#include <QTest>

namespace {

ProgramRun run(const QString& script) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("LD_LIBRARY_PATH", LIBRARY_DIRECTORY);
  return runScript(PROGRAM, PLUGINS, script, environment);
}

}  // namespace

/// The program with a library that runs the event loop inside calls, and calls back
/// from other threads after a call has returned.
class LivelyLibraryTest : public QObject {
  Q_OBJECT

 private slots:
  void theNextPressIsTakenInsideACall() {
    const ProgramRun ended = run("click BN_Connect;print LB_Message;close");
    QCOMPARE(ended.output, QByteArray("LB_Message=\n"));  // the first one has had no effect yet
  }

  void theUserMayDoAnythingInsideACall_data() {
    QTest::addColumn<QString>("script");
    QTest::newRow("press the same button") << "click BN_Connect;click BN_Connect;click BN_Connect";
    QTest::newRow("choose another device") << "click BN_Connect;choose CB_DeviceType KVR-5B;click BN_Connect;"
                                              "choose CB_DeviceType KVR-7;click BN_Connect";
    QTest::newRow("press all read buttons") << "click BN_Connect;click BN_Info_Read;click BN_Video_Read;"
                                               "click BN_Audio_Read;click BN_SN_Read;click BN_EDID_Read;"
                                               "click BN_I2C_Read;click BN_GPIO_Read;click BN_Info_Read";
    QTest::newRow("start workers") << "click BN_Connect;click BN_Apply_ExtMCU_QX;click BN_Apply_ExtMCU_QX;"
                                      "click BN_Apply_ExtMCU";
  }

  void theUserMayDoAnythingInsideACall() {
    QFETCH(QString, script);
    const ProgramRun ended = run(script +
                                 ";wait 20;wait 20;choose CB_DeviceType KVR-7;click BN_Connect;wait 20;"
                                 "click BN_Info_Read;wait 20;print LB_Message;close");
    QVERIFY2(ended.ended && ended.exitCode == 0 && ended.isQuiet(), ended.errors);
    QCOMPARE(ended.output, QByteArray("LB_Message=HdmiRX_GetRawTimingInfo  [OK]\n"));
  }

  void theWindowMayBeClosedInsideACall_data() {
    QTest::addColumn<QString>("button");
    for (const char* const button : {"BN_Connect", "BN_Video_Read", "BN_SN_Read", "BN_Apply_Reset"}) {
      QTest::newRow(button) << button;
    }
  }

  void theWindowMayBeClosedInsideACall() {
    QFETCH(QString, button);
    const ProgramRun ended = run("click " + button + ";close");
    QVERIFY2(ended.ended && ended.exitCode == 0 && ended.isQuiet(), ended.errors);
  }

  void progressIsTakenFromThreadsOfABurnThatHasReturned() {
    const TestFiles files;
    const QString image = files.write("image.img", "KVR-7");
    const ProgramRun ended = run("click BN_Connect;wait 20;click BN_Browse_Cap_QX;open " + image +
                                 ";wait 20;click BN_Apply_CapMCU_QX;until LB_Message 42%;print LB_Message;close");
    QVERIFY2(ended.ended && ended.exitCode == 0 && ended.isQuiet(), ended.errors);
    // The burn returned long ago, but its callbacks continue.
    QCOMPARE(ended.output, QByteArray("LB_Message=42%\n"));
  }
};

QTEST_GUILESS_MAIN(LivelyLibraryTest)
#include "lively_library_test.moc"
