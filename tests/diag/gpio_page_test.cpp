#include "simulator/control/control.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QRadioButton>
#include <QTest>

class GpioPageTest : public WindowTest {
  Q_OBJECT

  void choose(int group, int pin) const {
    user.widget<QRadioButton>(group == 0 ? "RB_GPIO_ISO" : "RB_GPIO_MISC").setChecked(true);
    user.choose("CB_GPIO_INDEX", QStringLiteral("GPIO%1").arg(pin));
  }
  QLineEdit& valueField() const { return user.widget<QLineEdit>("lineEdit_GPIO_Value"); }

 private slots:
  void init() {
    start();
    connectDevice();
  }

  void everyPinOfBothGroupsIsReadAndWritten() {
    for (int group = 0; group < 2; ++group) {
      for (int pin = 0; pin < 14; ++pin) {
        const int value = group * 16 + pin;
        choose(group, pin);
        valueField().setText(QString::number(value, 16));
        user.click("BN_GPIO_Write");
        QCOMPARE(user.message(), QStringLiteral("Write GPIO%1 [done]").arg(pin));
      }
    }
    for (int group = 0; group < 2; ++group) {
      for (int pin = 0; pin < 14; ++pin) {
        const int value = group * 16 + pin;
        choose(group, pin);
        valueField().setText("old");
        simulator::clearJournal();
        user.click("BN_GPIO_Read");
        QCOMPARE(journalCalls(), QStringList{QStringLiteral("AT_GPIO_Get_Param(%1, %2)").arg(group).arg(pin)});
        QCOMPARE(valueField().text(), QString::number(value));
        QCOMPARE(user.message(), QStringLiteral("Read GPIO%1 [done]").arg(pin));
      }
    }
  }

  void everyValueIsShownInDecimal() {
    choose(1, 13);
    for (int value = 0; value < 256; ++value) {
      simulator::setGpioPin(1, 13, static_cast<std::uint8_t>(value));
      user.click("BN_GPIO_Read");
      QCOMPARE(valueField().text(), QString::number(value));
    }
  }

  void theLowByteOfAHexadecimalValueIsSent_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("sent");
    QTest::newRow("1F") << "1F" << 31;
    QTest::newRow("ff") << "ff" << 255;
    QTest::newRow("100") << "100" << 0;
    QTest::newRow("1A5") << "1A5" << 0xA5;
    QTest::newRow("FFFFFFFF") << "FFFFFFFF" << 255;
    QTest::newRow("100000001") << "100000001" << 0;
    QTest::newRow("0x10") << "0x10" << 16;
    QTest::newRow(" 7 ") << " 7 " << 7;
    QTest::newRow("-1") << "-1" << 0;
    QTest::newRow("zz") << "zz" << 0;
    QTest::newRow("empty") << "" << 0;
  }

  void theLowByteOfAHexadecimalValueIsSent() {
    QFETCH(QString, text);
    QFETCH(int, sent);
    choose(0, 3);
    valueField().setText(text);
    user.click("BN_GPIO_Write");
    QCOMPARE(journalCalls(), QStringList{QStringLiteral("AT_GPIO_Set_Param(0, 3, %1)").arg(sent)});
    QCOMPARE(user.message(), "Write GPIO3 [done]");
    QCOMPARE(valueField().text(), text);
  }

  void aValueReadIsWrittenBackAsAnother() {
    simulator::setGpioPin(0, 0, 31);
    user.click("BN_GPIO_Read");
    QCOMPARE(valueField().text(), "31");
    simulator::clearJournal();
    user.click("BN_GPIO_Write");
    QCOMPARE(journalCalls(), QStringList{"AT_GPIO_Set_Param(0, 0, 49)"});
  }

  void aFailureIsReportedAndLeavesTheValue() {
    unsigned call = 0;
    for (const std::int32_t status : {1, -1}) {
      simulator::failCall("AT_GPIO_Get_Param", ++call, status);
      simulator::failCall("AT_GPIO_Set_Param", call, status);
      valueField().setText("old");
      user.click("BN_GPIO_Read");
      QCOMPARE(user.message(), "Read GPIO Error");
      QCOMPARE(valueField().text(), "old");
      user.click("BN_GPIO_Write");
      QCOMPARE(user.message(), "Write GPIO Error");
    }
  }

  void withoutASessionTheLibraryRefuses() {
    start();
    user.click("BN_GPIO_Read");
    QCOMPARE(user.message(), "Read GPIO Error");
    user.click("BN_GPIO_Write");
    QCOMPARE(user.message(), "Write GPIO Error");
    user.click("RB_TX_HDCP_ON");
    QCOMPARE(user.message(), "Write GPIO Error");
    QCOMPARE(journalOperations(), (QStringList{"AT_GPIO_Get_Param", "AT_GPIO_Set_Param", "AT_SetHDMI_HDCP_OnOff"}));
  }

  void eachClickOnTheHdcpSwitchIsSent() {
    const QString message = user.message();
    for (const char* button : {"RB_TX_HDCP_OFF", "RB_TX_HDCP_OFF", "RB_TX_HDCP_ON", "RB_TX_HDCP_ON"}) {
      user.click(button);
    }
    simulator::failCall("AT_SetHDMI_HDCP_OnOff", 5, -1);
    user.click("RB_TX_HDCP_OFF");
    QCOMPARE(journalCalls(),
             (QStringList{"AT_SetHDMI_HDCP_OnOff(0)", "AT_SetHDMI_HDCP_OnOff(0)", "AT_SetHDMI_HDCP_OnOff(1)",
                          "AT_SetHDMI_HDCP_OnOff(1)", "AT_SetHDMI_HDCP_OnOff(0)"}));
    QCOMPARE(user.message(), message);
  }

  // The video page does this when it shows the device's state.
  void aSwitchMovedByTheProgramIsNotSent() {
    user.widget<QRadioButton>("RB_TX_HDCP_ON").setChecked(true);
    user.widget<QRadioButton>("RB_TX_HDCP_OFF").setChecked(true);
    QVERIFY(QMetaObject::invokeMethod(&window(), "slotTx_HDCP_Ctrl"));
    QCOMPARE(journalCalls(), QStringList());
  }
};

QTEST_MAIN(GpioPageTest)
#include "gpio_page_test.moc"
