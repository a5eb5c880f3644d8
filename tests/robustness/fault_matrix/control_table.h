#pragma once

#include <QString>
#include <QVector>

/// What the window must show when a call of the device library goes wrong: for
/// each control the calls that follow from it, in order, and for each call what
/// its failure and its answers do to the window. Whatever is not named here
/// keeps its state. Only data; control_runs.h makes runs of it.
namespace fault_matrix {

/// A widget and how it stands, as `WindowState` writes it: a text, "on" or
/// "off", a number, the chosen row's text. kSavedFile stands for the file that a
/// control writes. "DIR" is the folder of the test's files.
struct State {
  const char* widget;
  QString state;
};
using States = QVector<State>;

inline constexpr char kSavedFile[] = "(saved file)";

/// How a widget stands after a call that succeeded, by what the call wrote: the
/// device's own answer, only bytes of 0xFF, nothing. A null text: as before.
struct Shown {
  const char* widget;
  QString device;
  QString ones;
  QString untouched;
};

/// The same after each answer.
inline Shown always(const char* widget, const QString& state) { return {widget, state, state, state}; }

enum class Then { kStops, kGoesOn };

struct Call {
  const char* operation;
  /// The call fails: every status but 0, unless it returns a length.
  Then then = Then::kStops;
  States failure = {};
  /// A call made because of the failure.
  const char* cleanUp = nullptr;
  /// The call succeeds.
  QVector<Shown> shown = {};
  /// What is shown waits until the next call has succeeded, too.
  bool shownWithNext = false;
  /// A call that fails without a fault at the plug has left the library so that
  /// it refuses the next one.
  bool nextIsRefused = false;
  /// The device itself lets the call fail here.
  bool failsAnyway = false;
  /// The next call of the list is made only after these answers.
  struct Leads {
    bool device = true;
    bool ones = true;
    bool untouched = true;
  } leadsToNext = {};
  /// The widget that shows the text read, and how many of the characters of a
  /// text without end.
  const char* textWidget = nullptr;
  int longestText = 0;
  /// The result is the text's length, and a failure only when it is negative.
  bool returnsLength = false;
};

/// What the operator does.
struct Deed {
  enum class Kind { kClick, kChooseRow, kSlide, kChooseFile, kRunWorker } kind;
  const char* widget;
  QString value = {};
};

struct Control {
  const char* name;
  Deed deed;
  QVector<Call> calls;
  /// How widgets stand before, beyond the marks that every control starts from.
  States given = {};
  /// What the deed itself changes, whatever the device does.
  States moved = {};
  bool connected = true;
  /// An operation whose next call fails in each run.
  const char* failsBefore = nullptr;
};

inline Deed click(const char* button) { return {Deed::Kind::kClick, button}; }
inline States message(const char* text) { return {{"LB_Message", text}}; }

/// How the widgets that the device's answers go to stand before: other than the
/// device's answer, and than any answer made up here, wherever there is room.
/// Labels carry texts of their own.
inline const States kMarks{
    {"RB_Src_HDMI", "off"},         {"RB_Src_DP", "on"},
    {"RB_TX_HDCP_ON", "off"},       {"RB_TX_HDCP_OFF", "on"},
    {"HS_HDMIRX_GAIN", "-3"},       {"SB_HDMIRX_GAIN", "7"},
    {"HS_HPOUT_GAIN", "5"},         {"SB_HPOUT_GAIN", "8"},
    {"CB_EDID_Mode", "Follow USB"}, {"CB_Current_FlashEDID_List", "4"},
    {"lineEdit_SN", "SN 7"},        {"lineEdit_GPIO_Value", "1F"},
    {"CB_GPIO_INDEX", "GPIO13"},    {"RB_GPIO_ISO", "off"},
    {"RB_GPIO_MISC", "on"},         {"lineEdit_I2C_Addr", "90"},
    {"lineEdit_I2C_Reg", "2"},      {"lineEdit_I2C_Value", "1234"},
};

/// The device of these tests, other than the default where that is zero; its pin
/// 13 of group 1 reads 42.
inline constexpr char kScenario[] = R"({
  "audio": {"receiverGain": -20, "headphoneGain": 9},
  "edid": {"mode": "followTx", "defaultSlot": 5},
  "externalMcu": {"family": "v"}})";

inline QVector<Call> sessionCalls() {
  return {
      {.operation = "initialize",
       .failure = message("initialize SDK ...[fail]"),
       .shown = {always("LB_Message", "initialize SDK ...[OK]")}},
      {.operation = "setDevice",
       .failure = message("set Port...[Fail]"),
       .cleanUp = "uninitialize",
       .shown = {always("LB_Message", "set Port...[OK]")}},
      {.operation = "openPort",
       .failure = message("Open Port...[Fail]"),
       .cleanUp = "uninitialize",
       .shown = {always("LB_Message", "Device Connected")}},
  };
}

inline QVector<Call> identityCalls() {
  const QString replacements(128, QChar::ReplacementCharacter);
  const QString bytesOfFF(100, QChar(0xFF));
  return {
      {.operation = "AT_Get_Customer_Ver",
       .then = Then::kGoesOn,
       .failure = {{"lb_FW_VER_QX", "Get Capture Version [fail]"}},
       .shown = {{"lb_FW_VER_QX", "V1.03.07", replacements, ""}},
       .textWidget = "lb_FW_VER_QX",
       .longestText = 128},
      {.operation = "AT_System_Get_ExternalMCU_cmd",
       .then = Then::kGoesOn,
       .failure = {{"lb_Main_VER_QX", "v15.15"}},
       .shown = {{"lb_Main_VER_QX", "v1.2", "v15.15", "v0.0"}}},
      {.operation = "AT_Get_UVC_Name",
       .then = Then::kGoesOn,
       .failure = {{"lb_FW_VER_QX", "Get UVC name [fail]"}},
       .shown = {{"label_UVC_NAME", "KVR-7 Video", bytesOfFF, ""}},
       .textWidget = "label_UVC_NAME",
       .longestText = 100},
      {.operation = "AT_USB_Get_iManufacturer",
       .then = Then::kGoesOn,
       .failure = {{"lb_FW_VER_QX", "Get iManufacturer [fail]"}, {"label_IManufacturer", ""}},
       .shown = {always("label_IManufacturer", "Orvenhal")},
       .textWidget = "label_IManufacturer",
       .longestText = 64,
       .returnsLength = true},
      {.operation = "AT_USB_Get_iProduct",
       .then = Then::kGoesOn,
       .failure = {{"lb_FW_VER_QX", "Get iManufacturer [fail]"}, {"label_IProduct", ""}},
       .shown = {always("label_IProduct", "KVR-7")},
       .textWidget = "label_IProduct",
       .longestText = 64,
       .returnsLength = true},
  };
}

inline QVector<Control> sessionControls() {
  QVector<Call> unopened = sessionCalls();
  unopened[2].failsAnyway = true;
  QVector<Call> otherModel = sessionCalls().mid(0, 2);
  otherModel[1].failsAnyway = true;
  // The library does not initialise while a port is open.
  otherModel.prepend({.operation = "closePort", .then = Then::kGoesOn, .nextIsRefused = true});
  return {
      {.name = "BN_Connect",
       .deed = click("BN_Connect"),
       .calls = sessionCalls() + identityCalls(),
       .connected = false},
      {.name = "BN_Connect, port refused",
       .deed = click("BN_Connect"),
       .calls = unopened,
       .connected = false,
       .failsBefore = "openPort"},
      {.name = "BN_Connect, other model than plugged",
       .deed = click("BN_Connect"),
       .calls = otherModel,
       .given = {{"CB_DeviceType", "KVR-5B"}, {"Edit_PID", "6B02"}}},
  };
}

inline QVector<Control> rxInfoControls() {
  return {{.name = "BN_Info_Read",
           .deed = click("BN_Info_Read"),
           .calls = {{.operation = "AT_HdmiRX_GetRawTimingInfo",
                      .failure = message("HdmiRX_GetRawTimingInfo  [fail]"),
                      .shown = {
                          {"label_SCAN", "progressive", "interlace", "progressive"},
                          {"label_HTotal", "2200", "65535", "0"},
                          {"label_VTotal", "1125", "65535", "0"},
                          {"label_HActive", "1920", "65535", "0"},
                          {"label_VActive", "1080", "65535", "0"},
                          {"label_HS", "192", "65535", "0"},
                          {"label_VS", "41", "65535", "0"},
                          {"label_HFreq", "6750", "65535", "0"},
                          {"label_VFreq", "6000", "65535", "0"},
                          {"label_TMDS", "14850", "65535", "0"},
                          {"label_PCLK1024", "152064", "4294967295", "0"},
                          {"label_HSP", "5", "65535", "0"},
                          {"label_HDMI_MODE", "HDMI 1.4/2.0", "Unknow", "DVI"},
                          {"label_CS", "RGB", "YUV400", "RGB"},
                          {"label_CD", "8bit", "6bit", "8bit"},
                          {"label_CR", "limit", "Unknow", "default"},
                          {"label_CM", "0", "255", "0"},
                          {"label_CM2", "0", "255", "0"},
                          {"label_HDCP", "HDCP1.3/1.4", "HDCP Off", "None"},
                          {"label_HDR", "SDR", "Unknow", "SDR"},
                          always("LB_Message", "HdmiRX_GetRawTimingInfo  [OK]"),
                      }}}}};
}

inline QVector<Control> provisioningControls() {
  const Call burn{.operation = "burnToFlash",
                  .failure = message("Burn CAP...[Fail]"),
                  .shown = {always("LB_Message", "Burn CAP...[OK]")}};
  const States image{{"lineEdit_Cap_Path", "DIR/capture.img"}, {"lineEdit_Cap_Path_QX", "DIR/capture.img"}};
  return {
      {.name = "BN_SN_Read",
       .deed = click("BN_SN_Read"),
       // The field takes 16 characters.
       .calls = {{.operation = "AT_USB_Get_SerialNum",
                  .failure = message("Read Serial Number...[fail]"),
                  .shown = {{"lineEdit_SN", "OV7A00001234", QString(16, QChar(0xFF)), ""}},
                  .textWidget = "lineEdit_SN",
                  .longestText = 16}}},
      {.name = "BN_SN_Set",
       .deed = click("BN_SN_Set"),
       .calls = {{.operation = "AT_USB_Set_SerialNum",
                  .failure = message("Set Serial Number...[fail]"),
                  .shown = {always("LB_Message", "Set Serial Number...[OK]")}}}},
      {.name = "BN_Browse_Key",
       .deed = {Deed::Kind::kChooseFile, "BN_Browse_Key", "DIR/key.bin"},
       .calls = {{.operation = "burnHDCP",
                  .failure = message("Burn HDCP...[Fail]"),
                  .shown = {always("LB_Message", "Burn HDCP...[OK]")}}},
       .moved = {{"lineEdit_KeyPath", "DIR/key.bin"}}},
      {.name = "BN_Apply_CapMCU", .deed = {Deed::Kind::kRunWorker, "BN_Apply_CapMCU"}, .calls = {burn}, .given = image},
      {.name = "BN_Apply_CapMCU_QX",
       .deed = {Deed::Kind::kRunWorker, "BN_Apply_CapMCU_QX"},
       .calls = {burn},
       .given = image},
      {.name = "BN_Apply_Reset",
       .deed = click("BN_Apply_Reset"),
       .calls = {{.operation = "AT_RestoreToDefault"}},
       .moved = message("Restore to default")},
      {.name = "BN_Apply_Reboot", .deed = click("BN_Apply_Reboot"), .calls = {{.operation = "AT_Set_System_Reboot"}}},
  };
}

inline QVector<Control> videoControls() {
  return {
      {.name = "RB_Src_HDMI",
       .deed = click("RB_Src_HDMI"),
       .calls = {{.operation = "AT_Input_Source_Switch"}},
       .moved = {{"RB_Src_HDMI", "on"}, {"RB_Src_DP", "off"}}},
      {.name = "RB_Src_DP", .deed = click("RB_Src_DP"), .calls = {{.operation = "AT_Input_Source_Switch"}}},
      {.name = "BN_RX_HPD_ON", .deed = click("BN_RX_HPD_ON"), .calls = {{.operation = "AT_HdmiRX_Set_HPD"}}},
      {.name = "BN_RX_HPD_OFF", .deed = click("BN_RX_HPD_OFF"), .calls = {{.operation = "AT_HdmiRX_Set_HPD"}}},
      {.name = "BN_Video_Read",
       .deed = click("BN_Video_Read"),
       .calls =
           {
               {.operation = "AT_Get_Current_Input_Source",
                .failure = message("Read Input Source...[fail]"),
                .shown = {{"RB_Src_HDMI", "on", "off", "on"}, {"RB_Src_DP", "off", "on", "off"}}},
               {.operation = "AT_HdmiTX_Get_HPD_Status",
                .failure = message("Read HPD Status...[fail]"),
                .shown = {{"label_TX_HPD", "Active", "None", "None"}}},
               {.operation = "AT_UVC_Get_Output_Timing",
                .failure = message("Read Output Timming...[fail]"),
                .shown = {{"label_TX_OutputTimming", "1920x1080@60", "4294967295x4294967295@42949672", "0x0@0"}},
                .shownWithNext = true},
               {.operation = "AT_UVC_Get_VideoFormat",
                .failure = message("Read UVC Format...[fail]"),
                .shown = {{"label_TX_UVC_Format", "YUYV", "N/A", "N/A"}}},
               {.operation = "AT_Get_RX_TX_HDCP_Version",
                .failure = message("Read HDCP status...[fail]"),
                .shown = {{"label_RX_HDCP", "HDCP1.3/1.4", "HDCP OFF", "No HDCP"},
                          {"label_TX_HDCP", "HDCP1.3/1.4", "HDCP OFF", "No HDCP"},
                          {"RB_TX_HDCP_ON", "on", "off", "off"},
                          {"RB_TX_HDCP_OFF", "off", "on", "on"}}},
           }},
      {.name = "RB_TX_HDCP_ON",
       .deed = click("RB_TX_HDCP_ON"),
       .calls = {{.operation = "AT_SetHDMI_HDCP_OnOff"}},
       .moved = {{"RB_TX_HDCP_ON", "on"}, {"RB_TX_HDCP_OFF", "off"}}},
      {.name = "RB_TX_HDCP_OFF", .deed = click("RB_TX_HDCP_OFF"), .calls = {{.operation = "AT_SetHDMI_HDCP_OnOff"}}},
  };
}

/// @param echo when a mute that differs from the box's is sent back to the device
inline QVector<Call> audioReadCalls(const Call::Leads& echo) {
  return {
      {.operation = "AT_Audio_Get_HdmiRX_AudioFormat",
       .failure = message("Read Audio Format...[fail]"),
       .shown = {{"label_AudioFormat", "PCM", "Unknow", "DVI"}}},
      // An unknown rate shows in the format's label.
      {.operation = "AT_Audio_Get_HdmiRX_AudioSamplingRate",
       .failure = message("Read Audio Sampling Rate...[fail]"),
       .shown = {{"label_AudioSample", "48K", {}, "No Audio"}, {"label_AudioFormat", {}, "Unknow", {}}}},
      {.operation = "AT_Audio_Get_HdmiDPRX_VolumeGain",
       .failure = message("Read HDMI RX gain...[fail]"),
       .shown = {{"SB_HDMIRX_GAIN", "-20", "-1", "0"}}},
      {.operation = "AT_Audio_Get_DACHP_Mute",
       .failure = message("Read DAC mute...[fail]"),
       .shown = {{"CB_DACHP_MUTE", "off", "on", "off"}},
       .leadsToNext = echo},
      {.operation = "AT_Audio_Set_DACHP_Mute", .then = Then::kGoesOn},
      // Read into the variable of the receiver's gain, which untouched shows.
      {.operation = "AT_Audio_Get_HPOUTgain",
       .failure = message("Get HPOut gain...[fail]"),
       .shown = {{"HS_HPOUT_GAIN", "9", "-1", "-20"}, {"SB_HPOUT_GAIN", "9", "-1", "-20"}}},
  };
}

inline QVector<Control> audioControls() {
  return {
      {.name = "BN_Audio_Read",
       .deed = click("BN_Audio_Read"),
       .calls = audioReadCalls({.device = false, .ones = true, .untouched = false})},
      {.name = "BN_Audio_Read, box checked",
       .deed = click("BN_Audio_Read"),
       .calls = audioReadCalls({.device = true, .ones = false, .untouched = true}),
       .given = {{"CB_DACHP_MUTE", "on"}}},
      {.name = "HS_HDMIRX_GAIN",
       .deed = {Deed::Kind::kSlide, "HS_HDMIRX_GAIN", "-72"},
       .calls = {{.operation = "AT_Audio_Set_HdmiDPRX_VolumeGain"}},
       .moved = {{"HS_HDMIRX_GAIN", "-72"}, {"SB_HDMIRX_GAIN", "-72"}}},
      {.name = "HS_HPOUT_GAIN",
       .deed = {Deed::Kind::kSlide, "HS_HPOUT_GAIN", "12"},
       .calls = {{.operation = "AT_Audio_Set_HPOUTgain", .failure = message("Audio Set HPOut gain...[fail]")}},
       .moved = {{"HS_HPOUT_GAIN", "12"}, {"SB_HPOUT_GAIN", "12"}}},
      {.name = "CB_DACHP_MUTE, checked",
       .deed = click("CB_DACHP_MUTE"),
       .calls = {{.operation = "AT_Audio_Set_DACHP_Mute"}},
       .moved = {{"CB_DACHP_MUTE", "on"}}},
      {.name = "CB_DACHP_MUTE, unchecked",
       .deed = click("CB_DACHP_MUTE"),
       .calls = {{.operation = "AT_Audio_Set_DACHP_Mute"}},
       .given = {{"CB_DACHP_MUTE", "on"}},
       .moved = {{"CB_DACHP_MUTE", "off"}}},
  };
}

inline Control saveControl(const char* name, const char* button, const char* operation, const char* failure, int size,
                           const States& given = {}) {
  return {
      .name = name,
      .deed = {Deed::Kind::kChooseFile, button, "DIR/table.bin"},
      .calls = {{.operation = operation,
                 .failure = message(failure),
                 .shown = {{kSavedFile, QStringLiteral("%1 bytes").arg(size),
                            QStringLiteral("%1 bytes of FF").arg(size), QStringLiteral("%1 bytes of 00").arg(size)}}}},
      .given = given,
      // There, and empty, before the device is asked.
      .moved = {{kSavedFile, "0 bytes"}}};
}

inline QVector<Control> edidControls() {
  const Call write{.operation = "AT_EDID_Flash_Set_table",
                   .failure = message("Write flash EDID table...[fail]"),
                   .shown = {always("LB_Message", "Write flash EDID table...[Done]")}};
  return {
      {.name = "BN_EDID_Read",
       .deed = click("BN_EDID_Read"),
       // No row of a list is chosen where the device names one that is not there.
       .calls = {{.operation = "AT_EDID_Get_EDID_mode",
                  .failure = message("Read EDID Mode...[fail]"),
                  .shown = {{"CB_EDID_Mode", "Follow TX", "", "From Flash"}}},
                 {.operation = "AT_EDID_Flash_Get_Default_table",
                  .failure = message("Get Default Flash EDID index...[fail]"),
                  .shown = {{"CB_Current_FlashEDID_List", "5", "", "0"}}}}},
      {.name = "CB_EDID_Mode",
       .deed = {Deed::Kind::kChooseRow, "CB_EDID_Mode", "Mixed default and TX"},
       .calls = {{.operation = "AT_EDID_Set_EDID_mode",
                  .failure = message("Set EDID Mode...[fail]"),
                  .shown = {always("LB_Message", "Set EDID Mode...[Done]")}}},
       .moved = {{"CB_EDID_Mode", "Mixed default and TX"}}},
      {.name = "CB_Current_FlashEDID_List",
       .deed = {Deed::Kind::kChooseRow, "CB_Current_FlashEDID_List", "6"},
       .calls = {{.operation = "AT_EDID_Flash_Set_Default_table",
                  .failure = message("Set Flash EDID table...[fail]"),
                  .shown = {always("LB_Message", "Set Flash EDID table...[Done]")}}},
       .moved = {{"CB_Current_FlashEDID_List", "6"}}},
      saveControl("BN_Apply_ReadTxEDID", "BN_Apply_ReadTxEDID", "AT_EDID_Get_TX_table", "Read Tx EDID...[fail]", 256),
      saveControl("BN_Apply_ReadFlashEDID", "BN_Apply_ReadFlashEDID", "AT_EDID_Flash_Get_table",
                  "Read Flash EDID...[fail]", 384,
                  {{"RB_TX_EDID_256", "off"}, {"RB_TX_EDID_384", "on"}, {"CB_FlashEDID_List", "3"}}),
      saveControl("BN_Apply_Read_DDC_EDID", "BN_Apply_Read_DDC_EDID", "AT_EDID_DDC_Get_RX_table",
                  "Read DDC EDID...[fail]", 512, {{"RB_TX_EDID_256", "off"}, {"RB_TX_EDID_512", "on"}}),
      {.name = "BN_Apply_WriteFlashEDID",
       .deed = {Deed::Kind::kChooseFile, "BN_Apply_WriteFlashEDID", "DIR/key.bin"},
       .calls = {write},
       .given = {{"CB_FlashEDID_List_2", "6"}}},
  };
}

inline Control i2cReadControl(const char* width, const char* device, const char* ones, const char* untouched) {
  return {.name = width,
          .deed = click("BN_I2C_Read"),
          .calls = {{.operation = "AT_System_Get_ExternalMCU_cmd",
                     .failure = message("I2C Error"),
                     .shown = {{"lineEdit_I2C_Value", device, ones, untouched}}}},
          .given = {{width, "on"}}};
}

inline QVector<Control> debugControls() {
  return {
      i2cReadControl("RB_I2C_Read_1B", "4B", "FF", "00"),
      i2cReadControl("RB_I2C_Read_2B", "4B00", "FFFF", "0000"),
      i2cReadControl("RB_I2C_Read_3B", "4B004B", "FFFFFF", "000000"),
      i2cReadControl("RB_I2C_Read_4B", "4B004B00", "FFFFFFFF", "00000000"),
      {.name = "BN_I2C_Write",
       .deed = click("BN_I2C_Write"),
       .calls = {{.operation = "AT_System_Send_ExternalMCU_cmd",
                  .failure = message("I2C Error"),
                  .shown = {always("LB_Message", "I2C Write Done")}}}},
      {.name = "BN_GPIO_Read",
       .deed = click("BN_GPIO_Read"),
       .calls = {{.operation = "AT_GPIO_Get_Param",
                  .failure = message("Read GPIO Error"),
                  .shown = {{"lineEdit_GPIO_Value", "42", "255", "0"}, always("LB_Message", "Read GPIO13 [done]")}}}},
      {.name = "BN_GPIO_Write",
       .deed = click("BN_GPIO_Write"),
       .calls = {{.operation = "AT_GPIO_Set_Param",
                  .failure = message("Write GPIO Error"),
                  .shown = {always("LB_Message", "Write GPIO13 [done]")}}}},
  };
}

/// All controls from which calls follow, but those of the external MCU's
/// upgrade, whose course has a table of its own (upgrade_table.h).
inline QVector<Control> controls() {
  return sessionControls() + rxInfoControls() + provisioningControls() + videoControls() + audioControls() +
         edidControls() + debugControls();
}

}  // namespace fault_matrix
