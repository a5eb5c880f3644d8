#include "app/main_window.h"
#include "audio/audio_calls.h"
#include "audio/audio_codes.h"
#include "ui_main_window.h"

#include <QDebug>

#include <tuple>

void MainWindow::slot_Read_AudioInfo() {
  const auto format = audio::readFormat();
  if (!format) {
    ui->LB_Message->setText(QStringLiteral("Read Audio Format...[fail]"));
    return;
  }
  ui->label_AudioFormat->setText(audio::formatText(*format));

  const auto rate = audio::readSamplingRate();
  if (!rate) {
    ui->LB_Message->setText(QStringLiteral("Read Audio Sampling Rate...[fail]"));
    return;
  }
  if (const std::optional<QString> text = audio::samplingRateText(*rate)) {
    ui->label_AudioSample->setText(*text);
  } else {
    // A rate without a text makes the format unknown, too; the rate shown last stays.
    ui->label_AudioFormat->setText(QLatin1String(audio::kUnknownText));
  }

  const auto receiverGain = audio::readReceiverGain();
  if (!receiverGain) {
    ui->LB_Message->setText(QStringLiteral("Read HDMI RX gain...[fail]"));
    return;
  }
  // The slider keeps its place: moving it would write to the device.
  ui->SB_HDMIRX_GAIN->setValue(*receiverGain);

  const auto muted = audio::readHeadphoneMute();
  if (!muted) {
    ui->LB_Message->setText(QStringLiteral("Read DAC mute...[fail]"));
    return;
  }
  ui->CB_DACHP_MUTE->setChecked(*muted);

  const auto headphoneGain = audio::readHeadphoneGain(*receiverGain);
  if (!headphoneGain) {
    ui->LB_Message->setText(QStringLiteral("Get HPOut gain...[fail]"));
    return;
  }
  // Stays set if the value does not change, swallowing the user's next move.
  hpOutGainSyncing = true;
  ui->HS_HPOUT_GAIN->setValue(*headphoneGain);
}

void MainWindow::slot_setHDMIRX_Gain(int gain) { std::ignore = audio::setReceiverGain(gain); }

void MainWindow::slot_setHPOut_Gain(int gain) {
  if (hpOutGainSyncing) {
    hpOutGainSyncing = false;
    return;
  }
  qDebug("HPOut Task");
  if (!audio::setHeadphoneGain(static_cast<std::int16_t>(gain))) {
    ui->LB_Message->setText(QStringLiteral("Audio Set HPOut gain...[fail]"));
  }
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes the device
void MainWindow::slot_CheckBoxStateChanged(int state) {
  if (!uiReady) {
    return;
  }
  std::ignore = audio::setHeadphoneMute(state == Qt::Checked);
}
