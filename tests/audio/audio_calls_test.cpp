#include "audio/audio_calls.h"

#include "tests/support/call_check.h"

#include <array>

class AudioCallsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { openNewDevice(); }

  void eachIsOneCallAndPassesItsStatusOn() {
    checkCall({"AT_Audio_Get_HdmiRX_AudioFormat()", [] { return statusOfCall(audio::readFormat()); }});
    checkCall({"AT_Audio_Get_HdmiRX_AudioSamplingRate()", [] { return statusOfCall(audio::readSamplingRate()); }});
    checkCall({"AT_Audio_Get_HdmiDPRX_VolumeGain()", [] { return statusOfCall(audio::readReceiverGain()); }});
    checkCall({"AT_Audio_Set_HdmiDPRX_VolumeGain(-7)", [] { return device::statusOf(audio::setReceiverGain(-7)); }});
    checkCall({"AT_Audio_Get_HPOUTgain()", [] { return statusOfCall(audio::readHeadphoneGain()); }});
    checkCall({"AT_Audio_Set_HPOUTgain(-50)", [] { return device::statusOf(audio::setHeadphoneGain(-50)); }});
    checkCall({"AT_Audio_Get_DACHP_Mute()", [] { return statusOfCall(audio::readHeadphoneMute()); }});
    checkCall({"AT_Audio_Set_DACHP_Mute(1)", [] { return device::statusOf(audio::setHeadphoneMute(true)); }});
    checkCall({"AT_Audio_Set_DACHP_Mute(0)", [] { return device::statusOf(audio::setHeadphoneMute(false)); }});
  }

  void whatIsSetIsReadBack() {
    for (const std::int16_t gain : std::array<std::int16_t, 5>{-32768, -50, 0, 12, 32767}) {
      QVERIFY(audio::setReceiverGain(gain).has_value());
      QVERIFY(audio::setHeadphoneGain(static_cast<std::int16_t>(gain / 2)).has_value());
      QCOMPARE(int{*audio::readReceiverGain()}, int{gain});
      QCOMPARE(int{*audio::readHeadphoneGain()}, gain / 2);
    }
    for (const bool muted : {true, false}) {
      QVERIFY(audio::setHeadphoneMute(muted).has_value());
      QCOMPARE(*audio::readHeadphoneMute(), muted);
    }
  }

  void everyCodeButZeroIsMuted() {
    for (unsigned code = 0; code < 256; ++code) {
      simulator::answerCall("AT_Audio_Get_DACHP_Mute", code + 1, 0, {static_cast<std::uint8_t>(code)});
      QCOMPARE(*audio::readHeadphoneMute(), code != 0);
    }
  }

  void codesArePassedOn() {
    simulator::answerCall("AT_Audio_Get_HdmiRX_AudioFormat", 1, 0, {0xA5});
    simulator::answerCall("AT_Audio_Get_HdmiRX_AudioSamplingRate", 1, 0, {0x5A});
    QCOMPARE(int{*audio::readFormat()}, 0xA5);
    QCOMPARE(int{*audio::readSamplingRate()}, 0x5A);
  }
};

QTEST_APPLESS_MAIN(AudioCallsTest)
#include "audio_calls_test.moc"
