#include "ui_main_window.h"

#include <QMap>
#include <QTest>

#include <array>

namespace {

struct Told {
  const char* widget;
  const char* text;
};

/// What a screen reader adds to controls whose caption is not enough.
constexpr auto kDescriptions = std::to_array<Told>({
    {"BN_Info_Read", "Read the receiver's state"},
    {"BN_SN_Read", "Read the serial number"},
    {"BN_SN_Set", "Set the serial number"},
    {"BN_Browse_Key", "HDCP Key: choose the key file and send it to the device"},
    {"lineEdit_ExtMcu_Path", "Ext MCU"},
    {"BN_Browse_ExtMCU", "Ext MCU: choose the firmware file"},
    {"BN_Apply_ExtMCU", "Ext MCU: send the firmware to the device"},
    {"lineEdit_Cap_Path", "Capture Updated"},
    {"BN_Browse_Cap", "Capture Updated: choose the firmware file"},
    {"BN_Apply_CapMCU", "Capture Updated: send the firmware to the device"},
    {"lineEdit_ExtMcu_Path_QX", "Main Updated"},
    {"BN_Browse_ExtMCU_QX", "Main Updated: choose the firmware file"},
    {"BN_Apply_ExtMCU_QX", "Main Updated: send the firmware to the device"},
    {"lineEdit_Cap_Path_QX", "Capture Updated"},
    {"BN_Browse_Cap_QX", "Capture Updated: choose the firmware file"},
    {"BN_Apply_CapMCU_QX", "Capture Updated: send the firmware to the device"},
    {"label_RX_HDCP", "RX/TX HDCP status"},
    {"label_TX_HDCP", "RX/TX HDCP status"},
    {"CB_EDID_Mode", "EDID mode"},
    {"CB_FlashEDID_List", "Flash EDID"},
    {"CB_Current_FlashEDID_List", "Flash EDID Index"},
    {"CB_FlashEDID_List_2", "Write Flash EDID Table"},
    {"BN_I2C_Read", "I2C Read/Write"},
    {"BN_I2C_Write", "I2C Read/Write"},
    {"BN_GPIO_Read", "GPIO Read/Write"},
    {"BN_GPIO_Write", "GPIO Read/Write"},
    {"CB_GPIO_INDEX", "GPIO"},
    {"CB_DeviceType", "Device type"},
});

/// Names of values that have no caption of their own. All others are named as their captions.
constexpr auto kNames = std::to_array<Told>({
    {"label_TX_UVC_Format", "UVC Output Timming, pixel format"},
    {"CB_DeviceType", "Device type"},
});

}  // namespace

/// The texts of the form that are read aloud and never shown.
class FormDescriptionsTest : public QObject {
  Q_OBJECT

  QMainWindow window_;

 private slots:
  void initTestCase() {
    Ui_MainWindow form{};
    form.setupUi(&window_);
  }

  void everyDescriptionIsTheOneOfTheTable() {
    QMap<QString, QString> expected;
    for (const auto& [widget, text] : kDescriptions) {
      expected[widget] = text;
    }
    QMap<QString, QString> descriptions;
    for (const QWidget* const widget : window_.findChildren<QWidget*>()) {
      if (!widget->accessibleDescription().isEmpty()) {
        descriptions[widget->objectName()] = widget->accessibleDescription();
      }
    }
    QCOMPARE(descriptions, expected);
  }

  void valuesWithoutACaptionHaveNames() {
    for (const auto& [widget, text] : kNames) {
      const auto* const found = window_.findChild<QWidget*>(widget);
      QVERIFY2(found != nullptr, widget);
      QCOMPARE(found->accessibleName(), QString(text));
    }
  }
};

QTEST_MAIN(FormDescriptionsTest)
#include "form_descriptions_test.moc"
