#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QTest>

#include <algorithm>

/// Reading and setting the EDID mode and the slot in use.
class EdidSettingsTest : public WindowTest {
  Q_OBJECT

  /// Starts again with an open session and a message that must not change.
  void startConnected(const QByteArray& scenario = "{}") {
    start(scenario);
    connectDevice();
    user.widget<QLabel>("LB_Message").setText("untouched");
  }

 private slots:
  void init() { startConnected(); }

  void constructionReachesNoDevice() {
    start();
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "");
  }

  void aPickIsSent() {
    user.choose("CB_EDID_Mode", "Mixed default and TX");
    QCOMPARE(user.message(), "Set EDID Mode...[Done]");
    user.choose("CB_EDID_Mode", "Follow USB");
    user.choose("CB_EDID_Mode", "Follow TX");
    user.choose("CB_EDID_Mode", "From Flash");
    QTest::ignoreMessage(QtDebugMsg, "set flash EDID task");
    user.choose("CB_Current_FlashEDID_List", "6");
    QCOMPARE(user.message(), "Set Flash EDID table...[Done]");
    QCOMPARE(journalCalls(),
             (QStringList{"AT_EDID_Set_EDID_mode(3)", "AT_EDID_Set_EDID_mode(2)", "AT_EDID_Set_EDID_mode(1)",
                          "AT_EDID_Set_EDID_mode(0)", "AT_EDID_Flash_Set_Default_table(6)"}));
  }

  void theOtherSlotListsSendNothing() {
    user.choose("CB_FlashEDID_List", "3");
    user.choose("CB_FlashEDID_List_2", "5");
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "untouched");
  }

  void aPickThatFailsIsReported() {
    unsigned call = 0;
    for (const std::int32_t status : {1, -1}) {
      simulator::failCall("AT_EDID_Set_EDID_mode", ++call, status);
      simulator::failCall("AT_EDID_Flash_Set_Default_table", call, status);
      user.choose("CB_EDID_Mode", status > 0 ? "Follow TX" : "Follow USB");
      QCOMPARE(user.message(), "Set EDID Mode...[fail]");
      user.choose("CB_Current_FlashEDID_List", status > 0 ? "1" : "2");
      QCOMPARE(user.message(), "Set Flash EDID table...[fail]");
    }
  }

  void readingShowsModeAndSlotWithoutSendingThemBack() {
    startConnected(R"({"edid": {"mode": "followUsb", "defaultSlot": 5}})");
    QTest::ignoreMessage(QtDebugMsg, "set flash EDID task");
    QTest::ignoreMessage(QtDebugMsg, "flash EDID index update");
    user.click("BN_EDID_Read");
    QCOMPARE(journalCalls(), (QStringList{"AT_EDID_Get_EDID_mode()", "AT_EDID_Flash_Get_Default_table()"}));
    QCOMPARE(user.widget<QComboBox>("CB_EDID_Mode").currentText(), "Follow USB");
    QCOMPARE(user.widget<QComboBox>("CB_Current_FlashEDID_List").currentText(), "5");
    QCOMPARE(user.message(), "untouched");

    // The guards are clear again, so the next picks are sent.
    simulator::clearJournal();
    user.choose("CB_EDID_Mode", "Follow TX");
    user.choose("CB_Current_FlashEDID_List", "2");
    QCOMPARE(journalCalls(), (QStringList{"AT_EDID_Set_EDID_mode(1)", "AT_EDID_Flash_Set_Default_table(2)"}));
  }

  // The window already shows the device's values, so reading changes neither row.
  void readingTheRowsShownSwallowsTheNextPickOfEach() {
    user.click("BN_EDID_Read");
    simulator::clearJournal();
    user.choose("CB_EDID_Mode", "Follow TX");
    QTest::ignoreMessage(QtDebugMsg, "set flash EDID task");
    QTest::ignoreMessage(QtDebugMsg, "flash EDID index update");
    user.choose("CB_Current_FlashEDID_List", "1");
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(user.message(), "untouched");

    user.choose("CB_EDID_Mode", "Follow USB");
    QCOMPARE(user.message(), "Set EDID Mode...[Done]");
    user.choose("CB_Current_FlashEDID_List", "2");
    QCOMPARE(user.message(), "Set Flash EDID table...[Done]");
    QCOMPARE(journalCalls(), (QStringList{"AT_EDID_Set_EDID_mode(2)", "AT_EDID_Flash_Set_Default_table(2)"}));
  }

  // The second read finds the guard already set, and another row.
  void oneGuardServesHoweverOftenItWasSet() {
    user.click("BN_EDID_Read");
    user.click("BN_EDID_Read");
    QCOMPARE(AT_EDID_Set_EDID_mode(3), 0);
    user.click("BN_EDID_Read");
    simulator::clearJournal();
    user.choose("CB_EDID_Mode", "From Flash");
    QCOMPARE(journalCalls(), QStringList{"AT_EDID_Set_EDID_mode(0)"});
  }

  void theGuardsAreApart() {
    startConnected(R"({"edid": {"defaultSlot": 3}})");
    user.click("BN_EDID_Read");
    simulator::clearJournal();
    user.choose("CB_Current_FlashEDID_List", "0");
    QCOMPARE(journalCalls(), QStringList{"AT_EDID_Flash_Set_Default_table(0)"});
    user.choose("CB_EDID_Mode", "Follow TX");
    QCOMPARE(journalCalls().size(), 1);
  }

  void aReadingThatFailsStopsThere() {
    simulator::failCall("AT_EDID_Get_EDID_mode", 1, -1);
    user.click("BN_EDID_Read");
    QCOMPARE(user.message(), "Read EDID Mode...[fail]");
    QCOMPARE(journalOperations(), QStringList{"AT_EDID_Get_EDID_mode"});
    // No guard was set.
    user.choose("CB_EDID_Mode", "Follow TX");
    QCOMPARE(user.message(), "Set EDID Mode...[Done]");

    simulator::failCall("AT_EDID_Flash_Get_Default_table", 1, 1);
    user.click("BN_EDID_Read");
    QCOMPARE(user.message(), "Get Default Flash EDID index...[fail]");
    simulator::clearJournal();
    user.choose("CB_Current_FlashEDID_List", "4");
    user.choose("CB_EDID_Mode", "Follow USB");
    QCOMPARE(journalCalls(), QStringList{"AT_EDID_Flash_Set_Default_table(4)"});
  }

  void aRowThatDoesNotExistShowsNone() {
    for (const std::uint8_t value : {std::uint8_t{4}, std::uint8_t{7}, std::uint8_t{255}}) {
      simulator::reset();
      user.widget<QLabel>("LB_Message").setText("untouched");
      initialize();
      setDevice(0, 0, 0x5C19, 0x6B03);
      openPort();
      simulator::answerCall("AT_EDID_Get_EDID_mode", 1, 0, {value});
      simulator::answerCall("AT_EDID_Flash_Get_Default_table", 1, 0, {std::max(value, std::uint8_t{7})});
      user.click("BN_EDID_Read");
      QCOMPARE(user.widget<QComboBox>("CB_EDID_Mode").currentIndex(), -1);
      QCOMPARE(user.widget<QComboBox>("CB_Current_FlashEDID_List").currentIndex(), -1);
      QCOMPARE(user.message(), "untouched");
    }
  }
};

QTEST_MAIN(EdidSettingsTest)
#include "edid_settings_test.moc"
