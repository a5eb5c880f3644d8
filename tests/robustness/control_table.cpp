#include "tests/robustness/control_table.h"

namespace control_table {
namespace {

using Kind = Action::Kind;

Action click(const char* button) { return {Kind::kClick, button}; }
Action type(const char* lineEdit, const QString& text) { return {Kind::kType, lineEdit, text}; }
Action choose(const char* comboBox, const QString& row) { return {Kind::kChooseRow, comboBox, row}; }
Action move(const char* sliderOrSpinBox, int value) { return {Kind::kMove, sliderOrSpinBox, QString::number(value)}; }
Action chooseFile(const char* button, const QString& file) { return {Kind::kChooseFile, button, "DIR/" + file}; }

States message(const char* text) { return {{"LB_Message", text}}; }

/// The same after each answer.
ExpectedState always(const char* widget, const QString& state) { return {widget, state, state, state}; }

/// A button that makes one call and reports nothing.
Control silentButton(const char* button, const char* operation, const char* arguments, const States& moved = {}) {
  return {.name = button,
          .actions = {click(button)},
          .calls = {{.operation = operation, .arguments = arguments}},
          .moved = moved};
}

/// A field that makes no call.
Control typing(const char* lineEdit) {
  return {.name = lineEdit, .actions = {type(lineEdit, "12")}, .moved = {{lineEdit, "12"}}};
}

QVector<Call> sessionCalls(const char* ids) {
  return {
      {.operation = "initialize",
       .failure = message("initialize SDK ...[fail]"),
       .shown = {always("LB_Message", "initialize SDK ...[OK]")}},
      {.operation = "setDevice",
       .arguments = ids,
       .failure = message("set Port...[Fail]"),
       .cleanUp = "uninitialize",
       .shown = {always("LB_Message", "set Port...[OK]")}},
      {.operation = "openPort",
       .failure = message("Open Port...[Fail]"),
       .cleanUp = "uninitialize",
       .shown = {always("LB_Message", "Device Connected")}},
  };
}

QVector<Call> identityCalls() {
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
       .arguments = "3, 0x0D, 1, [02], 1",
       .then = Then::kGoesOn,
       .failure = {{"lb_Main_VER_QX", "v15.15"}},
       .shown = {{"lb_Main_VER_QX", "v1.2", "v15.15", "v0.0"}}},
      {.operation = "AT_Get_UVC_Name",
       .arguments = "100",
       .then = Then::kGoesOn,
       .failure = {{"lb_FW_VER_QX", "Get UVC name [fail]"}},
       .shown = {{"label_UVC_NAME", "KVR-7 Video", bytesOfFF, ""}},
       .textWidget = "label_UVC_NAME",
       .longestText = 100},
      {.operation = "AT_USB_Get_iManufacturer",
       .arguments = "64",
       .then = Then::kGoesOn,
       .failure = {{"lb_FW_VER_QX", "Get iManufacturer [fail]"}, {"label_IManufacturer", ""}},
       .shown = {always("label_IManufacturer", "Orvenhal")},
       .textWidget = "label_IManufacturer",
       .longestText = 64,
       .returnsLength = true},
      {.operation = "AT_USB_Get_iProduct",
       .arguments = "64",
       .then = Then::kGoesOn,
       .failure = {{"lb_FW_VER_QX", "Get iManufacturer [fail]"}, {"label_IProduct", ""}},
       .shown = {always("label_IProduct", "KVR-7")},
       .textWidget = "label_IProduct",
       .longestText = 64,
       .returnsLength = true},
  };
}

// Controls outside the pages.
QVector<Control> sessionControls() {
  const char* const ids = "0, 0, 0x5C19, 0x6B03";
  QVector<Call> unopened = sessionCalls(ids);
  unopened[2].failsAnyway = true;
  QVector<Call> otherModel = sessionCalls("0, 0, 0x5C19, 0x6B02").mid(0, 2);
  otherModel[1].failsAnyway = true;
  // The library does not initialise while a port is open.
  otherModel.prepend({.operation = "closePort", .then = Then::kGoesOn, .nextIsRefused = true});
  return {
      {.name = "BN_Connect",
       .actions = {click("BN_Connect")},
       .calls = sessionCalls(ids) + identityCalls(),
       .connected = false},
      {.name = "BN_Connect",
       .variant = "port refused",
       .actions = {click("BN_Connect")},
       .calls = unopened,
       .connected = false,
       .failsBefore = "openPort"},
      // The open session is with the first model; the other one is not plugged in.
      {.name = "CB_DeviceType",
       .actions = {choose("CB_DeviceType", "KVR-5B"), click("BN_Connect")},
       .calls = otherModel,
       .moved = {{"CB_DeviceType", "KVR-5B"}, {"Edit_PID", "6B02"}}},
      // Both are read-only.
      {.name = "Edit_VID", .actions = {type("Edit_VID", "12")}},
      {.name = "Edit_PID", .actions = {type("Edit_PID", "12")}},
      {.name = "qt_tabwidget_tabbar",
       .actions = {{Kind::kSelectTab, "qt_tabwidget_tabbar", "0"}, {Kind::kSelectTab, "qt_tabwidget_tabbar", "1"}}},
  };
}

QVector<Control> rxInfoControls() {
  return {{.name = "BN_Info_Read",
           .actions = {click("BN_Info_Read")},
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

// Controls of both System pages.
QVector<Control> identityControls() {
  return {
      {.name = "BN_SN_Read",
       .actions = {click("BN_SN_Read")},
       // The field takes 16 characters.
       .calls = {{.operation = "AT_USB_Get_SerialNum",
                  .arguments = "100",
                  .failure = message("Read Serial Number...[fail]"),
                  .shown = {{"lineEdit_SN", "OV7A00001234", QString(16, QChar(0xFF)), ""}},
                  .textWidget = "lineEdit_SN",
                  .longestText = 16}}},
      typing("lineEdit_SN"),
      {.name = "BN_SN_Set",
       .actions = {type("lineEdit_SN", " SN7 "), click("BN_SN_Set")},
       .calls = {{.operation = "AT_USB_Set_SerialNum",
                  .arguments = "[20 53 4E 37 20], 5",
                  .failure = message("Set Serial Number...[fail]"),
                  .shown = {always("LB_Message", "Set Serial Number...[OK]")}}},
       .moved = {{"lineEdit_SN", " SN7 "}}},
      {.name = "BN_Browse_Key",
       .actions = {chooseFile("BN_Browse_Key", "key.bin")},
       .calls = {{.operation = "burnHDCP",
                  .arguments = "\"DIR/key.bin\"",
                  .failure = message("Burn HDCP...[Fail]"),
                  .shown = {always("LB_Message", "Burn HDCP...[OK]")}}},
       .moved = {{"lineEdit_KeyPath", "DIR/key.bin"}}},
      typing("lineEdit_KeyPath"),
      {.name = "BN_Apply_Reset",
       .actions = {click("BN_Apply_Reset")},
       .calls = {{.operation = "AT_RestoreToDefault"}},
       .moved = message("Restore to default")},
      silentButton("BN_Apply_Reboot", "AT_Set_System_Reboot", ""),
  };
}

/// The controls for updates, which stand on both System pages.
QVector<Control> updateControls(const char* browseMcu, const char* applyMcu, const char* mcuPath,
                                const char* browseCapture, const char* applyCapture, const char* capturePath) {
  const States mcu{{"lineEdit_ExtMcu_Path", "DIR/mcu.bin"}, {"lineEdit_ExtMcu_Path_QX", "DIR/mcu.bin"}};
  const States capture{{"lineEdit_Cap_Path", "DIR/capture.img"}, {"lineEdit_Cap_Path_QX", "DIR/capture.img"}};
  const Call refusedReset{.operation = "AT_System_Send_ExternalMCU_cmd",
                          .arguments = "3, 0x0D, 2, [08 01]",
                          .failure = message("Error Reset MCU ..."),
                          .failsAnyway = true};
  return {
      {.name = browseMcu, .actions = {chooseFile(browseMcu, "mcu.bin")}, .moved = mcu},
      // The MCU refuses the reset; the upgrade itself has its own tests.
      {.name = applyMcu,
       .actions = {chooseFile(browseMcu, "mcu.bin"), {Kind::kRunWorker, applyMcu}},
       .calls = {{.operation = "AT_System_Get_ExternalMCU_cmd", .arguments = "3, 0x0D, 1, [00], 1"}, refusedReset},
       .moved = mcu,
       .failsBefore = refusedReset.operation,
       .isUpgrade = true},
      typing(mcuPath),
      {.name = browseCapture, .actions = {chooseFile(browseCapture, "capture.img")}, .moved = capture},
      {.name = applyCapture,
       .actions = {chooseFile(browseCapture, "capture.img"), {Kind::kRunWorker, applyCapture}},
       .calls = {{.operation = "burnToFlash",
                  .arguments = "\"DIR/capture.img\"",
                  .failure = message("Burn CAP...[Fail]"),
                  .shown = {always("LB_Message", "Burn CAP...[OK]")}}},
       .moved = capture},
      typing(capturePath),
  };
}

QVector<Control> videoControls() {
  return {
      silentButton("RB_Src_HDMI", "AT_Input_Source_Switch", "[00]", {{"RB_Src_HDMI", "on"}, {"RB_Src_DP", "off"}}),
      silentButton("RB_Src_DP", "AT_Input_Source_Switch", "[01]"),
      silentButton("BN_RX_HPD_ON", "AT_HdmiRX_Set_HPD", "1"),
      silentButton("BN_RX_HPD_OFF", "AT_HdmiRX_Set_HPD", "0"),
      {.name = "BN_Video_Read",
       .actions = {click("BN_Video_Read")},
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
      silentButton("RB_TX_HDCP_ON", "AT_SetHDMI_HDCP_OnOff", "1", {{"RB_TX_HDCP_ON", "on"}, {"RB_TX_HDCP_OFF", "off"}}),
      silentButton("RB_TX_HDCP_OFF", "AT_SetHDMI_HDCP_OnOff", "0"),
  };
}

/// @param echo answers after which the changed box sends its state back to the device
QVector<Call> audioReadCalls(const Call::Answers& echo) {
  return {
      {.operation = "AT_Audio_Get_HdmiRX_AudioFormat",
       .failure = message("Read Audio Format...[fail]"),
       .shown = {{"label_AudioFormat", "PCM", "Unknow", "DVI"}}},
      // An unknown rate is shown in the format's label.
      {.operation = "AT_Audio_Get_HdmiRX_AudioSamplingRate",
       .failure = message("Read Audio Sampling Rate...[fail]"),
       .shown = {{"label_AudioSample", "48K", {}, "No Audio"}, {"label_AudioFormat", {}, "Unknow", {}}}},
      {.operation = "AT_Audio_Get_HdmiDPRX_VolumeGain",
       .failure = message("Read HDMI RX gain...[fail]"),
       .shown = {{"SB_HDMIRX_GAIN", "-20", "-1", "0"}}},
      {.operation = "AT_Audio_Get_DACHP_Mute",
       .failure = message("Read DAC mute...[fail]"),
       .shown = {{"CB_DACHP_MUTE", "off", "on", "off"}},
       .nextCallMadeAfter = echo},
      {.operation = "AT_Audio_Set_DACHP_Mute", .arguments = "0", .then = Then::kGoesOn},
      // Shares a variable with the receiver's gain, which remains if nothing is written.
      {.operation = "AT_Audio_Get_HPOUTgain",
       .failure = message("Get HPOut gain...[fail]"),
       .shown = {{"HS_HPOUT_GAIN", "9", "-1", "-20"}, {"SB_HPOUT_GAIN", "9", "-1", "-20"}}},
  };
}

QVector<Control> audioControls() {
  return {
      {.name = "BN_Audio_Read",
       .actions = {click("BN_Audio_Read")},
       .calls = audioReadCalls({.device = false, .ones = true, .untouched = false})},
      {.name = "BN_Audio_Read",
       .variant = "box checked",
       .actions = {click("BN_Audio_Read")},
       .calls = audioReadCalls({.device = true, .ones = false, .untouched = true}),
       .given = {{"CB_DACHP_MUTE", "on"}}},
      {.name = "HS_HDMIRX_GAIN",
       .actions = {move("HS_HDMIRX_GAIN", -72)},
       .calls = {{.operation = "AT_Audio_Set_HdmiDPRX_VolumeGain", .arguments = "-72"}},
       .moved = {{"HS_HDMIRX_GAIN", "-72"}, {"SB_HDMIRX_GAIN", "-72"}}},
      {.name = "HS_HPOUT_GAIN",
       .actions = {move("HS_HPOUT_GAIN", 12)},
       .calls = {{.operation = "AT_Audio_Set_HPOUTgain",
                  .arguments = "12",
                  .failure = message("Audio Set HPOut gain...[fail]")}},
       .moved = {{"HS_HPOUT_GAIN", "12"}, {"SB_HPOUT_GAIN", "12"}}},
      {.name = "SB_HDMIRX_GAIN", .actions = {move("SB_HDMIRX_GAIN", 30)}, .moved = {{"SB_HDMIRX_GAIN", "30"}}},
      {.name = "SB_HPOUT_GAIN", .actions = {move("SB_HPOUT_GAIN", 30)}, .moved = {{"SB_HPOUT_GAIN", "30"}}},
      {.name = "CB_DACHP_MUTE",
       .variant = "checked",
       .actions = {click("CB_DACHP_MUTE")},
       .calls = {{.operation = "AT_Audio_Set_DACHP_Mute", .arguments = "1"}},
       .moved = {{"CB_DACHP_MUTE", "on"}}},
      {.name = "CB_DACHP_MUTE",
       .variant = "unchecked",
       .actions = {click("CB_DACHP_MUTE")},
       .calls = {{.operation = "AT_Audio_Set_DACHP_Mute", .arguments = "0"}},
       .given = {{"CB_DACHP_MUTE", "on"}},
       .moved = {{"CB_DACHP_MUTE", "off"}}},
  };
}

struct Table {
  const char* button;
  const char* operation;
  const char* failure;
};
constexpr Table kTxTable{"BN_Apply_ReadTxEDID", "AT_EDID_Get_TX_table", "Read Tx EDID...[fail]"};
constexpr Table kFlashTable{"BN_Apply_ReadFlashEDID", "AT_EDID_Flash_Get_table", "Read Flash EDID...[fail]"};
constexpr Table kDdcTable{"BN_Apply_Read_DDC_EDID", "AT_EDID_DDC_Get_RX_table", "Read DDC EDID...[fail]"};

/// Saves a table.
/// @param before what the operator does first
Control saving(const char* name, const Table& table, const QString& arguments, int size,
               const QVector<Action>& before = {}, const States& moved = {}) {
  return {
      .name = name,
      .actions = before + QVector<Action>{chooseFile(table.button, "table.bin")},
      .calls = {{.operation = table.operation,
                 .arguments = arguments,
                 .failure = message(table.failure),
                 .shown = {{kSavedFile, QStringLiteral("%1 bytes").arg(size),
                            QStringLiteral("%1 bytes of FF").arg(size), QStringLiteral("%1 bytes of 00").arg(size)}}}},
      // There, and empty, before the device is asked.
      .moved = moved + States{{kSavedFile, "0 bytes"}}};
}

Control loading(const char* name, const QString& arguments, const QVector<Action>& before = {},
                const States& moved = {}) {
  return {.name = name,
          .actions = before + QVector<Action>{chooseFile("BN_Apply_WriteFlashEDID", "edid.bin")},
          .calls = {{.operation = "AT_EDID_Flash_Set_table",
                     .arguments = arguments,
                     .failure = message("Write flash EDID table...[fail]"),
                     .shown = {always("LB_Message", "Write flash EDID table...[Done]")}}},
          .moved = moved};
}

QVector<Control> edidControls() {
  Control slot3 = saving("BN_Apply_ReadFlashEDID", kFlashTable, "3, 384", 384);
  slot3.variant = "384 bytes of slot 3";
  slot3.given = {{"RB_TX_EDID_256", "off"}, {"RB_TX_EDID_384", "on"}, {"CB_FlashEDID_List", "3"}};
  return {
      {.name = "BN_EDID_Read",
       .actions = {click("BN_EDID_Read")},
       // No row is chosen if the device names one that does not exist.
       .calls = {{.operation = "AT_EDID_Get_EDID_mode",
                  .failure = message("Read EDID Mode...[fail]"),
                  .shown = {{"CB_EDID_Mode", "Follow TX", "", "From Flash"}}},
                 {.operation = "AT_EDID_Flash_Get_Default_table",
                  .failure = message("Get Default Flash EDID index...[fail]"),
                  .shown = {{"CB_Current_FlashEDID_List", "5", "", "0"}}}}},
      {.name = "CB_EDID_Mode",
       .actions = {choose("CB_EDID_Mode", "Mixed default and TX")},
       .calls = {{.operation = "AT_EDID_Set_EDID_mode",
                  .arguments = "3",
                  .failure = message("Set EDID Mode...[fail]"),
                  .shown = {always("LB_Message", "Set EDID Mode...[Done]")}}},
       .moved = {{"CB_EDID_Mode", "Mixed default and TX"}}},
      {.name = "CB_Current_FlashEDID_List",
       .actions = {choose("CB_Current_FlashEDID_List", "6")},
       .calls = {{.operation = "AT_EDID_Flash_Set_Default_table",
                  .arguments = "6",
                  .failure = message("Set Flash EDID table...[fail]"),
                  .shown = {always("LB_Message", "Set Flash EDID table...[Done]")}}},
       .moved = {{"CB_Current_FlashEDID_List", "6"}}},
      saving("BN_Apply_ReadTxEDID", kTxTable, "256", 256),
      saving("BN_Apply_ReadFlashEDID", kFlashTable, "0, 256", 256),
      slot3,
      saving("BN_Apply_Read_DDC_EDID", kDdcTable, "256", 256),
      saving("CB_FlashEDID_List", kFlashTable, "5, 256", 256, {choose("CB_FlashEDID_List", "5")},
             {{"CB_FlashEDID_List", "5"}}),
      saving("RB_TX_EDID_384", kTxTable, "384", 384, {click("RB_TX_EDID_384")},
             {{"RB_TX_EDID_256", "off"}, {"RB_TX_EDID_384", "on"}}),
      saving("RB_TX_EDID_512", kDdcTable, "512", 512, {click("RB_TX_EDID_512")},
             {{"RB_TX_EDID_256", "off"}, {"RB_TX_EDID_512", "on"}}),
      saving("RB_TX_EDID_256", kTxTable, "256", 256, {click("RB_TX_EDID_512"), click("RB_TX_EDID_256")}),
      loading("BN_Apply_WriteFlashEDID", "0, [45 44 49 44], 4"),
      loading("CB_FlashEDID_List_2", "6, [45 44 49 44], 4", {choose("CB_FlashEDID_List_2", "6")},
              {{"CB_FlashEDID_List_2", "6"}}),
  };
}

struct Register {
  QString address = "A0";
  QString number = "10";
  QString value = "1234";
};

QVector<Action> typeRegister(const Register& typed) {
  return {type("lineEdit_I2C_Addr", typed.address), type("lineEdit_I2C_Reg", typed.number),
          type("lineEdit_I2C_Value", typed.value)};
}

States fields(const Register& typed) {
  return {
      {"lineEdit_I2C_Addr", typed.address}, {"lineEdit_I2C_Reg", typed.number}, {"lineEdit_I2C_Value", typed.value}};
}

/// Reads `width` bytes of a register.
Control registerRead(const char* name, int width) {
  Control control{.name = name,
                  .actions = typeRegister({}),
                  .calls = {{.operation = "AT_System_Get_ExternalMCU_cmd",
                             .arguments = QStringLiteral("3, 0x50, 1, [10], %1").arg(width),
                             .failure = message("I2C Error"),
                             .shown = {{"lineEdit_I2C_Value", kRegister.left(width).toHex().toUpper(),
                                        QString(2 * width, 'F'), QString(2 * width, '0')}}}},
                  .moved = fields({})};
  if (qstrcmp(name, "BN_I2C_Read") != 0) {
    control.actions << click(name);
    control.moved << State{name, "on"};
  }
  control.actions << click("BN_I2C_Read");
  return control;
}

Control registerWrite(const char* name, const QString& arguments, const Register& typed, bool failsAnyway = false) {
  return {.name = name,
          .actions = typeRegister({}) + typeRegister(typed) + QVector<Action>{click("BN_I2C_Write")},
          .calls = {{.operation = "AT_System_Send_ExternalMCU_cmd",
                     .arguments = arguments,
                     .failure = message("I2C Error"),
                     .shown = {always("LB_Message", "I2C Write Done")},
                     .failsAnyway = failsAnyway}},
          .moved = fields(typed)};
}

Control gpioRead(const char* name, const QString& arguments, const char* answer, const QVector<Action>& before = {},
                 const States& moved = {}) {
  return {
      .name = name,
      .actions = before + QVector<Action>{click("BN_GPIO_Read")},
      .calls = {{.operation = "AT_GPIO_Get_Param",
                 .arguments = arguments,
                 .failure = message("Read GPIO Error"),
                 .shown = {{"lineEdit_GPIO_Value", answer, "255", "0"}, always("LB_Message", "Read GPIO13 [done]")}}},
      .moved = moved};
}

Control gpioWrite(const char* name, const QString& arguments, const QVector<Action>& before = {}) {
  return {.name = name,
          .actions = before + QVector<Action>{click("BN_GPIO_Write")},
          .calls = {{.operation = "AT_GPIO_Set_Param",
                     .arguments = arguments,
                     .failure = message("Write GPIO Error"),
                     .shown = {always("LB_Message", "Write GPIO13 [done]")}}}};
}

QVector<Control> debugControls() {
  return {
      registerRead("BN_I2C_Read", 1),
      registerRead("RB_I2C_Read_1B", 1),
      registerRead("RB_I2C_Read_2B", 2),
      registerRead("RB_I2C_Read_3B", 3),
      registerRead("RB_I2C_Read_4B", 4),
      registerWrite("BN_I2C_Write", "3, 0x50, 3, [10 12 34]", {}),
      // The sensor has no register 0x10.
      registerWrite("lineEdit_I2C_Addr", "3, 0x48, 3, [10 12 34]", {.address = "90"}, true),
      registerWrite("lineEdit_I2C_Reg", "3, 0x50, 4, [01 00 12 34]", {.number = "100"}),
      registerWrite("lineEdit_I2C_Value", "3, 0x50, 2, [10 56]", {.value = "56"}),
      // The arguments are those of a new window, the answers those of kInitialState's pin.
      gpioRead("BN_GPIO_Read", "0, 0", "42"),
      gpioRead("CB_GPIO_INDEX", "0, 13", "42", {choose("CB_GPIO_INDEX", "GPIO13")}),
      gpioRead("RB_GPIO_MISC", "1, 0", "42", {click("RB_GPIO_MISC")}),
      gpioRead("RB_GPIO_ISO", "0, 0", "0", {click("RB_GPIO_MISC"), click("RB_GPIO_ISO")},
               {{"RB_GPIO_ISO", "on"}, {"RB_GPIO_MISC", "off"}}),
      gpioWrite("BN_GPIO_Write", "0, 0, 0"),
      gpioWrite("lineEdit_GPIO_Value", "0, 0, 31", {type("lineEdit_GPIO_Value", "1F")}),
  };
}

}  // namespace

const QByteArray kRegister = QByteArray::fromHex("4B004B00");

QVector<Control> controls() {
  return sessionControls() + rxInfoControls() + identityControls() +
         updateControls("BN_Browse_ExtMCU", "BN_Apply_ExtMCU", "lineEdit_ExtMcu_Path", "BN_Browse_Cap",
                        "BN_Apply_CapMCU", "lineEdit_Cap_Path") +
         updateControls("BN_Browse_ExtMCU_QX", "BN_Apply_ExtMCU_QX", "lineEdit_ExtMcu_Path_QX", "BN_Browse_Cap_QX",
                        "BN_Apply_CapMCU_QX", "lineEdit_Cap_Path_QX") +
         videoControls() + audioControls() + edidControls() + debugControls();
}

const States kInitialState{
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

const char* const kScenario = R"({
  "audio": {"receiverGain": -20, "headphoneGain": 9},
  "edid": {"mode": "followTx", "defaultSlot": 5},
  "externalMcu": {"family": "v"}})";

}  // namespace control_table
