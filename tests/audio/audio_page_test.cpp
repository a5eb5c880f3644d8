#include "tests/audio/audio_fixture.h"
#include "tests/support/main_window_test_access.h"

#include <QCheckBox>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

#include <algorithm>
#include <climits>

namespace {

const QStringList kReadFailures{"Read Audio Format...[fail]", "Read Audio Sampling Rate...[fail]",
                                "Read HDMI RX gain...[fail]", "Read DAC mute...[fail]", "Get HPOut gain...[fail]"};

QStringList shown(const WindowDriver& user) {
  return {user.text("label_AudioFormat"), user.text("label_AudioSample"),
          QString::number(user.widget<QSpinBox>("SB_HDMIRX_GAIN").value()),
          user.widget<QCheckBox>("CB_DACHP_MUTE").isChecked() ? "muted" : "open",
          QString::number(user.widget<QSlider>("HS_HPOUT_GAIN").value()) + " " +
              QString::number(user.widget<QSpinBox>("SB_HPOUT_GAIN").value())};
}

}  // namespace

class AudioPageTest : public AudioFixture {
  Q_OBJECT

 private slots:
  void init() { startAudio(); }
  void cleanup() { finish(); }

  void theFormWritesNothingToTheDevice() { QCOMPARE(journalCalls(), QStringList()); }

  void theMuteBoxWritesNothingWhileTheWindowIsMade() {
    MainWindowTestAccess::setReady(window(), false);
    user.click("CB_DACHP_MUTE");
    QCOMPARE(journalCalls(), QStringList());
    MainWindowTestAccess::setReady(window(), true);
    user.click("CB_DACHP_MUTE");
    QCOMPARE(journalCalls(), QStringList{"AT_Audio_Set_DACHP_Mute(0)"});
  }

  void aReadShowsEverythingWithoutAMessage() {
    answer(17, 9, -12, 0, -20);
    user.click("BN_Audio_Read");
    QCOMPARE(journalOperations(), kReadOperations);
    QCOMPARE(shown(user), (QStringList{"MAT_ATMOS", "192K", "-12", "open", "-20 -20"}));
    QCOMPARE(user.message(), "");
    QCOMPARE(debugLines, QStringList());
  }

  void callsAreMadeEvenWithoutASession() {
    user.click("BN_Audio_Read");
    QCOMPARE(journalOperations(), QStringList{"AT_Audio_Get_HdmiRX_AudioFormat"});
    QCOMPARE(user.message(), "Read Audio Format...[fail]");
    simulator::clearJournal();
    user.widget<QSlider>("HS_HDMIRX_GAIN").setValue(-3);
    user.widget<QSlider>("HS_HPOUT_GAIN").setValue(-4);
    user.click("CB_DACHP_MUTE");
    QCOMPARE(journalCalls(), (QStringList{"AT_Audio_Set_HdmiDPRX_VolumeGain(-3)", "AT_Audio_Set_HPOUTgain(-4)",
                                          "AT_Audio_Set_DACHP_Mute(1)"}));
  }

  void aFailureEndsTheRead_data() {
    QTest::addColumn<int>("step");
    for (int step = 0; step < kReadOperations.size(); ++step) {
      QTest::newRow(qPrintable(kReadOperations[step])) << step;
    }
  }

  void aFailureEndsTheRead() {
    QFETCH(int, step);
    const QStringList before{"DTS", "96K", "5", "muted", "6 6"};
    const QStringList after{"EAC3", "44.1K", "-7", "open", "-8 -8"};
    for (const std::int32_t status : {1, -1, INT_MIN, INT_MAX}) {
      start();
      answer(4, 8, 5, 1, 6);
      user.click("BN_Audio_Read");
      QCOMPARE(shown(user), before);
      simulator::clearJournal();
      answer(14, 4, -7, 0, -8, 2, step, status);
      user.click("BN_Audio_Read");
      QStringList calls = journalOperations();
      // The read changed the box, which sends its new state to the device.
      calls.removeAll("AT_Audio_Set_DACHP_Mute");
      QCOMPARE(calls, kReadOperations.mid(0, step + 1));
      QCOMPARE(user.message(), kReadFailures[step]);
      QCOMPARE(shown(user), after.mid(0, step) + before.mid(step));
    }
  }

  void aLaterReadThatSucceedsKeepsTheMessage() {
    user.click("BN_Audio_Read");
    user.click("BN_Connect");
    user.widget<QLabel>("LB_Message").setText("earlier");
    user.click("BN_Audio_Read");
    QCOMPARE(user.text("label_AudioFormat"), "PCM");
    QCOMPARE(user.message(), "earlier");
  }

  void everyFormatCodeIsShown() {
    user.click("BN_Connect");
    const QStringList texts{"DVI",    "No Audio",   "PCM",    "AC3",       "DTS",       "AAC",          "Default",
                            "Unknow", "Unknow",     "Unknow", "MPEG",      "DTS_HD_MA", "DTS_EXPRESS",  "DTS_CD",
                            "EAC3",   "EAC3_ATMOS", "MAT",    "MAT_ATMOS", "TRUEHD",    "TRUEHD_ATMOS", "NON_LPCM"};
    for (int code = 0; code < 256; ++code) {
      simulator::answerCall("AT_Audio_Get_HdmiRX_AudioFormat", static_cast<unsigned>(code) + 1, 0,
                            {static_cast<std::uint8_t>(code)});
      user.click("BN_Audio_Read");
      QCOMPARE(user.text("label_AudioFormat"), texts.value(code, "Unknow"));
      QCOMPARE(user.text("label_AudioSample"), "48K");
    }
  }

  void anUnknownRateIsShownAsAnUnknownFormat() {
    user.click("BN_Connect");
    const QStringList texts{"No Audio", "32K",  "64K",  "128K",   "44.1K", "88.2K", "176.4K", "48K",
                            "96K",      "192K", "256K", "352.8K", "384K",  "512K",  "705.6K", "768K"};
    for (int code = 0; code < 256; ++code) {
      simulator::answerCall("AT_Audio_Get_HdmiRX_AudioSamplingRate", static_cast<unsigned>(code) + 1, 0,
                            {static_cast<std::uint8_t>(code)});
      user.click("BN_Audio_Read");
      QCOMPARE(user.text("label_AudioFormat"), code < 16 ? "PCM" : "Unknow");
      QCOMPARE(user.text("label_AudioSample"), texts.value(code, "768K"));
    }
    QCOMPARE(user.message(), "Device Connected");
  }

  void anUnknownRateBeforeAnyKnownLeavesTheLabel() {
    answer(2, 16, 0, 0, 0);
    user.click("BN_Audio_Read");
    QCOMPARE(user.text("label_AudioFormat"), "Unknow");
    QCOMPARE(user.text("label_AudioSample"), "N/A");
  }

  void gainsAreClampedToTheControls_data() {
    QTest::addColumn<int>("gain");
    for (const int gain : {SHRT_MIN, -32767, -256, -129, -128, -73, -72, -71, -51, -50, -49, -1,    0,
                           1,        11,     12,   13,   29,   30,  31,  127, 128, 255, 256, 32766, SHRT_MAX}) {
      QTest::newRow(qPrintable(QString::number(gain))) << gain;
    }
  }

  void gainsAreClampedToTheControls() {
    QFETCH(int, gain);
    answer(2, 7, gain, 0, gain);
    user.click("BN_Audio_Read");
    QCOMPARE(user.widget<QSpinBox>("SB_HDMIRX_GAIN").value(), std::clamp(gain, -72, 30));
    QCOMPARE(user.widget<QSlider>("HS_HPOUT_GAIN").value(), std::clamp(gain, -50, 12));
    QCOMPARE(user.widget<QSpinBox>("SB_HPOUT_GAIN").value(), std::clamp(gain, -50, 12));
    // No gain is sent back to the device.
    QCOMPARE(journalOperations(), kReadOperations);
  }

  void everyStepOfADragIsOneWrite_data() {
    QTest::addColumn<QString>("slider");
    QTest::addColumn<QString>("spinBox");
    QTest::addColumn<QString>("call");
    QTest::newRow("receiver") << "HS_HDMIRX_GAIN"
                              << "SB_HDMIRX_GAIN"
                              << "AT_Audio_Set_HdmiDPRX_VolumeGain(%1)";
    QTest::newRow("headphone") << "HS_HPOUT_GAIN"
                               << "SB_HPOUT_GAIN"
                               << "AT_Audio_Set_HPOUTgain(%1)";
  }

  void everyStepOfADragIsOneWrite() {
    QFETCH(QString, slider);
    QFETCH(QString, spinBox);
    QFETCH(QString, call);
    connectDevice();
    auto& handle = user.widget<QSlider>(slider);
    QStringList calls;
    handle.setSliderDown(true);
    const auto dragTo = [&](int position) {
      handle.setSliderPosition(position);
      calls << call.arg(handle.value());
      QCOMPARE(user.widget<QSpinBox>(spinBox).value(), handle.value());
    };
    for (int position = 1; position <= handle.maximum(); ++position) {
      dragTo(position);
    }
    for (int position = handle.maximum() - 1; position >= handle.minimum(); --position) {
      dragTo(position);
    }
    handle.setSliderDown(false);
    QCOMPARE(journalCalls(), calls);
    QCOMPARE(user.message(), "Device Connected");
    QCOMPARE(debugLines.count("HPOut Task"), slider == "HS_HPOUT_GAIN" ? calls.size() : 0);
  }

  void theSpinBoxesMoveNothing() {
    for (const auto& [slider, spinBox] :
         {std::pair("HS_HDMIRX_GAIN", "SB_HDMIRX_GAIN"), std::pair("HS_HPOUT_GAIN", "SB_HPOUT_GAIN")}) {
      auto& box = user.widget<QSpinBox>(spinBox);
      box.setValue(-30);
      QTest::keyClick(&box, Qt::Key_Up);
      QCOMPARE(box.value(), -29);
      QCOMPARE(user.widget<QSlider>(slider).value(), 0);
    }
    QCOMPARE(journalCalls(), QStringList());
  }

  void aFailedHeadphoneWriteIsReportedAndNotUndone() {
    user.click("BN_Connect");
    auto& slider = user.widget<QSlider>("HS_HPOUT_GAIN");
    unsigned call = 0;
    for (const std::int32_t status : {1, -1, INT_MIN, INT_MAX}) {
      user.widget<QLabel>("LB_Message").setText("before");
      simulator::failCall("AT_Audio_Set_HPOUTgain", ++call, status);
      slider.setValue(static_cast<int>(call));
      QCOMPARE(user.message(), "Audio Set HPOut gain...[fail]");
      QCOMPARE(slider.value(), static_cast<int>(call));
      QCOMPARE(user.widget<QSpinBox>("SB_HPOUT_GAIN").value(), static_cast<int>(call));
    }
    // A success shows no message.
    slider.setValue(-1);
    QCOMPARE(user.message(), "Audio Set HPOut gain...[fail]");
  }

  void otherFailedWritesAreNotReported() {
    user.click("BN_Connect");
    for (const char* operation : {"AT_Audio_Set_HdmiDPRX_VolumeGain", "AT_Audio_Set_DACHP_Mute"}) {
      simulator::failCall(operation, 1, -1, 0);
    }
    user.widget<QSlider>("HS_HDMIRX_GAIN").setValue(-72);
    user.click("CB_DACHP_MUTE");
    QCOMPARE(user.message(), "Device Connected");
    QCOMPARE(user.widget<QSpinBox>("SB_HDMIRX_GAIN").value(), -72);
    QVERIFY(user.widget<QCheckBox>("CB_DACHP_MUTE").isChecked());
  }

  void theMuteBoxWritesItsState() {
    user.click("CB_DACHP_MUTE");
    user.click("CB_DACHP_MUTE");
    for (const int state : {2, 1, 0, -1, 3}) {
      QVERIFY(QMetaObject::invokeMethod(&window(), "slot_CheckBoxStateChanged", Q_ARG(int, state)));
    }
    QCOMPARE(journalCalls(),
             (QStringList{"AT_Audio_Set_DACHP_Mute(1)", "AT_Audio_Set_DACHP_Mute(0)", "AT_Audio_Set_DACHP_Mute(1)",
                          "AT_Audio_Set_DACHP_Mute(0)", "AT_Audio_Set_DACHP_Mute(0)", "AT_Audio_Set_DACHP_Mute(0)",
                          "AT_Audio_Set_DACHP_Mute(0)"}));
  }

  void aMuteByteLeftUntouchedCountsAsUnmuted() {
    user.click("BN_Connect");
    user.click("CB_DACHP_MUTE");
    simulator::answerCall("AT_Audio_Get_DACHP_Mute", 1, 0, {});
    user.click("BN_Audio_Read");
    QVERIFY(!user.widget<QCheckBox>("CB_DACHP_MUTE").isChecked());
  }

  void theDeviceKeepsWhatThePageSets() {
    user.click("BN_Connect");
    user.widget<QSlider>("HS_HDMIRX_GAIN").setValue(-72);
    user.widget<QSlider>("HS_HPOUT_GAIN").setValue(-50);
    user.click("CB_DACHP_MUTE");

    // A second window starts without the first one's values.
    const MainWindow other;
    const WindowDriver reader(other);
    reader.click("BN_Audio_Read");
    QCOMPARE(shown(reader), (QStringList{"PCM", "48K", "-72", "muted", "-50 -50"}));
  }
};

QTEST_MAIN(AudioPageTest)
#include "audio_page_test.moc"
