#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "tests/support/window_fixture.h"

#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

#include <array>
#include <cmath>
#include <random>

namespace {

using simulator::Input;

/// What the pages show about the input, each newly read.
struct Story {
  QString receiver;  ///< for example "progressive 1920x1080@60 RGB 8bit limit SDR HDMI 1.4/2.0"
  QString uvc;       ///< for example "YUYV 1920x1080@60"
  QString hdcp;      ///< receiver and transmitter, for example "HDCP1.3/1.4 No HDCP"
  QString audio;     ///< for example "PCM 48K"
  QString source;
  QString sink;
};

Story readEveryPage(const WindowDriver& user) {
  for (const char* read : {"BN_Info_Read", "BN_Video_Read", "BN_Audio_Read"}) {
    user.click(read);
  }
  const QString size = user.text("label_HActive") + "x" + user.text("label_VActive");
  const QString rate = QString::number(user.text("label_VFreq").toInt() / 100);
  return {
      QStringList{user.text("label_SCAN"), size + "@" + rate, user.text("label_CS"), user.text("label_CD"),
                  user.text("label_CR"), user.text("label_HDR"), user.text("label_HDMI_MODE")}
          .join(" "),
      user.text("label_TX_UVC_Format") + " " + user.text("label_TX_OutputTimming"),
      user.text("label_RX_HDCP") + " " + user.text("label_TX_HDCP"),
      user.text("label_AudioFormat") + " " + user.text("label_AudioSample"),
      user.widget<QRadioButton>("RB_Src_HDMI").isChecked() ? "HDMI" : "DP",
      user.text("label_TX_HPD"),
  };
}

/// Whether the TX EDID of a sink can be read.
bool sinkAnswers() {
  std::array<std::uint8_t, 256> edid{};
  return AT_EDID_Get_TX_table(static_cast<std::uint32_t>(edid.size()), edid.data()) == 0;
}

/// Describes where two pages contradict each other; empty = nowhere.
QString contradiction(const WindowDriver& user) {
  const Story story = readEveryPage(user);
  const auto number = [&](const char* label) { return user.text(label).toDouble(); };
  const bool hasPicture = number("label_HActive") > 0;
  const QString size = user.text("label_HActive") + "x" + user.text("label_VActive");

  if (!story.uvc.endsWith(" " + story.receiver.section(' ', 1, 1)) || !story.uvc.contains(size)) {
    return "size and rate: " + story.receiver + " / " + story.uvc;
  }
  if (story.uvc.startsWith("N/A") == hasPicture || story.uvc.startsWith("P101") != (user.text("label_HDR") != "SDR")) {
    return "pixel format: " + story.receiver + " / " + story.uvc;
  }
  const QString receiverHdcp = user.text("label_HDCP") == "None" ? "No HDCP" : user.text("label_HDCP");
  if (user.text("label_RX_HDCP") != receiverHdcp) {
    return "receiver HDCP: " + receiverHdcp + " / " + story.hdcp;
  }
  if (user.text("label_TX_HDCP") != "HDCP OFF" &&
      user.text("label_TX_HDCP") != (story.sink == "Active" ? receiverHdcp : "No HDCP")) {
    return "transmitter HDCP: " + story.hdcp + ", sink " + story.sink;
  }
  if (hasPicture && (user.text("label_HDMI_MODE") == "DRPX mode") != (story.source == "DP")) {
    return "source: " + story.source + " / " + story.receiver;
  }
  if (story.audio.startsWith("No Audio") == hasPicture ||
      story.audio.startsWith("DVI") != (hasPicture && user.text("label_HDMI_MODE") == "DVI")) {
    return "audio: " + story.audio + " / " + story.receiver;
  }
  if ((story.sink == "Active") != sinkAnswers()) {
    return "sink: " + story.sink;
  }
  if (hasPicture) {
    // The timing's numbers must agree with each other.
    const double fields = user.text("label_SCAN") == "interlace" ? 2 : 1;
    const double pixelsPerSecond =
        number("label_HTotal") * number("label_VTotal") * number("label_VFreq") / 100 / fields;
    const double clock = number("label_PCLK1024") / 1024 * 1e6;
    const double linesPerSecond = number("label_HFreq") * 10;
    if (std::abs(pixelsPerSecond / clock - 1) > 0.001 ||
        std::abs(linesPerSecond * number("label_HTotal") / clock - 1) > 0.001) {
      return QStringLiteral("clock: %1 of %2").arg(pixelsPerSecond).arg(clock);
    }
    if (number("label_HTotal") <= number("label_HActive") + number("label_HS") ||
        number("label_VTotal") <= number("label_VActive") + number("label_VS")) {
      return "starts beyond the totals";
    }
  }
  return {};
}

const QString kNothing = "progressive 0x0@0 RGB 8bit default SDR DVI";

}  // namespace

class ConsistencyTest : public WindowTest {
  Q_OBJECT

 private slots:
  void everySignalIsTheSameOnEveryPage_data() {
    QTest::addColumn<QString>("receiver");
    QTest::addColumn<QString>("uvc");
    QTest::addColumn<QString>("hdcp");
    QTest::addColumn<QString>("audio");
    const QString tmds = " HDMI 1.4/2.0";
    const QString no = "No HDCP";
    const QString v1 = "HDCP1.3/1.4";
    const QString v2 = "HDCP2.2/2.3";
    // As many as there are rows.
    QCOMPARE(simulator::knownSignals().size(), std::size_t{20});
    QTest::newRow("none") << kNothing << "N/A 0x0@0" << no << "No Audio No Audio";
    QTest::newRow("480p60-dvi") << "progressive 640x480@59 RGB 8bit default SDR DVI"
                                << "YUYV 640x480@59" << no << "DVI No Audio";
    QTest::newRow("480p59.94") << "progressive 720x480@59 YUV444 8bit limit SDR" + tmds << "YUYV 720x480@59" << v1
                               << "PCM 48K";
    QTest::newRow("576p50") << "progressive 720x576@50 YUV444 8bit limit SDR" + tmds << "YUYV 720x576@50" << v1
                            << "AC3 48K";
    QTest::newRow("720p60") << "progressive 1280x720@60 YUV444 8bit limit SDR" + tmds << "YUYV 1280x720@60" << v1
                            << "PCM 48K";
    QTest::newRow("1080i50") << "interlace 1920x1080@50 YUV422 8bit limit SDR" + tmds << "YUYV 1920x1080@50" << v1
                             << "AC3 48K";
    QTest::newRow("1080p24") << "progressive 1920x1080@24 YUV444 12bit limit SDR" + tmds << "YUYV 1920x1080@24" << v1
                             << "DTS_HD_MA 48K";
    QTest::newRow("1080p50") << "progressive 1920x1080@50 YUV444 8bit limit SDR" + tmds << "YUYV 1920x1080@50" << v1
                             << "PCM 48K";
    QTest::newRow("1080p60") << "progressive 1920x1080@60 RGB 8bit limit SDR" + tmds << "YUYV 1920x1080@60" << v1
                             << "PCM 48K";
    QTest::newRow("1080p120") << "progressive 1920x1080@120 RGB 8bit full SDR" + tmds << "YUYV 1920x1080@120" << no
                              << "PCM 44.1K";
    QTest::newRow("2160p24-dolby-vision") << "progressive 3840x2160@24 RGB 8bit full Dolby Vision STD" + tmds
                                          << "P101 3840x2160@24" << v2 << "TRUEHD_ATMOS 48K";
    QTest::newRow("2160p60-dolby-vision-ll")
        << "progressive 3840x2160@60 YUV422 12bit limit Dolby Vision Low Latency" + tmds << "P101 3840x2160@60" << v2
        << "EAC3_ATMOS 48K";
    QTest::newRow("2160p30") << "progressive 3840x2160@30 RGB 8bit limit SDR" + tmds << "NV12 3840x2160@30" << v1
                             << "PCM 48K";
    QTest::newRow("2160p59.94-hlg") << "progressive 3840x2160@59 YUV422 10bit limit HLG" + tmds << "P101 3840x2160@59"
                                    << v2 << "EAC3 48K";
    QTest::newRow("2160p60-420") << "progressive 3840x2160@60 YUV420 8bit limit SDR" + tmds << "NV12 3840x2160@60" << v2
                                 << "PCM 48K";
    QTest::newRow("2160p60-hdr10") << "progressive 3840x2160@60 YUV420 10bit limit HDR10" + tmds << "P101 3840x2160@60"
                                   << v2 << "PCM 48K";
    QTest::newRow("2160p60-hdr10plus") << "progressive 3840x2160@60 YUV422 10bit limit HDR10+" + tmds
                                       << "P101 3840x2160@60" << v2 << "PCM 48K";
    QTest::newRow("2160p120") << "progressive 3840x2160@120 RGB 10bit full HDR10 HDMI 2.1"
                              << "P101 3840x2160@120" << v2 << "PCM 96K";
    QTest::newRow("1200p60") << "progressive 1920x1200@59 RGB 8bit full SDR DRPX mode"
                             << "NV12 1920x1200@59" << no << "PCM 48K";
    QTest::newRow("1440p144") << "progressive 2560x1440@143 RGB 8bit full SDR DRPX mode"
                              << "NV12 2560x1440@143" << no << "PCM 192K";
  }

  void everySignalIsTheSameOnEveryPage() {
    QFETCH(QString, receiver);
    QFETCH(QString, uvc);
    QFETCH(QString, hdcp);
    QFETCH(QString, audio);
    const QString scenario = QStringLiteral(R"({"signal": "%1"})").arg(QTest::currentDataTag());
    start(scenario.toUtf8());
    connectDevice();
    const Story story = readEveryPage(user);
    QCOMPARE(story.receiver, receiver);
    QCOMPARE(story.uvc, uvc);
    QCOMPARE(story.hdcp, hdcp + " " + hdcp);
    QCOMPARE(story.audio, audio);
    QCOMPARE(story.source, receiver.contains("DRPX") ? "DP" : "HDMI");
    QCOMPARE(story.sink, "Active");
    QCOMPARE(contradiction(user), QString());
  }

  void anInputSwitchChangesEveryPage() {
    start(R"({"inputs": {"source": "hdmi", "hdmi": "2160p60-hdr10", "dp": "1200p60"}})");
    connectDevice();
    for (int i = 0; i < 2; ++i) {
      user.click("RB_Src_DP");
      Story story = readEveryPage(user);
      QCOMPARE(story.receiver, "progressive 1920x1200@59 RGB 8bit full SDR DRPX mode");
      QCOMPARE(story.uvc, "NV12 1920x1200@59");
      QCOMPARE(story.hdcp, "No HDCP No HDCP");
      QCOMPARE(story.source, "DP");
      user.click("RB_Src_HDMI");
      story = readEveryPage(user);
      QCOMPARE(story.receiver, "progressive 3840x2160@60 YUV420 10bit limit HDR10 HDMI 1.4/2.0");
      QCOMPARE(story.uvc, "P101 3840x2160@60");
      QCOMPARE(story.hdcp, "HDCP2.2/2.3 HDCP2.2/2.3");
      QCOMPARE(story.source, "HDMI");
    }
  }

  void aSignalAtTheOtherInputIsNotSeen() {
    connectDevice();
    const QString before = readEveryPage(user).receiver;
    simulator::feedSignal(Input::kDp, "none");
    QCOMPARE(readEveryPage(user).receiver, before);
    user.click("RB_Src_DP");
    QCOMPARE(readEveryPage(user).receiver, kNothing);
  }

  void withoutHotPlugTheHdmiSignalIsGone() {
    connectDevice();
    const Story before = readEveryPage(user);
    user.click("BN_RX_HPD_OFF");
    const Story gone = readEveryPage(user);
    QCOMPARE(gone.receiver, kNothing);
    QCOMPARE(gone.uvc, "N/A 0x0@0");
    QCOMPARE(gone.hdcp, "No HDCP No HDCP");
    QCOMPARE(gone.audio, "No Audio No Audio");
    QCOMPARE(gone.source, "HDMI");
    QCOMPARE(gone.sink, "Active");
    // DP has its own hot-plug line.
    user.click("RB_Src_DP");
    QCOMPARE(readEveryPage(user).uvc, "NV12 2560x1440@143");
    user.click("RB_Src_HDMI");
    QCOMPARE(readEveryPage(user).receiver, kNothing);
    user.click("BN_RX_HPD_ON");
    const Story back = readEveryPage(user);
    QCOMPARE(back.receiver, before.receiver);
    QCOMPARE(back.uvc, before.uvc);
    QCOMPARE(back.audio, before.audio);
  }

  void theTransmittersHdcpIsSwitchedAlone() {
    connectDevice();
    user.click("RB_TX_HDCP_OFF");
    const Story off = readEveryPage(user);
    QCOMPARE(off.hdcp, "HDCP1.3/1.4 HDCP OFF");
    QVERIFY(user.widget<QRadioButton>("RB_TX_HDCP_OFF").isChecked());
    QCOMPARE(off.uvc, "YUYV 1920x1080@60");
    user.click("RB_TX_HDCP_ON");
    QCOMPARE(readEveryPage(user).hdcp, "HDCP1.3/1.4 HDCP1.3/1.4");
    QVERIFY(user.widget<QRadioButton>("RB_TX_HDCP_ON").isChecked());
  }

  void withoutASinkOnlyTheTransmitterIsSilent() {
    connectDevice();
    const Story before = readEveryPage(user);
    simulator::attachSink(false);
    const Story story = readEveryPage(user);
    QCOMPARE(story.sink, "None");
    QCOMPARE(story.hdcp, "HDCP1.3/1.4 No HDCP");
    QCOMPARE(story.receiver, before.receiver);
    QCOMPARE(story.uvc, before.uvc);
    QVERIFY(!sinkAnswers());
    simulator::attachSink(true);
    QCOMPARE(readEveryPage(user).sink, "Active");
    QVERIFY(sinkAnswers());
  }

  void aScenariosAudioCodesHoldWhereThereIsAudio() {
    start(R"({"audio": {"format": 19, "samplingRate": 9}})");
    connectDevice();
    QCOMPARE(readEveryPage(user).audio, "TRUEHD_ATMOS 192K");
    simulator::feedSignal(Input::kHdmi, "480p60-dvi");
    QCOMPARE(readEveryPage(user).audio, "DVI No Audio");
    simulator::feedSignal(Input::kHdmi, "none");
    QCOMPARE(readEveryPage(user).audio, "No Audio No Audio");
    user.click("RB_Src_DP");
    QCOMPARE(readEveryPage(user).audio, "TRUEHD_ATMOS 192K");
  }

  void gainsAndMuteOutliveTheSignal() {
    connectDevice();
    user.widget<QSlider>("HS_HDMIRX_GAIN").setValue(-30);
    user.widget<QSlider>("HS_HPOUT_GAIN").setValue(9);
    user.click("CB_DACHP_MUTE");
    user.click("RB_Src_DP");
    user.click("BN_RX_HPD_OFF");
    simulator::feedSignal(Input::kDp, "none");
    readEveryPage(user);
    QCOMPARE(user.widget<QSpinBox>("SB_HDMIRX_GAIN").value(), -30);
    QCOMPARE(user.widget<QSpinBox>("SB_HPOUT_GAIN").value(), 9);
    QVERIFY(user.widget<QAbstractButton>("CB_DACHP_MUTE").isChecked());
  }

  void aRestartKeepsTheInputAndRaisesHotPlug() {
    connectDevice();
    user.click("BN_RX_HPD_OFF");
    user.click("RB_Src_DP");
    QCOMPARE(AT_Set_System_Reboot(), 0);
    user.click("BN_Video_Read");
    QCOMPARE(user.message(), "Read Input Source...[fail]");
    simulator::advanceTime(std::chrono::minutes(1));
    QCOMPARE(readEveryPage(user).source, "DP");
    user.click("RB_Src_HDMI");
    QCOMPARE(readEveryPage(user).uvc, "YUYV 1920x1080@60");
  }

  void theDefaultsAreBackEverywhereAfterARestore() {
    connectDevice();
    const Story before = readEveryPage(user);
    user.click("BN_RX_HPD_OFF");
    user.click("RB_Src_DP");
    user.widget<QSlider>("HS_HDMIRX_GAIN").setValue(-30);
    QCOMPARE(AT_SetHDMI_HDCP_OnOff(0), 0);
    QCOMPARE(AT_RestoreToDefault(), 0);
    const Story after = readEveryPage(user);
    QCOMPARE(after.receiver, before.receiver);
    QCOMPARE(after.source, "HDMI");
    QCOMPARE(after.hdcp, before.hdcp);
    QCOMPARE(user.widget<QSpinBox>("SB_HDMIRX_GAIN").value(), 0);
  }

  void onlyAnInputsOwnSignalsCanBeFed() {
    QVERIFY_EXCEPTION_THROWN(simulator::feedSignal(Input::kHdmi, "1440p144"), std::invalid_argument);
    QVERIFY_EXCEPTION_THROWN(simulator::feedSignal(Input::kDp, "1080p60"), std::invalid_argument);
    QVERIFY_EXCEPTION_THROWN(simulator::feedSignal(Input::kHdmi, "1080p61"), std::invalid_argument);
  }

  void noOrderOfActionsMakesThePagesContradictEachOther() {
    connectDevice();
    const std::vector<std::string> names = simulator::knownSignals();
    std::mt19937 random(5);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (int i = 0; i < 500; ++i) {
      switch (below(6)) {
        case 0:
          user.click(below(2) == 0 ? "RB_Src_HDMI" : "RB_Src_DP");
          break;
        case 1:
          user.click(below(2) == 0 ? "BN_RX_HPD_ON" : "BN_RX_HPD_OFF");
          break;
        case 2:
          AT_SetHDMI_HDCP_OnOff(static_cast<std::int32_t>(below(2)));
          break;
        case 3:
          simulator::attachSink(below(2) == 0);
          break;
        default:
          try {
            simulator::feedSignal(below(2) == 0 ? Input::kHdmi : Input::kDp, names[below(names.size())]);
          } catch (const std::invalid_argument&) {
            // This input cannot carry the signal; nothing has changed.
          }
      }
      const QString found = contradiction(user);
      QVERIFY2(found.isEmpty(), qPrintable(QStringLiteral("after action %1: %2").arg(i).arg(found)));
    }
  }
};

QTEST_MAIN(ConsistencyTest)
#include "consistency_test.moc"
