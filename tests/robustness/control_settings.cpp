#include "tests/robustness/control_parts.h"

namespace control_table {
namespace {

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

}  // namespace

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

namespace {

struct Table {
  const char* button;
  const char* operation;
  const char* failure;
};
constexpr Table kTxTable{"BN_Apply_ReadTxEDID", "AT_EDID_Get_TX_table", "Read Tx EDID...[fail]"};
constexpr Table kFlashTable{"BN_Apply_ReadFlashEDID", "AT_EDID_Flash_Get_table", "Read Flash EDID...[fail]"};
constexpr Table kDdcTable{"BN_Apply_Read_DDC_EDID", "AT_EDID_DDC_Get_RX_table", "Read DDC EDID...[fail]"};

/// Saves a table.
/// @param before the operator's first actions
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
      // The file exists, still empty, before the device is asked.
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

}  // namespace

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

namespace {

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

}  // namespace

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

}  // namespace control_table
