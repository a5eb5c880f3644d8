
#include "app/program_state.h"
#include "simulator/control/control.h"
#include "tests/support/journal.h"
#include "tests/support/main_window_test_access.h"
#include "tests/support/window_fixture.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <climits>

class MainWindowTest : public WindowTest {
  Q_OBJECT

 private slots:
  void theSlotsAndTheirOrderAreTheContract() {
    const QStringList expected{
        "slotUSB_Connect()",
        "on_BN_Info_Read_clicked()",
        "slotSerialNumRead()",
        "slotSerialNumSet()",
        "slotBrowseKeyPath()",
        "slotBrowseCapPath()",
        "slot_Load_ExtMcu_Upgrade_Path()",
        "slotExtMcuUpdate()",
        "slotCapMcuUpdate()",
        "slotRestore()",
        "slotReboot()",
        "soltSelectDeviceType(int)",
        "slotTimeoutExcute()",
        "slot_switchInputSrc()",
        "slot_Read_VideoInfo()",
        "slot_Set_RxHPD()",
        "slot_Read_AudioInfo()",
        "slot_setHDMIRX_Gain(int)",
        "slot_setHPOut_Gain(int)",
        "slot_CheckBoxStateChanged(int)",
        "slot_Read_EDID_Info()",
        "slot_Get_EDID()",
        "slotEDID_Set_ComboBox(int)",
        "slot_WriteFlashEDOD()",
        "slotI2C_Read()",
        "slotI2C_Write()",
        "slotGPIO_Read()",
        "slotGPIO_Write()",
        "slotTx_HDCP_Ctrl()",
    };
    const QMetaObject& meta = MainWindow::staticMetaObject;
    QStringList found;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
      QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
      found << QString::fromLatin1(meta.method(i).methodSignature());
    }
    QCOMPARE(found, expected);
    QCOMPARE(QByteArray(meta.superClass()->className()), QByteArray("QMainWindow"));
  }

  void restoreAndRebootReturnTheLibrarysStatus() {
    for (const char* signature : {"slotRestore()", "slotReboot()"}) {
      const QMetaObject& meta = MainWindow::staticMetaObject;
      QCOMPARE(meta.method(meta.indexOfSlot(signature)).returnType(), int{QMetaType::Int});
    }
  }

  void twoTabsAreLeft() {
    const auto& tabs = user.widget<QTabWidget>("tabWidget");
    QCOMPARE(tabs.count(), 2);
    QCOMPARE(tabs.widget(0)->objectName(), "tab");
    QCOMPARE(tabs.tabText(0), "RX Info");
    QCOMPARE(tabs.widget(1)->objectName(), "tab_3");
    QCOMPARE(tabs.tabText(1), "System");
    for (const char* page : {"tab_2", "VideoTab", "AudioTab", "EDIDtab", "DebugTab"}) {
      QVERIFY(window().findChild<QWidget*>(page) != nullptr);
    }
  }

  void titleAndSizeAreFixed() {
    QCOMPARE(window().windowTitle(), "Pellavox v1.03");
    QCOMPARE(window().size(), QSize(668, 737));
    QVERIFY(window().parent() == nullptr);
  }

  void idsAreThoseOfTheFirstDeviceAndReadOnly() {
    auto& vid = user.widget<QLineEdit>("Edit_VID");
    auto& pid = user.widget<QLineEdit>("Edit_PID");
    QCOMPARE(vid.text(), "5C19");
    QCOMPARE(pid.text(), "6B03");
    for (QLineEdit* field : {&vid, &pid}) {
      QVERIFY(field->isReadOnly());
      const QString before = field->text();
      QTest::keyClicks(field, "7");
      QCOMPARE(field->text(), before);
    }
  }

  void comboBoxesHoldTheirRows_data() {
    QTest::addColumn<QString>("comboBox");
    QTest::addColumn<QStringList>("rows");
    const QStringList edidSlots{"0", "1", "2", "3", "4", "5", "6"};
    QTest::newRow("device types") << "CB_DeviceType" << QStringList{"KVR-7", "KVR-5B"};
    QTest::newRow("EDID modes") << "CB_EDID_Mode"
                                << QStringList{"From Flash", "Follow TX", "Follow USB", "Mixed default and TX"};
    QTest::newRow("GPIO pins") << "CB_GPIO_INDEX"
                               << QStringList{"GPIO0", "GPIO1", "GPIO2", "GPIO3",  "GPIO4",  "GPIO5",  "GPIO6",
                                              "GPIO7", "GPIO8", "GPIO9", "GPIO10", "GPIO11", "GPIO12", "GPIO13"};
    QTest::newRow("EDID slot in use") << "CB_Current_FlashEDID_List" << edidSlots;
    QTest::newRow("EDID slot to read") << "CB_FlashEDID_List" << edidSlots;
    QTest::newRow("EDID slot to write") << "CB_FlashEDID_List_2" << edidSlots;
  }

  void comboBoxesHoldTheirRows() {
    QFETCH(QString, comboBox);
    QFETCH(QStringList, rows);
    const auto& box = user.widget<QComboBox>(comboBox);
    QStringList found;
    for (int i = 0; i < box.count(); ++i) {
      found << box.itemText(i);
    }
    QCOMPARE(found, rows);
    QCOMPARE(box.currentIndex(), 0);
  }

  void constructionAndDestructionTouchNoDevice() {
    window().show();
    QVERIFY(QTest::qWaitForWindowExposed(&window()));
    window().close();
    closeWindow();
    QCOMPARE(journalCalls(), QStringList());
  }

  void closingWhileConnectedMakesNoDeviceCall() {
    user.click("BN_Connect");
    QCOMPARE(user.message(), "Device Connected");
    simulator::clearJournal();
    closeWindow();
    QCOMPARE(journalCalls(), QStringList());
  }

  void slidersMoveTheirSpinBoxesAndNotTheOtherWayRound_data() {
    QTest::addColumn<QString>("slider");
    QTest::addColumn<QString>("spinBox");
    QTest::newRow("receiver gain") << "HS_HDMIRX_GAIN"
                                   << "SB_HDMIRX_GAIN";
    QTest::newRow("headphone gain") << "HS_HPOUT_GAIN"
                                    << "SB_HPOUT_GAIN";
  }

  void slidersMoveTheirSpinBoxesAndNotTheOtherWayRound() {
    QFETCH(QString, slider);
    QFETCH(QString, spinBox);
    auto& from = user.widget<QSlider>(slider);
    auto& to = user.widget<QSpinBox>(spinBox);
    from.setValue(-7);
    QCOMPARE(to.value(), -7);
    simulator::clearJournal();
    to.setValue(9);
    QCOMPARE(from.value(), -7);
    QCOMPARE(journalCalls(), QStringList());
  }

  // Each signal has exactly one connection, so that a button calls its slot once.
  void everySignalHasItsReceivers_data() {
    QTest::addColumn<QString>("sender");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<int>("receivers");
    const QByteArray clicked = SIGNAL(clicked());
    for (const char* button : {"BN_Connect",
                               "BN_Info_Read",
                               "BN_SN_Read",
                               "BN_SN_Set",
                               "BN_Browse_Key",
                               "BN_Browse_ExtMCU",
                               "BN_Apply_ExtMCU",
                               "BN_Browse_ExtMCU_QX",
                               "BN_Apply_ExtMCU_QX",
                               "BN_Browse_Cap_QX",
                               "BN_Apply_CapMCU_QX",
                               "BN_Browse_Cap",
                               "BN_Apply_CapMCU",
                               "BN_Apply_Reset",
                               "BN_Apply_Reboot",
                               "RB_Src_HDMI",
                               "RB_Src_DP",
                               "BN_Video_Read",
                               "BN_RX_HPD_ON",
                               "BN_RX_HPD_OFF",
                               "BN_Audio_Read",
                               "BN_EDID_Read",
                               "BN_Apply_ReadTxEDID",
                               "BN_Apply_ReadFlashEDID",
                               "BN_Apply_Read_DDC_EDID",
                               "BN_Apply_WriteFlashEDID",
                               "BN_I2C_Read",
                               "BN_I2C_Write",
                               "BN_GPIO_Read",
                               "BN_GPIO_Write",
                               "RB_TX_HDCP_ON",
                               "RB_TX_HDCP_OFF"}) {
      QTest::newRow(button) << button << clicked << 1;
    }
    QTest::newRow("HS_HDMIRX_GAIN") << "HS_HDMIRX_GAIN" << QByteArray(SIGNAL(valueChanged(int))) << 2;
    QTest::newRow("HS_HPOUT_GAIN") << "HS_HPOUT_GAIN" << QByteArray(SIGNAL(valueChanged(int))) << 2;
    QTest::newRow("CB_DACHP_MUTE") << "CB_DACHP_MUTE" << QByteArray(SIGNAL(stateChanged(int))) << 1;
    for (const char* box : {"CB_DeviceType", "CB_EDID_Mode", "CB_Current_FlashEDID_List"}) {
      QTest::newRow(box) << box << QByteArray(SIGNAL(currentIndexChanged(int))) << 1;
    }
    for (const char* box : {"CB_GPIO_INDEX", "CB_FlashEDID_List", "CB_FlashEDID_List_2"}) {
      QTest::newRow(box) << box << QByteArray(SIGNAL(currentIndexChanged(int))) << 0;
    }
    for (const char* button : {"RB_TX_EDID_256", "RB_TX_EDID_384", "RB_TX_EDID_512", "RB_I2C_Read_1B", "RB_I2C_Read_2B",
                               "RB_I2C_Read_3B", "RB_I2C_Read_4B", "RB_GPIO_ISO", "RB_GPIO_MISC"}) {
      QTest::newRow(button) << button << clicked << 0;
    }
  }

  void everySignalHasItsReceivers() {
    QFETCH(QString, sender);
    QFETCH(QByteArray, signal);
    QFETCH(int, receivers);
    struct Receivers : QObject {
      using QObject::receivers;
    };
    const auto* const widget = window().findChild<QWidget*>(sender);
    QVERIFY(widget != nullptr);
    QCOMPARE((widget->*(&Receivers::receivers))(signal.constData()), receivers);
  }

  void progressIsShownEveryHalfSecondUntilItExceeds99_data() {
    QTest::addColumn<int>("progress");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<bool>("goesOn");
    QTest::newRow("start") << 0 << "0%" << true;
    QTest::newRow("middle") << 37 << "37%" << true;
    QTest::newRow("99") << 99 << "99%" << true;
    QTest::newRow("100") << 100 << "100%" << false;
    QTest::newRow("over") << 101 << "101%" << false;
    QTest::newRow("largest") << INT_MAX << "2147483647%" << false;
    QTest::newRow("negative") << -1 << "-1%" << true;
    QTest::newRow("smallest") << INT_MIN << "-2147483648%" << true;
  }

  void progressIsShownEveryHalfSecondUntilItExceeds99() {
    QFETCH(int, progress);
    QFETCH(QString, shown);
    QFETCH(bool, goesOn);
    QTimer& timer = *MainWindowTestAccess::progressTimer(window());
    QCOMPARE(timer.interval(), 500);
    QVERIFY(!timer.isSingleShot());
    QVERIFY(!timer.isActive());
    QVERIFY(timer.parent() == nullptr);

    burnProgress = progress;
    timer.setInterval(0);
    timer.start();
    QTRY_COMPARE(user.message(), shown);
    QCOMPARE(timer.isActive(), goesOn);
    timer.stop();
  }
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
