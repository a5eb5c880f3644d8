#include "app/main_window.h"
#include "audio/audio_codes.h"
#include "device/RTICE_SDK_x64.h"
#include "ui_main_window.h"

#include <QDebug>

void MainWindow::slot_Read_AudioInfo() {
  std::uint8_t format = 0;
  if (AT_Audio_Get_HdmiRX_AudioFormat(&format) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read Audio Format...[fail]"));
    return;
  }
  ui->label_AudioFormat->setText(audio::formatText(format));

  std::uint8_t rate = 0;
  if (AT_Audio_Get_HdmiRX_AudioSamplingRate(&rate) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read Audio Sampling Rate...[fail]"));
    return;
  }
  if (const std::optional<QString> text = audio::samplingRateText(rate)) {
    ui->label_AudioSample->setText(*text);
  } else {
    // A rate without a text makes the format unknown, too; the rate shown last stays.
    ui->label_AudioFormat->setText(QLatin1String(audio::kUnknownText));
  }

  std::int16_t gain = 0;
  if (AT_Audio_Get_HdmiDPRX_VolumeGain(&gain) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read HDMI RX gain...[fail]"));
    return;
  }
  // The slider keeps its place: moving it would write to the device.
  ui->SB_HDMIRX_GAIN->setValue(gain);

  std::uint8_t mute = 0;
  if (AT_Audio_Get_DACHP_Mute(&mute) != 0) {
    ui->LB_Message->setText(QStringLiteral("Read DAC mute...[fail]"));
    return;
  }
  ui->CB_DACHP_MUTE->setChecked(mute != 0);

  if (AT_Audio_Get_HPOUTgain(&gain) != 0) {
    ui->LB_Message->setText(QStringLiteral("Get HPOut gain...[fail]"));
    return;
  }
  // Consumed by the slider's next move, also when this is none.
  hpOutGainSyncing = true;
  ui->HS_HPOUT_GAIN->setValue(gain);
}

void MainWindow::slot_setHDMIRX_Gain(int gain) { AT_Audio_Set_HdmiDPRX_VolumeGain(gain); }

void MainWindow::slot_setHPOut_Gain(int gain) {
  if (hpOutGainSyncing) {
    hpOutGainSyncing = false;
    return;
  }
  qDebug("HPOut Task");
  const auto value = static_cast<std::int16_t>(gain);
  if (AT_Audio_Set_HPOUTgain(&value) != 0) {
    ui->LB_Message->setText(QStringLiteral("Audio Set HPOut gain...[fail]"));
  }
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes the device
void MainWindow::slot_CheckBoxStateChanged(int state) {
  if (!uiReady) {
    return;
  }
  AT_Audio_Set_DACHP_Mute(state == Qt::Checked ? 1 : 0);
}
