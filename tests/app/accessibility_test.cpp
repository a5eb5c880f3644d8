#include "simulator/control/control.h"
#include "tests/support/window_fixture.h"

#include <QAccessible>
#include <QGroupBox>
#include <QTabWidget>
#include <QTest>

#include <array>
#include <set>
#include <utility>

namespace {

struct Named {
  const char* widget;
  const char* caption;  // the label, group box or button whose text names it
};

constexpr std::array kNamed{
    Named{"Edit_VID", "label"},
    Named{"Edit_PID", "label_2"},
    Named{"LB_Message", "label_15"},
    Named{"label_SCAN", "label_3"},
    Named{"label_HTotal", "label_4"},
    Named{"label_VTotal", "label_5"},
    Named{"label_HActive", "label_6"},
    Named{"label_VActive", "label_7"},
    Named{"label_HS", "label_8"},
    Named{"label_VS", "label_9"},
    Named{"label_HFreq", "label_10"},
    Named{"label_VFreq", "label_11"},
    Named{"label_TMDS", "label_12"},
    Named{"label_PCLK1024", "label_13"},
    Named{"label_HSP", "label_25"},
    Named{"label_VSP", "label_26"},
    Named{"label_HDMI_MODE", "label_27"},
    Named{"label_CS", "label_28"},
    Named{"label_CD", "label_29"},
    Named{"label_CR", "label_30"},
    Named{"label_CM", "label_31"},
    Named{"label_CM2", "label_32"},
    Named{"label_HDCP", "label_33"},
    Named{"label_HDR", "label_34"},
    Named{"lineEdit_SN", "label_14"},
    Named{"lineEdit_KeyPath", "label_16"},
    Named{"lineEdit_ExtMcu_Path", "label_17"},
    Named{"lineEdit_Cap_Path", "label_48"},
    Named{"label_UVC_NAME", "label_39"},
    Named{"label_IManufacturer", "label_42"},
    Named{"label_IProduct", "label_43"},
    Named{"lineEdit_ExtMcu_Path_QX", "label_21"},
    Named{"lineEdit_Cap_Path_QX", "label_23"},
    Named{"lb_FW_VER_QX", "label_24"},
    Named{"lb_Main_VER_QX", "label_35"},
    Named{"label_TX_HPD", "GB_TX_HPD"},
    Named{"label_TX_OutputTimming", "GB_TX_OutputTimming"},
    Named{"label_RX_HDCP", "label_44"},
    Named{"label_TX_HDCP", "label_46"},
    Named{"label_AudioFormat", "label_36"},
    Named{"label_AudioSample", "label_37"},
    Named{"HS_HPOUT_GAIN", "GB_Audio_HPOUT_gain"},
    Named{"SB_HPOUT_GAIN", "GB_Audio_HPOUT_gain"},
    Named{"HS_HDMIRX_GAIN", "GB_Audio_HPOUT_gain_2"},
    Named{"SB_HDMIRX_GAIN", "GB_Audio_HPOUT_gain_2"},
    Named{"CB_EDID_Mode", "label_38"},
    Named{"CB_Current_FlashEDID_List", "label_45"},
    Named{"CB_FlashEDID_List", "BN_Apply_ReadFlashEDID"},
    Named{"CB_FlashEDID_List_2", "GB_EDID_WriteFlash"},
    Named{"lineEdit_I2C_Addr", "label_18"},
    Named{"lineEdit_I2C_Reg", "label_19"},
    Named{"lineEdit_I2C_Value", "label_20"},
    Named{"CB_GPIO_INDEX", "label_40"},
    Named{"lineEdit_GPIO_Value", "label_41"},
};

constexpr std::array kPages{"tab", "tab_2", "tab_3", "VideoTab", "AudioTab", "EDIDtab", "DebugTab"};

const QStringList kTopOrder{"CB_DeviceType", "Edit_VID", "Edit_PID", "BN_Connect", "qt_tabwidget_tabbar"};

/// Reading order: lines from top to bottom, each from left to right; a group box is
/// read as a whole.
QStringList readingOrder(const QString& page) {
  if (page == "tab") {
    return {"BN_Info_Read"};
  }
  if (page == "tab_2") {
    return {"lineEdit_SN",          "BN_SN_Read",       "BN_SN_Set",       "lineEdit_KeyPath",  "BN_Browse_Key",
            "lineEdit_ExtMcu_Path", "BN_Browse_ExtMCU", "BN_Apply_ExtMCU", "lineEdit_Cap_Path", "BN_Browse_Cap",
            "BN_Apply_CapMCU",      "BN_Apply_Reset",   "BN_Apply_Reboot"};
  }
  if (page == "tab_3") {
    return {"lineEdit_ExtMcu_Path_QX", "BN_Browse_ExtMCU_QX", "BN_Apply_ExtMCU_QX",
            "lineEdit_Cap_Path_QX",    "BN_Browse_Cap_QX",    "BN_Apply_CapMCU_QX"};
  }
  if (page == "VideoTab") {
    return {"RB_Src_HDMI", "RB_Src_DP", "BN_RX_HPD_ON", "BN_RX_HPD_OFF", "BN_Video_Read"};
  }
  if (page == "AudioTab") {
    return {"HS_HDMIRX_GAIN", "SB_HDMIRX_GAIN", "HS_HPOUT_GAIN", "SB_HPOUT_GAIN", "CB_DACHP_MUTE", "BN_Audio_Read"};
  }
  if (page == "EDIDtab") {
    return {"CB_EDID_Mode",           "CB_Current_FlashEDID_List", "RB_TX_EDID_256",         "RB_TX_EDID_384",
            "RB_TX_EDID_512",         "BN_Apply_ReadTxEDID",       "BN_Apply_ReadFlashEDID", "CB_FlashEDID_List",
            "BN_Apply_Read_DDC_EDID", "BN_Apply_WriteFlashEDID",   "CB_FlashEDID_List_2",    "BN_EDID_Read"};
  }
  return {"lineEdit_I2C_Addr", "lineEdit_I2C_Reg", "lineEdit_I2C_Value",  "RB_I2C_Read_1B", "RB_I2C_Read_2B",
          "RB_I2C_Read_3B",    "RB_I2C_Read_4B",   "BN_I2C_Write",        "BN_I2C_Read",    "CB_GPIO_INDEX",
          "RB_GPIO_ISO",       "RB_GPIO_MISC",     "lineEdit_GPIO_Value", "BN_GPIO_Write",  "BN_GPIO_Read",
          "RB_TX_HDCP_ON",     "RB_TX_HDCP_OFF"};
}

/// A caption without its colon and surrounding blanks.
QString captionOf(const QWidget& widget) {
  const QVariant title = widget.property("title");
  QString caption = (title.isValid() ? title : widget.property("text")).toString().trimmed();
  if (caption.endsWith(':')) {
    caption.chop(1);
  }
  return caption.trimmed();
}

QString accessibleText(QWidget& widget, QAccessible::Text kind) {
  return QAccessible::queryAccessibleInterface(&widget)->text(kind);
}

}  // namespace

/// Accessible names and the Tab order.
class AccessibilityTest : public WindowTest {
  Q_OBJECT

 private slots:
  void everyFieldAndValueIsNamedByItsCaption_data() {
    QTest::addColumn<QString>("caption");
    for (const Named& named : kNamed) {
      QTest::newRow(named.widget) << named.caption;
    }
  }

  void everyFieldAndValueIsNamedByItsCaption() {
    QFETCH(QString, caption);
    auto& widget = user.widget<QWidget>(QTest::currentDataTag());
    const QString expected = captionOf(user.widget<QWidget>(caption));
    QVERIFY(!expected.isEmpty());
    QCOMPARE(widget.accessibleName(), expected);
    // On Linux, Qt names a list after the selected row.
    const bool isList = qobject_cast<const QComboBox*>(&widget) != nullptr;
    QCOMPARE(accessibleText(widget, isList ? QAccessible::Description : QAccessible::Name), expected);
  }

  void everyFieldAndValueKnowsItsCaption_data() { everyFieldAndValueIsNamedByItsCaption_data(); }

  void everyFieldAndValueKnowsItsCaption() {
    QFETCH(QString, caption);
    auto& widget = user.widget<QWidget>(QTest::currentDataTag());
    auto& captionWidget = user.widget<QWidget>(caption);
    if (qobject_cast<const QLabel*>(&widget) == nullptr) {
      return;  // a field takes nothing but its name from its caption
    }
    bool isTied = false;
    const QAccessibleInterface* const wanted = QAccessible::queryAccessibleInterface(&captionWidget);
    for (const auto& [told, kind] : QAccessible::queryAccessibleInterface(&widget)->relations(QAccessible::Label)) {
      isTied = isTied || told->object() == wanted->object();
    }
    QVERIFY(isTied);
  }

  void nothingThatCanBeUsedOrReadIsWithoutAName() {
    QStringList nameless;
    for (const char* const page : kPages) {
      for (QWidget* const widget : user.widget<QWidget>(page).findChildren<QWidget*>()) {
        const QString name = widget->objectName();
        if (name.isEmpty() || name.startsWith("qt_") || name == "logo") {
          continue;  // an internal part of a Qt widget
        }
        const auto* const label = qobject_cast<const QLabel*>(widget);
        // Values and widgets without a caption of their own need another widget's caption.
        const bool isValue = label != nullptr && label->text() == "N/A";
        if (accessibleText(*widget, QAccessible::Name).isEmpty() || (isValue && widget->accessibleName().isEmpty())) {
          nameless << name;
        }
      }
    }
    QCOMPARE(nameless, QStringList());
    QCOMPARE(accessibleText(user.widget<QWidget>("CB_DeviceType"), QAccessible::Description), "Device type");
    QCOMPARE(accessibleText(user.widget<QWidget>("BN_Connect"), QAccessible::Name), "Connect");
  }

  void aValueIsShownWithItsNameAndText() {
    user.click("BN_Connect");
    simulator::feedSignal(simulator::Input::kHdmi, "1080p60");
    user.click("BN_Info_Read");
    auto& label = user.widget<QLabel>("label_HTotal");
    QCOMPARE(label.text(), "2200");
    QAccessibleInterface* const told = QAccessible::queryAccessibleInterface(&label);
    QCOMPARE(told->role(), QAccessible::StaticText);
    QCOMPARE(told->text(QAccessible::Name), "Horizontal Total");
    QCOMPARE(told->text(QAccessible::Value), "2200");
    QAccessibleTextInterface* const text = told->textInterface();
    QVERIFY(text != nullptr);
    QCOMPARE(text->characterCount(), 4);
    QCOMPARE(text->text(0, 4), "2200");
    user.widget<QTabWidget>("tabWidget").setCurrentWidget(&user.widget<QWidget>("tab"));
    window().show();
    QVERIFY(!told->rect().isEmpty());
    QCOMPARE(text->characterRect(2), told->rect());
    QCOMPARE(text->offsetAtPoint(told->rect().center()), 0);
    QCOMPARE(text->offsetAtPoint(told->rect().bottomRight() + QPoint(9, 9)), -1);
    QCOMPARE(text->cursorPosition(), 0);
    int start = 9;
    int end = 9;
    text->selection(0, &start, &end);
    QVERIFY(start == 0 && end == 0);
    QCOMPARE(text->attributes(2, &start, &end), "");
    QVERIFY(start == 2 && end == 2);
    QCOMPARE(text->text(1, 3), "20");
    QCOMPARE(text->text(-5, 99), "2200");
    QCOMPARE(text->text(3, 1), "");
    QCOMPARE(text->selectionCount(), 0);
    QCOMPARE(accessibleText(user.widget<QLabel>("LB_Message"), QAccessible::Value), user.message());
    // A caption is its own accessible name.
    QCOMPARE(accessibleText(user.widget<QLabel>("label_4"), QAccessible::Name), "Horizontal Total : ");
  }

  void buttonsWithTheSameTextHaveDifferentNames() {
    for (const char* const page : kPages) {
      std::set<std::pair<QString, QString>> told;
      for (QAbstractButton* const button : user.widget<QWidget>(page).findChildren<QAbstractButton*>()) {
        const QString description = accessibleText(*button, QAccessible::Description);
        const bool isNew = told.emplace(button->text(), description).second;
        QVERIFY2(isNew, qPrintable(button->objectName()));
        if (button->text() == "Browse" || button->text() == "Start") {
          const auto* const box = qobject_cast<const QGroupBox*>(button->parentWidget());
          QVERIFY(box != nullptr);
          QVERIFY2(description.startsWith(box->title() + ": "), qPrintable(button->objectName()));
        }
      }
    }
  }

  void theTabKeyLeadsThroughAPageAsItIsRead_data() {
    QTest::addColumn<QString>("page");
    QTest::newRow("first page") << "tab";
    QTest::newRow("second page") << "tab_3";
  }

  void theTabKeyLeadsThroughAPageAsItIsRead() {
    QFETCH(QString, page);
    auto& tabs = user.widget<QTabWidget>("tabWidget");
    tabs.setCurrentWidget(&user.widget<QWidget>(page));
    window().show();
    QVERIFY(QTest::qWaitForWindowActive(&window()));
    auto& first = user.widget<QWidget>("CB_DeviceType");
    first.setFocus();
    QStringList visited;
    do {
      visited << window().focusWidget()->objectName();
      QTest::keyClick(window().focusWidget(), Qt::Key_Tab);
    } while (window().focusWidget() != &first && visited.size() < 50);
    QCOMPARE(visited, kTopOrder + readingOrder(page));
  }

  void theWidgetsOfEveryPageFollowOneAnotherAsTheyAreRead() {
    QStringList expected = kTopOrder;
    for (const char* const page : kPages) {
      expected << readingOrder(page);
    }
    QWidget* const first = &user.widget<QWidget>("CB_DeviceType");
    QStringList found;
    QWidget* widget = first;
    do {
      // Once around the focus chain, without the internal parts of Qt's widgets.
      if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget->focusProxy() == nullptr &&
          expected.contains(widget->objectName())) {
        found << widget->objectName();
      }
      widget = widget->nextInFocusChain();
    } while (widget != first);
    QCOMPARE(found, expected);
  }
};

QTEST_MAIN(AccessibilityTest)
#include "accessibility_test.moc"
