#include "ui_main_window.h"

#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionGroupBox>
#include <QTabBar>
#include <QTranslator>
#include <QtTest>

#include <algorithm>
#include <iterator>
#include <optional>

namespace {

struct WidgetRow {
  const char* name;
  const char* className;
  const char* parent;
  const char* text;  // nullptr: a widget without a caption or an initial text
};

// All widgets of the form, in the order they are created.
constexpr WidgetRow kWidgets[] = {
    {"centralwidget", "QWidget", "MainWindow", nullptr},
    {"label", "QLabel", "centralwidget", "VID:"},
    {"label_2", "QLabel", "centralwidget", "PID:"},
    {"Edit_VID", "QLineEdit", "centralwidget", "2E57"},
    {"Edit_PID", "QLineEdit", "centralwidget", "A64D"},
    {"tabWidget", "QTabWidget", "centralwidget", nullptr},
    {"tab", "QWidget", "tabWidget", nullptr},
    {"BN_Info_Read", "QPushButton", "tab", "Read"},
    {"label_3", "QLabel", "tab", "Scan mode : "},
    {"label_4", "QLabel", "tab", "Horizontal Total : "},
    {"label_5", "QLabel", "tab", "Vertical Total : "},
    {"label_6", "QLabel", "tab", "Horizontal Active : "},
    {"label_7", "QLabel", "tab", "Vertical Active : "},
    {"label_8", "QLabel", "tab", "Horizontal Start : "},
    {"label_9", "QLabel", "tab", "Vertical Start : "},
    {"label_10", "QLabel", "tab", "Horizontal Freq : "},
    {"label_11", "QLabel", "tab", "Vertical Freq : "},
    {"label_12", "QLabel", "tab", "TMDS Clock : "},
    {"label_13", "QLabel", "tab", "PllPixelClockx1024 : "},
    {"label_25", "QLabel", "tab", "HSyncPulse : "},
    {"label_26", "QLabel", "tab", "VSyncPulse : "},
    {"label_27", "QLabel", "tab", "mode : "},
    {"label_28", "QLabel", "tab", "Color Space : "},
    {"label_29", "QLabel", "tab", "Color Depth : "},
    {"label_30", "QLabel", "tab", "Color Range : "},
    {"label_31", "QLabel", "tab", "Colorimetry : "},
    {"label_32", "QLabel", "tab", "Ext Colorimetry : "},
    {"label_33", "QLabel", "tab", "HDCP : "},
    {"label_34", "QLabel", "tab", "HDR mode : "},
    {"label_SCAN", "QLabel", "tab", "N/A"},
    {"label_HTotal", "QLabel", "tab", "N/A"},
    {"label_VTotal", "QLabel", "tab", "N/A"},
    {"label_HActive", "QLabel", "tab", "N/A"},
    {"label_VActive", "QLabel", "tab", "N/A"},
    {"label_HS", "QLabel", "tab", "N/A"},
    {"label_VS", "QLabel", "tab", "N/A"},
    {"label_HFreq", "QLabel", "tab", "N/A"},
    {"label_VFreq", "QLabel", "tab", "N/A"},
    {"label_TMDS", "QLabel", "tab", "N/A"},
    {"label_PCLK1024", "QLabel", "tab", "N/A"},
    {"label_HSP", "QLabel", "tab", "N/A"},
    {"label_VSP", "QLabel", "tab", "N/A"},
    {"label_HDMI_MODE", "QLabel", "tab", "N/A"},
    {"label_CS", "QLabel", "tab", "N/A"},
    {"label_CD", "QLabel", "tab", "N/A"},
    {"label_CR", "QLabel", "tab", "N/A"},
    {"label_CM", "QLabel", "tab", "N/A"},
    {"label_CM2", "QLabel", "tab", "N/A"},
    {"label_HDCP", "QLabel", "tab", "N/A"},
    {"label_HDR", "QLabel", "tab", "N/A"},
    {"tab_2", "QWidget", "tabWidget", nullptr},
    {"lineEdit_SN", "QLineEdit", "tab_2", nullptr},
    {"label_14", "QLabel", "tab_2", "Serial Number"},
    {"BN_SN_Read", "QPushButton", "tab_2", "Read"},
    {"BN_SN_Set", "QPushButton", "tab_2", "Set"},
    {"GB_HDCP_Key", "QGroupBox", "tab_2", "HDCP Key"},
    {"label_16", "QLabel", "GB_HDCP_Key", "Key Path"},
    {"lineEdit_KeyPath", "QLineEdit", "GB_HDCP_Key", nullptr},
    {"BN_Browse_Key", "QPushButton", "GB_HDCP_Key", "Browse"},
    {"GB_ExtMCU_Upgrade", "QGroupBox", "tab_2", "Ext MCU"},
    {"label_17", "QLabel", "GB_ExtMCU_Upgrade", "Firmware Path"},
    {"lineEdit_ExtMcu_Path", "QLineEdit", "GB_ExtMCU_Upgrade", nullptr},
    {"BN_Browse_ExtMCU", "QPushButton", "GB_ExtMCU_Upgrade", "Browse"},
    {"BN_Apply_ExtMCU", "QPushButton", "GB_ExtMCU_Upgrade", "Start"},
    {"BN_Apply_Reboot", "QPushButton", "tab_2", "Reboot"},
    {"label_UVC_NAME", "QLabel", "tab_2", "N/A"},
    {"label_39", "QLabel", "tab_2", "UVC :"},
    {"label_42", "QLabel", "tab_2", "iManufacturer : "},
    {"label_IManufacturer", "QLabel", "tab_2", "N/A"},
    {"label_IProduct", "QLabel", "tab_2", "N/A"},
    {"label_43", "QLabel", "tab_2", "iProduct : "},
    {"BN_Apply_Reset", "QPushButton", "tab_2", "Restore"},
    {"GB_RTD2801_QX_2", "QGroupBox", "tab_2", "Capture Updated"},
    {"label_48", "QLabel", "GB_RTD2801_QX_2", "Firmware Path"},
    {"lineEdit_Cap_Path", "QLineEdit", "GB_RTD2801_QX_2", nullptr},
    {"BN_Browse_Cap", "QPushButton", "GB_RTD2801_QX_2", "Browse"},
    {"BN_Apply_CapMCU", "QPushButton", "GB_RTD2801_QX_2", "Start"},
    {"tab_3", "QWidget", "tabWidget", nullptr},
    {"GB_ExtMCU_Upgrade_QX", "QGroupBox", "tab_3", "Main Updated"},
    {"label_21", "QLabel", "GB_ExtMCU_Upgrade_QX", "Firmware Path"},
    {"lineEdit_ExtMcu_Path_QX", "QLineEdit", "GB_ExtMCU_Upgrade_QX", nullptr},
    {"BN_Browse_ExtMCU_QX", "QPushButton", "GB_ExtMCU_Upgrade_QX", "Browse"},
    {"BN_Apply_ExtMCU_QX", "QPushButton", "GB_ExtMCU_Upgrade_QX", "Start"},
    {"logo", "QLabel", "tab_3", ""},
    {"GB_RTD2801_QX", "QGroupBox", "tab_3", "Capture Updated"},
    {"label_23", "QLabel", "GB_RTD2801_QX", "Firmware Path"},
    {"lineEdit_Cap_Path_QX", "QLineEdit", "GB_RTD2801_QX", nullptr},
    {"BN_Browse_Cap_QX", "QPushButton", "GB_RTD2801_QX", "Browse"},
    {"BN_Apply_CapMCU_QX", "QPushButton", "GB_RTD2801_QX", "Start"},
    {"label_24", "QLabel", "tab_3", "Firmware Version ( Capture) :"},
    {"lb_FW_VER_QX", "QLabel", "tab_3", "N/A"},
    {"label_35", "QLabel", "tab_3", "Firmware Version ( Main) :"},
    {"lb_Main_VER_QX", "QLabel", "tab_3", "N/A"},
    {"VideoTab", "QWidget", "tabWidget", nullptr},
    {"groupBox_2", "QGroupBox", "VideoTab", "Input  Source"},
    {"RB_Src_HDMI", "QRadioButton", "groupBox_2", "HDMI"},
    {"RB_Src_DP", "QRadioButton", "groupBox_2", "DP"},
    {"BN_Video_Read", "QPushButton", "VideoTab", "Read"},
    {"GB_TX_HPD", "QGroupBox", "VideoTab", "TX HPD status"},
    {"label_TX_HPD", "QLabel", "GB_TX_HPD", "N/A"},
    {"GB_TX_OutputTimming", "QGroupBox", "VideoTab", "UVC Output Timming"},
    {"label_TX_OutputTimming", "QLabel", "GB_TX_OutputTimming", "N/A"},
    {"label_TX_UVC_Format", "QLabel", "GB_TX_OutputTimming", "N/A"},
    {"GB_RX_HPD", "QGroupBox", "VideoTab", "RX HPD control"},
    {"BN_RX_HPD_ON", "QPushButton", "GB_RX_HPD", "On"},
    {"BN_RX_HPD_OFF", "QPushButton", "GB_RX_HPD", "Off"},
    {"GB_TRX_HDCP_Status", "QGroupBox", "VideoTab", "RX/TX HDCP status"},
    {"label_RX_HDCP", "QLabel", "GB_TRX_HDCP_Status", "N/A"},
    {"label_44", "QLabel", "GB_TRX_HDCP_Status", "RX : "},
    {"label_TX_HDCP", "QLabel", "GB_TRX_HDCP_Status", "N/A"},
    {"label_46", "QLabel", "GB_TRX_HDCP_Status", "TX : "},
    {"AudioTab", "QWidget", "tabWidget", nullptr},
    {"label_36", "QLabel", "AudioTab", "Audio Format : "},
    {"label_AudioFormat", "QLabel", "AudioTab", "N/A"},
    {"BN_Audio_Read", "QPushButton", "AudioTab", "Read"},
    {"label_37", "QLabel", "AudioTab", "Audio SamplingRate : "},
    {"label_AudioSample", "QLabel", "AudioTab", "N/A"},
    {"GB_Audio_HPOUT_gain", "QGroupBox", "AudioTab", "HP Output gain"},
    {"HS_HPOUT_GAIN", "QSlider", "GB_Audio_HPOUT_gain", nullptr},
    {"SB_HPOUT_GAIN", "QSpinBox", "GB_Audio_HPOUT_gain", nullptr},
    {"CB_DACHP_MUTE", "QCheckBox", "GB_Audio_HPOUT_gain", "DAC HP MUTE"},
    {"GB_Audio_HPOUT_gain_2", "QGroupBox", "AudioTab", "HDMI DP RX Volume Gain"},
    {"HS_HDMIRX_GAIN", "QSlider", "GB_Audio_HPOUT_gain_2", nullptr},
    {"SB_HDMIRX_GAIN", "QSpinBox", "GB_Audio_HPOUT_gain_2", nullptr},
    {"EDIDtab", "QWidget", "tabWidget", nullptr},
    {"label_38", "QLabel", "EDIDtab", "EDID mode"},
    {"CB_EDID_Mode", "QComboBox", "EDIDtab", nullptr},
    {"BN_EDID_Read", "QPushButton", "EDIDtab", "Read"},
    {"GB_EDID_ReadTX", "QGroupBox", "EDIDtab", "Get EDID"},
    {"BN_Apply_ReadTxEDID", "QPushButton", "GB_EDID_ReadTX", "TX EDID"},
    {"RB_TX_EDID_256", "QRadioButton", "GB_EDID_ReadTX", "256bytes"},
    {"RB_TX_EDID_384", "QRadioButton", "GB_EDID_ReadTX", "384bytes"},
    {"RB_TX_EDID_512", "QRadioButton", "GB_EDID_ReadTX", "512bytes"},
    {"BN_Apply_ReadFlashEDID", "QPushButton", "GB_EDID_ReadTX", "Flash EDID"},
    {"CB_FlashEDID_List", "QComboBox", "GB_EDID_ReadTX", nullptr},
    {"BN_Apply_Read_DDC_EDID", "QPushButton", "GB_EDID_ReadTX", "DDC EDID"},
    {"label_45", "QLabel", "EDIDtab", "Flash EDID Index"},
    {"CB_Current_FlashEDID_List", "QComboBox", "EDIDtab", nullptr},
    {"GB_EDID_WriteFlash", "QGroupBox", "EDIDtab", "Write Flash EDID Table"},
    {"BN_Apply_WriteFlashEDID", "QPushButton", "GB_EDID_WriteFlash", "Write"},
    {"CB_FlashEDID_List_2", "QComboBox", "GB_EDID_WriteFlash", nullptr},
    {"DebugTab", "QWidget", "tabWidget", nullptr},
    {"groupBox", "QGroupBox", "DebugTab", "I2C Read/Write"},
    {"label_18", "QLabel", "groupBox", "Address 0x"},
    {"lineEdit_I2C_Addr", "QLineEdit", "groupBox", nullptr},
    {"lineEdit_I2C_Reg", "QLineEdit", "groupBox", nullptr},
    {"label_19", "QLabel", "groupBox", "Register 0x"},
    {"label_20", "QLabel", "groupBox", "Value 0x"},
    {"lineEdit_I2C_Value", "QLineEdit", "groupBox", nullptr},
    {"BN_I2C_Read", "QPushButton", "groupBox", "Read"},
    {"BN_I2C_Write", "QPushButton", "groupBox", "Write"},
    {"RB_I2C_Read_1B", "QRadioButton", "groupBox", "1 Byte"},
    {"RB_I2C_Read_2B", "QRadioButton", "groupBox", "2 Byte"},
    {"RB_I2C_Read_3B", "QRadioButton", "groupBox", "3 Byte"},
    {"RB_I2C_Read_4B", "QRadioButton", "groupBox", "4 Byte"},
    {"GB_GPIO_RW", "QGroupBox", "DebugTab", "GPIO Read/Write"},
    {"label_40", "QLabel", "GB_GPIO_RW", "GPIO"},
    {"label_41", "QLabel", "GB_GPIO_RW", "Value"},
    {"lineEdit_GPIO_Value", "QLineEdit", "GB_GPIO_RW", nullptr},
    {"BN_GPIO_Read", "QPushButton", "GB_GPIO_RW", "Read"},
    {"BN_GPIO_Write", "QPushButton", "GB_GPIO_RW", "Write"},
    {"RB_GPIO_ISO", "QRadioButton", "GB_GPIO_RW", "ISO"},
    {"RB_GPIO_MISC", "QRadioButton", "GB_GPIO_RW", "MISC"},
    {"CB_GPIO_INDEX", "QComboBox", "GB_GPIO_RW", nullptr},
    {"GB_SET_TX_HDCP", "QGroupBox", "DebugTab", "RX/TX HDCP Enable"},
    {"RB_TX_HDCP_ON", "QRadioButton", "GB_SET_TX_HDCP", "HDCP On"},
    {"RB_TX_HDCP_OFF", "QRadioButton", "GB_SET_TX_HDCP", "HDCP Off"},
    {"BN_Connect", "QPushButton", "centralwidget", "Connect"},
    {"label_15", "QLabel", "centralwidget", "Message:"},
    {"LB_Message", "QLabel", "centralwidget", ""},
    {"CB_DeviceType", "QComboBox", "centralwidget", nullptr},
    {"menubar", "QMenuBar", "MainWindow", nullptr},
    {"statusbar", "QStatusBar", "MainWindow", nullptr},
};

struct PageRow {
  const char* name;
  const char* caption;
};

constexpr PageRow kPages[] = {
    {"tab", "RX Info"},         {"tab_2", "System"}, {"tab_3", "System"},   {"VideoTab", "Video Ctrl"},
    {"AudioTab", "Audio Ctrl"}, {"EDIDtab", "EDID"}, {"DebugTab", "Debug"},
};

// A place that is fixed; the size is given where it is fixed, too.
struct PlaceRow {
  const char* name = nullptr;
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

constexpr PlaceRow kPlaces[] = {
    {"tabWidget", 10, 100, 651, 561},
    {"CB_DeviceType", 10, 20, 141, 22},
    {"Edit_VID", 50, 60, 60, 20},
    {"Edit_PID", 160, 60, 60, 20},
    {"BN_Connect", 250, 60, 91, 21},
    {"label_15", 20, 670, 51, 16},
    {"LB_Message", 70, 670, 411, 16},
    {"menubar", 0, 0, 668, 20},

    {"BN_Info_Read", 300, 420},
    {"label_3", 20, 40},
    {"label_4", 20, 70},
    {"label_5", 20, 100},
    {"label_6", 20, 130},
    {"label_7", 20, 160},
    {"label_8", 20, 190},
    {"label_9", 20, 220},
    {"label_10", 20, 250},
    {"label_11", 20, 280},
    {"label_12", 20, 310},
    {"label_13", 20, 340},
    {"label_25", 260, 40},
    {"label_26", 260, 70},
    {"label_27", 260, 100},
    {"label_28", 260, 130},
    {"label_29", 260, 160},
    {"label_30", 260, 190},
    {"label_31", 260, 220},
    {"label_32", 260, 250},
    {"label_33", 260, 280},
    {"label_34", 260, 310},
    {"label_SCAN", 130, 40},
    {"label_HTotal", 130, 70},
    {"label_VTotal", 130, 100},
    {"label_HActive", 130, 130},
    {"label_VActive", 130, 160},
    {"label_HS", 130, 190},
    {"label_VS", 130, 220},
    {"label_HFreq", 130, 250},
    {"label_VFreq", 130, 280},
    {"label_TMDS", 130, 310},
    {"label_PCLK1024", 130, 340},
    {"label_HSP", 360, 40},
    {"label_VSP", 360, 70},
    {"label_HDMI_MODE", 360, 100},
    {"label_CS", 360, 130},
    {"label_CD", 360, 160},
    {"label_CR", 360, 190},
    {"label_CM", 360, 220},
    {"label_CM2", 360, 250},
    {"label_HDCP", 360, 280},
    {"label_HDR", 360, 310},

    {"GB_HDCP_Key", 20, 70, 441, 121},
    {"lineEdit_KeyPath", 20, 50, 401, 20},
    {"BN_Browse_Key", 350, 80, 71, 31},
    {"GB_ExtMCU_Upgrade", 20, 200, 441, 121},
    {"lineEdit_ExtMcu_Path", 20, 50, 401, 20},
    {"BN_Browse_ExtMCU", 270, 80, 71, 31},
    {"BN_Apply_ExtMCU", 350, 80, 71, 31},
    {"GB_RTD2801_QX_2", 20, 330, 441, 121},
    {"lineEdit_Cap_Path", 20, 50, 401, 20},
    {"BN_Browse_Cap", 270, 80, 71, 31},
    {"BN_Apply_CapMCU", 350, 80, 71, 31},
    {"label_UVC_NAME", 540, 30, 221, 16},

    {"GB_ExtMCU_Upgrade_QX", 10, 10, 441, 121},
    {"GB_RTD2801_QX", 10, 140, 441, 121},
    {"logo", 90, 440, 295, 60},
    {"label_35", 30, 280},
    {"label_24", 30, 310},
    {"lb_Main_VER_QX", 210, 280, 261, 0},
    {"lb_FW_VER_QX", 210, 310, 261, 0},

    {"BN_Video_Read", 670, 30, 80, 31},

    {"BN_Audio_Read", 670, 30, 80, 31},
    {"GB_Audio_HPOUT_gain", 30, 160, 241, 91},
    {"HS_HPOUT_GAIN", 10, 30, 160, 16},
    {"SB_HPOUT_GAIN", 190, 30, 42, 22},
    {"GB_Audio_HPOUT_gain_2", 30, 90, 241, 61},
    {"HS_HDMIRX_GAIN", 10, 30, 160, 16},
    {"SB_HDMIRX_GAIN", 190, 30, 42, 22},

    {"BN_EDID_Read", 680, 20, 80, 31},

    {"BN_I2C_Read", 250, 130},
    {"BN_I2C_Write", 150, 130},
};

struct LengthRow {
  const char* name;
  int length;
};

constexpr int kQtDefaultLength = 32767;

constexpr LengthRow kMaximumLengths[] = {
    {"Edit_VID", 4},
    {"Edit_PID", kQtDefaultLength},
    {"lineEdit_SN", 16},
    {"lineEdit_KeyPath", 200},
    {"lineEdit_ExtMcu_Path", 200},
    {"lineEdit_Cap_Path", 200},
    {"lineEdit_ExtMcu_Path_QX", 200},
    {"lineEdit_Cap_Path_QX", 200},
    {"lineEdit_I2C_Addr", 16},
    {"lineEdit_I2C_Reg", 16},
    {"lineEdit_I2C_Value", 16},
    {"lineEdit_GPIO_Value", 16},
};

struct LongestText {
  const char* name;
  const char* text;
};

// The widest text that each widget ever has to show.
constexpr LongestText kLongestTexts[] = {
    {"LB_Message", "HdmiRX_GetRawTimingInfo  [fail]"},
    {"label_SCAN", "progressive"},
    {"label_HTotal", "65535"},
    {"label_VTotal", "65535"},
    {"label_HActive", "65535"},
    {"label_VActive", "65535"},
    {"label_HS", "65535"},
    {"label_VS", "65535"},
    {"label_HFreq", "65535"},
    {"label_VFreq", "65535"},
    {"label_TMDS", "65535"},
    {"label_PCLK1024", "4294967295"},
    {"label_HSP", "65535"},
    {"label_VSP", "65535"},
    {"label_HDMI_MODE", "HDMI 1.4/2.0"},
    {"label_CS", "YUV444"},
    {"label_CD", "16bit"},
    {"label_CR", "Unknow"},
    {"label_CM", "255"},
    {"label_CM2", "255"},
    {"label_HDCP", "HDCP2.2/2.3"},
    {"label_HDR", "Dolby Vision Low Latency"},
    {"lb_Main_VER_QX", "v15.15"},
    {"lb_FW_VER_QX", "Get Capture Version [fail]"},
    {"label_TX_HPD", "Active"},
    {"label_TX_OutputTimming", "4294967295x4294967295@42949672"},
    {"label_TX_UVC_Format", "MJPEG"},
    {"label_RX_HDCP", "HDCP2.2/2.3"},
    {"label_TX_HDCP", "HDCP2.2/2.3"},
    {"label_AudioFormat", "TRUEHD_ATMOS"},
    {"label_AudioSample", "No Audio"},
    {"CB_DeviceType", "KVR-5B"},
    {"CB_EDID_Mode", "Mixed default and TX"},
    {"CB_Current_FlashEDID_List", "6"},
    {"CB_FlashEDID_List", "6"},
    {"CB_FlashEDID_List_2", "6"},
    {"CB_GPIO_INDEX", "GPIO13"},
    {"Edit_VID", "5C19"},
    {"Edit_PID", "6B03"},
    {"lineEdit_SN", "DDDDDDDDDDDDDDDD"},
    {"label_IManufacturer", "Example Video Systems and Capture Devices Manufacturing Co., Ltd"},
    {"label_IProduct", "Example Video Systems and Capture Devices Manufacturing Co., Ltd"},
    {"lineEdit_I2C_Addr", "FF"},
    {"lineEdit_I2C_Reg", "DDDDDDDD"},
    {"lineEdit_I2C_Value", "DDDDDDDD"},
    {"lineEdit_GPIO_Value", "255"},
    {"SB_HDMIRX_GAIN", "-72"},
    {"SB_HPOUT_GAIN", "-72"},
};

// These stand outside their page, or run past its edge, on purpose.
const QStringList kOutsideTheirPage = {QStringLiteral("BN_Video_Read"), QStringLiteral("BN_Audio_Read"),
                                       QStringLiteral("BN_EDID_Read"), QStringLiteral("label_UVC_NAME")};

// What the given places leave too little room for, and from which font on.
struct CutOff {
  const char* name;
  int fromPixelSize;
};

constexpr CutOff kUnavoidablyCutOff[] = {
    {"label_15", 12},        // 51 pixels for "Message:"; enough in narrower fonts, as those of Windows
    {"SB_HDMIRX_GAIN", 14},  // 42 pixels, of which the arrows take half
    {"SB_HPOUT_GAIN", 14},   // likewise
};

bool mayBeCutOff(const char* name, int pixelSize) {
  return std::any_of(std::begin(kUnavoidablyCutOff), std::end(kUnavoidablyCutOff), [&](const CutOff& known) {
    return qstrcmp(known.name, name) == 0 && pixelSize >= known.fromPixelSize;
  });
}

QString latin1(const char* text) { return QString::fromLatin1(text); }

// A property "text" or "title" as it is written in the form; null if there is
// none.
QString captionOf(const QWidget& widget) {
  const QVariant title = widget.property("title");
  return title.isValid() ? title.toString() : widget.property("text").toString();
}

// The form's own widgets below this one, depth first, each parent's in their
// order of creation; what Qt's own widgets are made of is left out.
QStringList namesBelow(const QObject& parent) {
  QStringList names;
  // The current page was raised, which puts it last among its siblings.
  if (const auto* tabs = qobject_cast<const QTabWidget*>(&parent)) {
    for (int index = 0; index < tabs->count(); ++index) {
      names << tabs->widget(index)->objectName() << namesBelow(*tabs->widget(index));
    }
    return names;
  }
  for (const QObject* child : parent.children()) {
    if (!child->isWidgetType()) {
      continue;
    }
    const QString name = child->objectName();
    if (!name.isEmpty() && !name.startsWith(QLatin1String("qt_"))) {
      names << name;
    }
    names << namesBelow(*child);
  }
  return names;
}

// Where a widget shows something. A label's indent stays blank: captions that
// are wider than their column reach into it.
QRect shownArea(const QWidget& widget) {
  const auto* label = qobject_cast<const QLabel*>(&widget);
  return label ? widget.geometry().adjusted(qMax(0, label->indent()), 0, 0, 0) : widget.geometry();
}

// What a line edit keeps free in front of its text.
constexpr int kLineEditMargin = 2;

// The room that a widget's style leaves for its text.
QSize roomForText(const QWidget& widget) {
  if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
    return label->contentsRect().adjusted(qMax(0, label->indent()), 0, 0, 0).size();
  }
  const QStyle& style = *widget.style();
  if (qobject_cast<const QPushButton*>(&widget)) {
    QStyleOptionButton option;
    option.initFrom(&widget);
    return style.subElementRect(QStyle::SE_PushButtonContents, &option, &widget).size();
  }
  if (qobject_cast<const QRadioButton*>(&widget) || qobject_cast<const QCheckBox*>(&widget)) {
    QStyleOptionButton option;
    option.initFrom(&widget);
    const auto contents =
        qobject_cast<const QRadioButton*>(&widget) ? QStyle::SE_RadioButtonContents : QStyle::SE_CheckBoxContents;
    return style.subElementRect(contents, &option, &widget).size();
  }
  if (qobject_cast<const QComboBox*>(&widget)) {
    QStyleOptionComboBox option;
    option.initFrom(&widget);
    return style.subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &widget).size();
  }
  if (const auto* spinBox = qobject_cast<const QSpinBox*>(&widget)) {
    return spinBox->findChild<QLineEdit*>()->contentsRect().adjusted(kLineEditMargin, 0, 0, 0).size();
  }
  if (qobject_cast<const QLineEdit*>(&widget)) {
    QStyleOptionFrame option;
    option.initFrom(&widget);
    option.lineWidth = style.pixelMetric(QStyle::PM_DefaultFrameWidth, &option, &widget);
    return style.subElementRect(QStyle::SE_LineEditContents, &option, &widget)
        .adjusted(kLineEditMargin, 0, 0, 0)
        .size();
  }
  return widget.size();
}

bool holds(const QWidget& widget, const QString& text) {
  const QFontMetrics metrics(widget.font());
  const QSize room = roomForText(widget);
  // The ink counts: neither the blank at a caption's end nor the air above its
  // letters needs room. Every style centres the line's box vertically.
  const int baseline = (room.height() - metrics.height()) / 2 + metrics.ascent();
  const QRect ink = metrics.tightBoundingRect(text).translated(0, baseline);
  return ink.right() < room.width() && ink.top() >= 0 && ink.bottom() < room.height();
}

// A window with a slot that is connected by its name alone.
class NamedSlotWindow : public QMainWindow {
  Q_OBJECT

 public:
  int infoReads = 0;

 private slots:
  void on_BN_Info_Read_clicked() { ++infoReads; }
};

// Answers each text with its context in front.
class ContextTranslator : public QTranslator {
 public:
  QString translate(const char* context, const char* sourceText, const char*, int) const override {
    return latin1(context) + QLatin1Char('/') + latin1(sourceText);
  }
  bool isEmpty() const override { return false; }
};

class FormTest : public QObject {
  Q_OBJECT

 private slots:
  void init();
  void cleanup();

  void windowHasItsNameTitleAndSize();
  void windowKeepsANameItHasAlready();
  void windowHoldsCentralWidgetMenuBarAndStatusBar();
  void formHasExactlyItsWidgetsInOrderOfCreation();
  void widgetHasItsClassParentAndText_data();
  void widgetHasItsClassParentAndText();
  void pagesStandInOrderAndTheSixthIsCurrent() const;
  void widgetStandsAtItsGivenPlace_data();
  void widgetStandsAtItsGivenPlace();
  void nothingIsLaidOutByALayout();
  void lineEditTakesAtMostItsLength_data();
  void lineEditTakesAtMostItsLength();
  void gainsHaveTheirRanges();
  void onlyTheDefaultChoicesAreChecked();
  void everyWidgetIsEnabledAndWritable();
  void comboBoxesAreEmpty();
  void identityCaptionsHaveNoFrame() const;
  void everyTextIsTranslatedInTheWindowsContext();
  void infoReadButtonIsConnectedByName();
  void noSiblingsOverlap();
  void widgetLiesWithinItsParent_data();
  void widgetLiesWithinItsParent();
  void noTextIsCutOff_data();
  void noTextIsCutOff();

 private:
  QWidget& widget(const char* name) const;

  std::optional<QMainWindow> window;
  Ui_MainWindow form{};
  QFont defaultFont;
};

void FormTest::init() {
  defaultFont = QApplication::font();
  window.emplace();
  form.setupUi(&*window);
}

void FormTest::cleanup() {
  window.reset();
  QApplication::setFont(defaultFont);
}

QWidget& FormTest::widget(const char* name) const {
  auto* found = window->findChild<QWidget*>(latin1(name));
  if (!found) {
    qFatal("no widget named %s", name);
  }
  return *found;
}

void FormTest::windowHasItsNameTitleAndSize() {
  QCOMPARE(window->objectName(), QStringLiteral("MainWindow"));
  QCOMPARE(window->windowTitle(), QStringLiteral("Pellavox v1.03"));
  QCOMPARE(window->size(), QSize(668, 737));
  window->show();
  QVERIFY(QTest::qWaitForWindowExposed(&*window));
  QCOMPARE(window->size(), QSize(668, 737));
}

void FormTest::windowKeepsANameItHasAlready() {
  QMainWindow named;
  named.setObjectName(QStringLiteral("Mine"));
  Ui_MainWindow().setupUi(&named);
  QCOMPARE(named.objectName(), QStringLiteral("Mine"));
}

void FormTest::windowHoldsCentralWidgetMenuBarAndStatusBar() {
  QCOMPARE(window->centralWidget(), form.centralwidget);
  QCOMPARE(window->menuBar(), form.menubar);
  QCOMPARE(window->statusBar(), form.statusbar);
  QVERIFY(form.menubar->actions().isEmpty());
  QVERIFY(form.statusbar->currentMessage().isEmpty());
}

void FormTest::formHasExactlyItsWidgetsInOrderOfCreation() {
  QStringList expected;
  for (const WidgetRow& row : kWidgets) {
    expected << latin1(row.name);
  }
  QCOMPARE(namesBelow(*window), expected);
}

void FormTest::widgetHasItsClassParentAndText_data() {
  QTest::addColumn<int>("index");
  for (std::size_t index = 0; index < std::size(kWidgets); ++index) {
    QTest::newRow(kWidgets[index].name) << static_cast<int>(index);
  }
}

void FormTest::widgetHasItsClassParentAndText() {
  QFETCH(int, index);
  const WidgetRow& row = kWidgets[index];
  const auto* found = window->findChild<QWidget*>(latin1(row.name));
  QVERIFY(found);
  QCOMPARE(found->metaObject()->className(), row.className);

  const QObject* parent = found->parent();
  if (parent->objectName() == QLatin1String("qt_tabwidget_stackedwidget")) {
    parent = parent->parent();
  }
  QCOMPARE(parent->objectName(), latin1(row.parent));

  if (row.text) {
    QCOMPARE(captionOf(*found), latin1(row.text));
  } else if (!qobject_cast<const QSpinBox*>(found)) {
    QVERIFY(captionOf(*found).isEmpty());
  }
}

void FormTest::pagesStandInOrderAndTheSixthIsCurrent() const {
  const QTabWidget& tabs = *form.tabWidget;
  QCOMPARE(tabs.count(), static_cast<int>(std::size(kPages)));
  for (int index = 0; index < tabs.count(); ++index) {
    QCOMPARE(tabs.widget(index)->objectName(), latin1(kPages[index].name));
    QCOMPARE(tabs.tabText(index), latin1(kPages[index].caption));
  }
  QCOMPARE(tabs.currentIndex(), 5);
}

void FormTest::widgetStandsAtItsGivenPlace_data() {
  QTest::addColumn<int>("index");
  for (std::size_t index = 0; index < std::size(kPlaces); ++index) {
    QTest::newRow(kPlaces[index].name) << static_cast<int>(index);
  }
}

void FormTest::widgetStandsAtItsGivenPlace() {
  QFETCH(int, index);
  const PlaceRow& place = kPlaces[index];
  const QRect actual = widget(place.name).geometry();
  QCOMPARE(actual.topLeft(), QPoint(place.x, place.y));
  if (place.width != 0) {
    QCOMPARE(actual.width(), place.width);
  }
  if (place.height != 0) {
    QCOMPARE(actual.height(), place.height);
  }
}

void FormTest::nothingIsLaidOutByALayout() {
  for (const WidgetRow& row : kWidgets) {
    // A status bar keeps a layout of its own.
    if (qstrcmp(row.name, "statusbar") != 0) {
      QVERIFY2(!widget(row.name).layout(), row.name);
    }
  }
}

void FormTest::lineEditTakesAtMostItsLength_data() {
  QTest::addColumn<int>("length");
  for (const LengthRow& row : kMaximumLengths) {
    QTest::newRow(row.name) << row.length;
  }
}

void FormTest::lineEditTakesAtMostItsLength() {
  QFETCH(int, length);
  const auto* edit = qobject_cast<QLineEdit*>(&widget(QTest::currentDataTag()));
  QVERIFY(edit);
  QCOMPARE(edit->maxLength(), length);
}

void FormTest::gainsHaveTheirRanges() {
  for (const QSlider* slider : {form.HS_HDMIRX_GAIN, form.HS_HPOUT_GAIN}) {
    QCOMPARE(slider->orientation(), Qt::Horizontal);
    QCOMPARE(slider->value(), 0);
  }
  QCOMPARE(form.HS_HDMIRX_GAIN->minimum(), -72);
  QCOMPARE(form.HS_HDMIRX_GAIN->maximum(), 30);
  QCOMPARE(form.HS_HPOUT_GAIN->minimum(), -50);
  QCOMPARE(form.HS_HPOUT_GAIN->maximum(), 12);
  for (const QSpinBox* spinBox : {form.SB_HDMIRX_GAIN, form.SB_HPOUT_GAIN}) {
    QCOMPARE(spinBox->minimum(), -72);
    QCOMPARE(spinBox->maximum(), 30);
    QCOMPARE(spinBox->value(), 0);
  }
}

void FormTest::onlyTheDefaultChoicesAreChecked() {
  QStringList checked;
  for (const WidgetRow& row : kWidgets) {
    const auto* button = qobject_cast<QAbstractButton*>(&widget(row.name));
    if (button && button->isChecked()) {
      checked << button->objectName();
    }
  }
  QCOMPARE(checked, QStringList({QStringLiteral("RB_TX_EDID_256"), QStringLiteral("RB_GPIO_ISO")}));
  QVERIFY(!form.CB_DACHP_MUTE->isTristate());
}

void FormTest::everyWidgetIsEnabledAndWritable() {
  for (const WidgetRow& row : kWidgets) {
    QVERIFY2(widget(row.name).isEnabled(), row.name);
    if (const auto* edit = qobject_cast<QLineEdit*>(&widget(row.name))) {
      QVERIFY2(!edit->isReadOnly(), row.name);
    }
  }
}

void FormTest::comboBoxesAreEmpty() {
  const QList<QComboBox*> boxes = window->findChildren<QComboBox*>();
  QCOMPARE(boxes.size(), 6);
  for (const QComboBox* box : boxes) {
    QCOMPARE(box->count(), 0);
  }
}

void FormTest::identityCaptionsHaveNoFrame() const {
  QCOMPARE(form.label_42->frameShape(), QFrame::NoFrame);
  QCOMPARE(form.label_43->frameShape(), QFrame::NoFrame);
}

void FormTest::everyTextIsTranslatedInTheWindowsContext() {
  form.LB_Message->setText(QStringLiteral("Device Connected"));
  form.logo->setText(QStringLiteral("logo"));
  ContextTranslator translator;
  QVERIFY(QCoreApplication::installTranslator(&translator));
  form.retranslateUi(&*window);
  QCoreApplication::removeTranslator(&translator);

  const QString context = QStringLiteral("MainWindow/");
  QCOMPARE(window->windowTitle(), context + QStringLiteral("Pellavox v1.03"));
  for (int index = 0; index < form.tabWidget->count(); ++index) {
    QCOMPARE(form.tabWidget->tabText(index), context + latin1(kPages[index].caption));
  }
  for (const WidgetRow& row : kWidgets) {
    if (qstrcmp(row.name, "Edit_VID") == 0) {
      QCOMPARE(form.Edit_VID->text(), context.left(form.Edit_VID->maxLength()));
    } else if (row.text) {
      const QString text = latin1(row.text);
      QCOMPARE(captionOf(widget(row.name)), text.isEmpty() ? QString() : context + text);
    }
  }
}

void FormTest::infoReadButtonIsConnectedByName() {
  NamedSlotWindow named;
  Ui_MainWindow namedForm{};
  namedForm.setupUi(&named);
  namedForm.BN_Info_Read->click();
  QCOMPARE(named.infoReads, 1);
}

void FormTest::noSiblingsOverlap() {
  for (std::size_t first = 0; first < std::size(kWidgets); ++first) {
    for (std::size_t second = first + 1; second < std::size(kWidgets); ++second) {
      const WidgetRow& one = kWidgets[first];
      const WidgetRow& other = kWidgets[second];
      // Pages cover each other by nature; the window places its own parts.
      if (qstrcmp(one.parent, other.parent) != 0 || qstrcmp(one.parent, "tabWidget") == 0 ||
          qstrcmp(one.parent, "MainWindow") == 0) {
        continue;
      }
      QVERIFY2(!shownArea(widget(one.name)).intersects(shownArea(widget(other.name))),
               qPrintable(latin1(one.name) + QStringLiteral(" and ") + latin1(other.name)));
    }
  }
}

void FormTest::widgetLiesWithinItsParent_data() {
  QTest::addColumn<int>("pixelSize");
  QTest::newRow("9 points at 96 dpi") << 12;
  QTest::newRow("10 points at 96 dpi") << 13;
  QTest::newRow("10 points at 100 dpi") << 14;
}

void FormTest::widgetLiesWithinItsParent() {
  QFETCH(int, pixelSize);
  QFont font = defaultFont;
  font.setPixelSize(pixelSize);
  QApplication::setFont(font);
  window->show();
  QVERIFY(QTest::qWaitForWindowExposed(&*window));

  for (const WidgetRow& row : kWidgets) {
    const QWidget& child = widget(row.name);
    const QWidget& parent = *child.parentWidget();
    if (kOutsideTheirPage.contains(child.objectName()) || &parent == &*window) {
      continue;
    }
    // A page has its size once it has been shown.
    for (int page = 0; page < form.tabWidget->count(); ++page) {
      if (form.tabWidget->widget(page)->isAncestorOf(&child)) {
        form.tabWidget->setCurrentIndex(page);
      }
    }
    QRect inside = parent.rect();
    if (qobject_cast<const QGroupBox*>(&parent)) {
      QStyleOptionGroupBox option;
      option.initFrom(&parent);
      option.text = captionOf(parent);
      option.lineWidth = 1;
      option.subControls = QStyle::SC_GroupBoxFrame | QStyle::SC_GroupBoxLabel;
      inside = parent.style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxContents, &parent);
    }
    QVERIFY2(inside.contains(child.geometry()), row.name);
  }
}

void FormTest::noTextIsCutOff_data() { widgetLiesWithinItsParent_data(); }

void FormTest::noTextIsCutOff() {
  QFETCH(int, pixelSize);
  QFont font = defaultFont;
  font.setPixelSize(pixelSize);
  QApplication::setFont(font);
  window->show();
  QVERIFY(QTest::qWaitForWindowExposed(&*window));
  for (int page = 0; page < form.tabWidget->count(); ++page) {
    form.tabWidget->setCurrentIndex(page);
  }

  QVERIFY(form.tabWidget->tabBar()->sizeHint().width() <= form.tabWidget->width());
  QStringList cutOff;
  for (const WidgetRow& row : kWidgets) {
    if (row.text && !holds(widget(row.name), latin1(row.text)) && !mayBeCutOff(row.name, pixelSize)) {
      cutOff << latin1(row.name);
    }
  }
  for (const LongestText& longest : kLongestTexts) {
    if (!holds(widget(longest.name), latin1(longest.text)) && !mayBeCutOff(longest.name, pixelSize)) {
      cutOff << latin1(longest.name);
    }
  }
  QVERIFY2(cutOff.isEmpty(), qPrintable(cutOff.join(QStringLiteral(", "))));
}

}  // namespace

QTEST_MAIN(FormTest)
#include "form_test.moc"
