#include "tests/robustness/control_table.h"

#include "tests/robustness/control_parts.h"

namespace control_table {
namespace {

using Kind = Action::Kind;

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
      // The open session belongs to the first model; the other one is not plugged in.
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

/// The update controls, which are on both System pages.
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
