#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QTest>

/// Connect with ids that differ from the open session's in one or both values.
class ReconnectTest : public WindowTest {
  Q_OBJECT

 private slots:
  void otherIdsOpenAnotherSession_data() {
    QTest::addColumn<QString>("vid");
    QTest::addColumn<QString>("pid");
    QTest::addColumn<QString>("selected");
    QTest::newRow("same") << "5C19"
                          << "6B03"
                          << "";
    QTest::newRow("same, written otherwise") << "5c19"
                                             << "06b03"
                                             << "";
    QTest::newRow("vendor") << "5C18"
                            << "6B03"
                            << "0, 0, 0x5C18, 0x6B03";
    QTest::newRow("product") << "5C19"
                             << "6B02"
                             << "0, 0, 0x5C19, 0x6B02";
    QTest::newRow("both") << "6B03"
                          << "5C19"
                          << "0, 0, 0x6B03, 0x5C19";
    QTest::newRow("no number") << "5C1X"
                               << "6B03"
                               << "0, 0, 0x0000, 0x6B03";
  }

  void otherIdsOpenAnotherSession() {
    QFETCH(QString, vid);
    QFETCH(QString, pid);
    QFETCH(QString, selected);
    connectDevice();
    user.widget<QLineEdit>("Edit_VID").setText(vid);
    user.widget<QLineEdit>("Edit_PID").setText(pid);
    user.click("BN_Connect");
    if (selected.isEmpty()) {
      QCOMPARE(journalCalls(), QStringList());
      QCOMPARE(user.message(), "Device Connected");
      return;
    }
    QCOMPARE(journalCalls(),
             (QStringList{"closePort()", "initialize()", "setDevice(" + selected + ")", "uninitialize()"}));
    QCOMPARE(user.message(), "set Port...[Fail]");
  }
};

QTEST_MAIN(ReconnectTest)
#include "reconnect_test.moc"
