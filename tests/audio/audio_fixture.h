#pragma once

#include "simulator/control/control.h"
#include "tests/support/journal.h"
#include "tests/support/window_fixture.h"

#include <QStringList>

#include <cstdint>
#include <vector>

/// The calls of one read, in order.
inline const QStringList kReadOperations{"AT_Audio_Get_HdmiRX_AudioFormat", "AT_Audio_Get_HdmiRX_AudioSamplingRate",
                                         "AT_Audio_Get_HdmiDPRX_VolumeGain", "AT_Audio_Get_DACHP_Mute",
                                         "AT_Audio_Get_HPOUTgain"};
inline std::vector<std::uint8_t> gainBytes(int gain) {
  return {static_cast<std::uint8_t>(gain), static_cast<std::uint8_t>(gain >> 8)};
}

/// Sets the device's answers for the next reads.
inline void answer(std::uint8_t format, std::uint8_t rate, int receiverGain, std::uint8_t mute, int headphoneGain,
                   unsigned call = 1, int failingStep = -1, std::int32_t status = -1) {
  const std::vector<std::vector<std::uint8_t>> bytes{
      {format}, {rate}, gainBytes(receiverGain), {mute}, gainBytes(headphoneGain)};
  for (int step = 0; step < kReadOperations.size(); ++step) {
    simulator::answerCall(kReadOperations[step].toStdString(), call, step == failingStep ? status : 0,
                          bytes[static_cast<std::size_t>(step)]);
  }
}

/// The program's debug output, captured instead of printed.
inline QStringList debugLines;

inline void keepDebugLine(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (type == QtDebugMsg && qstrcmp(context.category, "default") == 0) {
    debugLines << text;
  }
}

/// Base class for tests of the audio page; captures the program's debug output.
class AudioFixture : public WindowTest {
 protected:
  void startAudio() {
    start();
    debugLines.clear();
    previousHandler_ = qInstallMessageHandler(keepDebugLine);
  }

  void finish() {
    qInstallMessageHandler(previousHandler_);
    closeWindow();
  }

 private:
  QtMessageHandler previousHandler_ = nullptr;
};
