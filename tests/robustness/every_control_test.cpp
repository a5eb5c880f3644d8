#include "app/main_window.h"
#include "device/operations.h"
#include "simulator/control/control.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/journal.h"
#include "tests/support/window_driver.h"

#include <QAbstractSlider>
#include <QFile>
#include <QMap>
#include <QMenuBar>
#include <QPointer>
#include <QRadioButton>
#include <QSet>
#include <QSpinBox>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <functional>

namespace {

/// A window on a fresh simulated device, and files to choose.
class Bench {
 public:
  explicit Bench(bool connected) {
    simulator::reset();
    simulator::useVirtualTime();
    if (connected) {
      user.click("BN_Connect");
    }
    simulator::clearJournal();
  }

  QString file(const char* name, const QByteArray& content = "content") const {
    QFile file(directory_.filePath(QLatin1String(name)));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
      qFatal("%s", qPrintable(file.errorString()));
    }
    return file.fileName();
  }

  /// Presses a button that asks for a file.
  void clickAndChoose(const QString& button, const QString& path) const {
    DialogAnswers answers;
    answers.chooseFile(path);
    user.click(button);
    if (answers.fileDialogs().size() != 1) {
      complaints_ << button + " has not asked for one file";
    }
  }

  /// Presses a button that starts a worker and lets the worker end.
  void clickAndWait(const QString& button) const {
    user.click(button);
    const auto workers = window_.findChildren<QThread*>(QString(), Qt::FindDirectChildrenOnly);
    if (workers.size() != 1) {
      complaints_ << button + " has not started one worker";
      return;
    }
    const QPointer<QThread> worker = workers.last();
    if (!QTest::qWaitFor([&worker] { return worker.isNull(); }, 60'000)) {
      complaints_ << "the worker of " + button + " does not end";
    }
  }

  void type(const QString& lineEdit, const QString& text) const {
    auto& field = user.widget<QLineEdit>(lineEdit);
    field.selectAll();
    QTest::keyClicks(&field, text);
  }

  void slide(const QString& slider, int value) const { user.widget<QAbstractSlider>(slider).setValue(value); }
  void spin(const QString& spinBox, int value) const { user.widget<QSpinBox>(spinBox).setValue(value); }

  /// The calls so far, with the folder of the bench's files as "DIR", and what
  /// else went wrong.
  QStringList calls() const { return journalCalls().replaceInStrings(directory_.path(), "DIR") + complaints_; }

 private:
  mutable QStringList complaints_;
  QTemporaryDir directory_;
  MainWindow window_;

 public:
  WindowDriver user{window_};
};

/// One control, what is done to it, and all calls that follow from it.
struct Step {
  const char* control;
  std::function<void(const Bench&)> act;
  QStringList calls;
  bool connected = true;
};

// The open session is on the first model, and the other one is not plugged in.
const QStringList kOtherModel{"closePort()", "initialize()", "setDevice(0, 0, 0x5C19, 0x6B02)", "uninitialize()"};

QVector<Step> steps() {
  QVector<Step> all;
  const auto add = [&all](const char* control, const std::function<void(const Bench&)>& act,
                          const QStringList& calls = {}) {
    all << Step{control, act, calls};
  };
  const auto addClick = [&add](const char* button, const QStringList& calls) {
    add(
        button, [button](const Bench& bench) { bench.user.click(button); }, calls);
  };
  const auto addTyping = [&add](const char* lineEdit) {
    add(lineEdit, [lineEdit](const Bench& bench) { bench.type(lineEdit, "12"); });
  };

  // Beside the pages.
  all << Step{"BN_Connect",
              [](const Bench& bench) { bench.user.click("BN_Connect"); },
              {"initialize()", "setDevice(0, 0, 0x5C19, 0x6B03)", "openPort()", "AT_Get_Customer_Ver()",
               "AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, [02], 1)", "AT_Get_UVC_Name(100)",
               "AT_USB_Get_iManufacturer(64)", "AT_USB_Get_iProduct(64)"},
              false};
  add(
      "CB_DeviceType",
      [](const Bench& bench) {
        bench.user.choose("CB_DeviceType", "KVR-5B");
        bench.user.click("BN_Connect");
      },
      kOtherModel);
  addTyping("Edit_VID");
  addTyping("Edit_PID");
  add("qt_tabwidget_tabbar", [](const Bench& bench) {
    bench.user.widget<QTabBar>("qt_tabwidget_tabbar").setCurrentIndex(1);
    bench.user.widget<QTabBar>("qt_tabwidget_tabbar").setCurrentIndex(0);
  });

  // RX Info.
  addClick("BN_Info_Read", {"AT_HdmiRX_GetRawTimingInfo()"});

  // Both System pages.
  addClick("BN_SN_Read", {"AT_USB_Get_SerialNum(100)"});
  addTyping("lineEdit_SN");
  add("BN_SN_Set",
      [](const Bench& bench) {
        bench.type("lineEdit_SN", " SN7 ");
        bench.user.click("BN_SN_Set");
      },
      {"AT_USB_Set_SerialNum([20 53 4E 37 20], 5)"});
  add("BN_Browse_Key", [](const Bench& bench) { bench.clickAndChoose("BN_Browse_Key", bench.file("key.bin")); },
      {"burnHDCP(\"DIR/key.bin\")"});
  addTyping("lineEdit_KeyPath");
  for (const char* button : {"BN_Browse_ExtMCU", "BN_Browse_ExtMCU_QX"}) {
    add(button, [button](const Bench& bench) { bench.clickAndChoose(button, bench.file("mcu.bin")); });
  }
  for (const auto& [browse, apply] :
       {std::pair("BN_Browse_ExtMCU", "BN_Apply_ExtMCU"), std::pair("BN_Browse_ExtMCU_QX", "BN_Apply_ExtMCU_QX")}) {
    // The MCU does not take the reset: the upgrade itself has its own tests.
    add(apply,
        [browse = browse, apply = apply](const Bench& bench) {
          bench.clickAndChoose(browse, bench.file("mcu.bin"));
          simulator::failCall("AT_System_Send_ExternalMCU_cmd", 1, -1);
          bench.clickAndWait(apply);
        },
        {"AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, [00], 1)", "AT_System_Send_ExternalMCU_cmd(3, 0x0D, 2, [08 01])"});
  }
  addTyping("lineEdit_ExtMcu_Path");
  addTyping("lineEdit_ExtMcu_Path_QX");
  for (const char* button : {"BN_Browse_Cap", "BN_Browse_Cap_QX"}) {
    add(button, [button](const Bench& bench) { bench.clickAndChoose(button, bench.file("capture.img")); });
  }
  for (const auto& [browse, apply] :
       {std::pair("BN_Browse_Cap", "BN_Apply_CapMCU"), std::pair("BN_Browse_Cap_QX", "BN_Apply_CapMCU_QX")}) {
    add(apply,
        [browse = browse, apply = apply](const Bench& bench) {
          bench.clickAndChoose(browse, bench.file("capture.img", "firmware for KVR-7"));
          bench.clickAndWait(apply);
        },
        {"burnToFlash(\"DIR/capture.img\")"});
  }
  addTyping("lineEdit_Cap_Path");
  addTyping("lineEdit_Cap_Path_QX");
  addClick("BN_Apply_Reset", {"AT_RestoreToDefault()"});
  addClick("BN_Apply_Reboot", {"AT_Set_System_Reboot()"});

  // Video Ctrl.
  addClick("RB_Src_HDMI", {"AT_Input_Source_Switch([00])"});
  addClick("RB_Src_DP", {"AT_Input_Source_Switch([01])"});
  addClick("BN_RX_HPD_ON", {"AT_HdmiRX_Set_HPD(1)"});
  addClick("BN_RX_HPD_OFF", {"AT_HdmiRX_Set_HPD(0)"});
  addClick("BN_Video_Read", {"AT_Get_Current_Input_Source()", "AT_HdmiTX_Get_HPD_Status()",
                             "AT_UVC_Get_Output_Timing()", "AT_UVC_Get_VideoFormat()", "AT_Get_RX_TX_HDCP_Version()"});

  // Audio Ctrl.
  addClick("BN_Audio_Read",
           {"AT_Audio_Get_HdmiRX_AudioFormat()", "AT_Audio_Get_HdmiRX_AudioSamplingRate()",
            "AT_Audio_Get_HdmiDPRX_VolumeGain()", "AT_Audio_Get_DACHP_Mute()", "AT_Audio_Get_HPOUTgain()"});
  add("HS_HDMIRX_GAIN", [](const Bench& bench) { bench.slide("HS_HDMIRX_GAIN", -72); },
      {"AT_Audio_Set_HdmiDPRX_VolumeGain(-72)"});
  add("HS_HPOUT_GAIN", [](const Bench& bench) { bench.slide("HS_HPOUT_GAIN", 12); }, {"AT_Audio_Set_HPOUTgain(12)"});
  add("SB_HDMIRX_GAIN", [](const Bench& bench) { bench.spin("SB_HDMIRX_GAIN", 30); });
  add("SB_HPOUT_GAIN", [](const Bench& bench) { bench.spin("SB_HPOUT_GAIN", 30); });
  add("CB_DACHP_MUTE",
      [](const Bench& bench) {
        bench.user.click("CB_DACHP_MUTE");
        bench.user.click("CB_DACHP_MUTE");
      },
      {"AT_Audio_Set_DACHP_Mute(1)", "AT_Audio_Set_DACHP_Mute(0)"});

  // EDID.
  addClick("BN_EDID_Read", {"AT_EDID_Get_EDID_mode()", "AT_EDID_Flash_Get_Default_table()"});
  add("CB_EDID_Mode", [](const Bench& bench) { bench.user.choose("CB_EDID_Mode", "Mixed default and TX"); },
      {"AT_EDID_Set_EDID_mode(3)"});
  add("CB_Current_FlashEDID_List", [](const Bench& bench) { bench.user.choose("CB_Current_FlashEDID_List", "6"); },
      {"AT_EDID_Flash_Set_Default_table(6)"});
  const auto addSave = [&add](const char* control, const char* button, const char* call,
                              const std::function<void(const Bench&)>& before) {
    add(control,
        [button, before](const Bench& bench) {
          before(bench);
          bench.clickAndChoose(button, bench.file("table.bin"));
        },
        {call});
  };
  addSave("BN_Apply_ReadTxEDID", "BN_Apply_ReadTxEDID", "AT_EDID_Get_TX_table(256)", [](const Bench&) {});
  addSave("BN_Apply_ReadFlashEDID", "BN_Apply_ReadFlashEDID", "AT_EDID_Flash_Get_table(0, 256)", [](const Bench&) {});
  addSave("BN_Apply_Read_DDC_EDID", "BN_Apply_Read_DDC_EDID", "AT_EDID_DDC_Get_RX_table(256)", [](const Bench&) {});
  addSave("CB_FlashEDID_List", "BN_Apply_ReadFlashEDID", "AT_EDID_Flash_Get_table(5, 256)",
          [](const Bench& bench) { bench.user.choose("CB_FlashEDID_List", "5"); });
  addSave("RB_TX_EDID_384", "BN_Apply_ReadTxEDID", "AT_EDID_Get_TX_table(384)",
          [](const Bench& bench) { bench.user.click("RB_TX_EDID_384"); });
  addSave("RB_TX_EDID_512", "BN_Apply_Read_DDC_EDID", "AT_EDID_DDC_Get_RX_table(512)",
          [](const Bench& bench) { bench.user.click("RB_TX_EDID_512"); });
  addSave("RB_TX_EDID_256", "BN_Apply_ReadTxEDID", "AT_EDID_Get_TX_table(256)", [](const Bench& bench) {
    bench.user.click("RB_TX_EDID_512");
    bench.user.click("RB_TX_EDID_256");
  });
  add("BN_Apply_WriteFlashEDID",
      [](const Bench& bench) { bench.clickAndChoose("BN_Apply_WriteFlashEDID", bench.file("table.bin", "EDID")); },
      {"AT_EDID_Flash_Set_table(0, [45 44 49 44], 4)"});
  add("CB_FlashEDID_List_2",
      [](const Bench& bench) {
        bench.user.choose("CB_FlashEDID_List_2", "6");
        bench.clickAndChoose("BN_Apply_WriteFlashEDID", bench.file("table.bin", "EDID"));
      },
      {"AT_EDID_Flash_Set_table(6, [45 44 49 44], 4)"});

  // Debug.
  const auto addI2c = [&add](const char* control, const char* call, const std::function<void(const Bench&)>& act) {
    add(control,
        [act](const Bench& bench) {
          bench.type("lineEdit_I2C_Addr", "A0");
          bench.type("lineEdit_I2C_Reg", "10");
          bench.type("lineEdit_I2C_Value", "1234");
          act(bench);
        },
        {call});
  };
  addI2c("BN_I2C_Read", "AT_System_Get_ExternalMCU_cmd(3, 0x50, 1, [10], 1)",
         [](const Bench& bench) { bench.user.click("BN_I2C_Read"); });
  addI2c("BN_I2C_Write", "AT_System_Send_ExternalMCU_cmd(3, 0x50, 3, [10 12 34])",
         [](const Bench& bench) { bench.user.click("BN_I2C_Write"); });
  addI2c("lineEdit_I2C_Addr", "AT_System_Send_ExternalMCU_cmd(3, 0x48, 3, [10 12 34])", [](const Bench& bench) {
    bench.type("lineEdit_I2C_Addr", "90");
    bench.user.click("BN_I2C_Write");
  });
  addI2c("lineEdit_I2C_Reg", "AT_System_Send_ExternalMCU_cmd(3, 0x50, 4, [01 00 12 34])", [](const Bench& bench) {
    bench.type("lineEdit_I2C_Reg", "100");
    bench.user.click("BN_I2C_Write");
  });
  addI2c("lineEdit_I2C_Value", "AT_System_Send_ExternalMCU_cmd(3, 0x50, 2, [10 56])", [](const Bench& bench) {
    bench.type("lineEdit_I2C_Value", "56");
    bench.user.click("BN_I2C_Write");
  });
  for (const auto& [button, call] :
       {std::pair("RB_I2C_Read_1B", "AT_System_Get_ExternalMCU_cmd(3, 0x50, 1, [10], 1)"),
        std::pair("RB_I2C_Read_2B", "AT_System_Get_ExternalMCU_cmd(3, 0x50, 1, [10], 2)"),
        std::pair("RB_I2C_Read_3B", "AT_System_Get_ExternalMCU_cmd(3, 0x50, 1, [10], 3)"),
        std::pair("RB_I2C_Read_4B", "AT_System_Get_ExternalMCU_cmd(3, 0x50, 1, [10], 4)")}) {
    addI2c(button, call, [button = button](const Bench& bench) {
      bench.user.click(button);
      bench.user.click("BN_I2C_Read");
    });
  }
  addClick("BN_GPIO_Read", {"AT_GPIO_Get_Param(0, 0)"});
  addClick("BN_GPIO_Write", {"AT_GPIO_Set_Param(0, 0, 0)"});
  add("CB_GPIO_INDEX",
      [](const Bench& bench) {
        bench.user.choose("CB_GPIO_INDEX", "GPIO13");
        bench.user.click("BN_GPIO_Read");
      },
      {"AT_GPIO_Get_Param(0, 13)"});
  add("RB_GPIO_MISC",
      [](const Bench& bench) {
        bench.user.click("RB_GPIO_MISC");
        bench.user.click("BN_GPIO_Read");
      },
      {"AT_GPIO_Get_Param(1, 0)"});
  add("RB_GPIO_ISO",
      [](const Bench& bench) {
        bench.user.click("RB_GPIO_MISC");
        bench.user.click("RB_GPIO_ISO");
        bench.user.click("BN_GPIO_Read");
      },
      {"AT_GPIO_Get_Param(0, 0)"});
  add("lineEdit_GPIO_Value",
      [](const Bench& bench) {
        bench.type("lineEdit_GPIO_Value", "1F");
        bench.user.click("BN_GPIO_Write");
      },
      {"AT_GPIO_Set_Param(0, 0, 31)"});
  addClick("RB_TX_HDCP_ON", {"AT_SetHDMI_HDCP_OnOff(1)"});
  addClick("RB_TX_HDCP_OFF", {"AT_SetHDMI_HDCP_OnOff(0)"});
  return all;
}

}  // namespace

/// Presses every button and moves every control of all seven pages.
class EveryControlTest : public QObject {
  Q_OBJECT

 private slots:
  void aControlMakesTheseCalls_data() {
    QTest::addColumn<int>("step");
    const QVector<Step> all = steps();
    for (int i = 0; i < all.size(); ++i) {
      QTest::newRow(all[i].control) << i;
    }
  }

  void aControlMakesTheseCalls() {
    QFETCH(int, step);
    const Step taken = steps().at(step);
    const Bench bench(taken.connected);
    taken.act(bench);
    QCOMPARE(bench.calls(), taken.calls);
  }

  void noControlIsLeftOut() {
    QSet<QString> stepped;
    for (const Step& step : steps()) {
      QVERIFY2(!stepped.contains(step.control), step.control);
      stepped << step.control;
    }
    const MainWindow window;
    QSet<QString> controls;
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
      const bool isControl = qobject_cast<const QAbstractButton*>(widget) != nullptr ||
                             qobject_cast<const QComboBox*>(widget) != nullptr ||
                             qobject_cast<const QAbstractSlider*>(widget) != nullptr ||
                             qobject_cast<const QAbstractSpinBox*>(widget) != nullptr ||
                             qobject_cast<const QLineEdit*>(widget) != nullptr ||
                             qobject_cast<const QTabBar*>(widget) != nullptr;
      // Qt's own parts of a widget (a spin box's field, a combo box's list) are none.
      const QWidget* ancestor = widget->parentWidget();
      while (ancestor != nullptr && qobject_cast<const QComboBox*>(ancestor) == nullptr &&
             qobject_cast<const QAbstractSpinBox*>(ancestor) == nullptr &&
             qobject_cast<const QTabBar*>(ancestor) == nullptr && qobject_cast<const QMenuBar*>(ancestor) == nullptr) {
        ancestor = ancestor->parentWidget();
      }
      if (isControl && ancestor == nullptr) {
        controls << widget->objectName();
      }
    }
    QCOMPARE(QStringList((controls - stepped).values()), QStringList());
    QCOMPARE(QStringList((stepped - controls).values()), QStringList());
  }

  // Prints which operation was called by which controls.
  void everyOperationIsCalled() {
    QMap<QString, QStringList> callers;
    for (const Step& step : steps()) {
      const Bench bench(step.connected);
      step.act(bench);
      for (const QString& call : bench.calls()) {
        callers[call.section('(', 0, 0)] << QStringLiteral("%1 by %2").arg(call, step.control);
      }
    }
    QStringList operations;
    for (const device::OperationDescription& operation : device::kOperations) {
      operations << operation.name.data();
    }
    QCOMPARE(operations.size(), 44);
    QStringList called = callers.keys();
    called.sort();
    operations.sort();
    for (int i = 0; i < called.size(); ++i) {
      qInfo("%2d  %s", i + 1, qPrintable(callers[called[i]].join("\n    ")));
    }
    QCOMPARE(called, operations);
  }
};

QTEST_MAIN(EveryControlTest)
#include "every_control_test.moc"
