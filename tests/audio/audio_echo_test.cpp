#include "tests/audio/audio_fixture.h"

#include <QCheckBox>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

#include <climits>

/// How a read changes the audio controls, and whether the change is sent back to the device.
class AudioEchoTest : public AudioFixture {
  Q_OBJECT

 private slots:
  void init() { startAudio(); }
  void cleanup() { finish(); }

  void theReadLeavesTheReceiverSliderWhereItIs() {
    auto& slider = user.widget<QSlider>("HS_HDMIRX_GAIN");
    slider.setValue(10);
    answer(2, 7, -40, 0, 0);
    simulator::clearJournal();
    user.click("BN_Audio_Read");
    QCOMPARE(slider.value(), 10);
    QCOMPARE(user.widget<QSpinBox>("SB_HDMIRX_GAIN").value(), -40);
    QVERIFY(!journalOperations().contains("AT_Audio_Set_HdmiDPRX_VolumeGain"));

    simulator::clearJournal();
    slider.triggerAction(QAbstractSlider::SliderSingleStepAdd);
    QCOMPARE(journalCalls(), QStringList{"AT_Audio_Set_HdmiDPRX_VolumeGain(11)"});
    QCOMPARE(user.widget<QSpinBox>("SB_HDMIRX_GAIN").value(), 11);
  }

  void aReadThatMovesTheHeadphoneSliderWritesNothingBack() {
    auto& slider = user.widget<QSlider>("HS_HPOUT_GAIN");
    answer(2, 7, 0, 0, -20);
    user.click("BN_Audio_Read");
    QCOMPARE(slider.value(), -20);
    QCOMPARE(journalOperations(), kReadOperations);
    simulator::clearJournal();
    slider.setValue(-19);
    QCOMPARE(journalCalls(), QStringList{"AT_Audio_Set_HPOUTgain(-19)"});
    QCOMPARE(debugLines, QStringList{"HPOut Task"});
  }

  // The slider already has the value read, so its next move is mistaken for the read's.
  void aReadThatMovesNothingSwallowsTheNextMove_data() {
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("gain");
    QTest::addColumn<int>("reads");
    QTest::newRow("same gain") << 0 << 0 << 1;
    QTest::newRow("same gain, negative") << -33 << -33 << 1;
    QTest::newRow("same gain, several reads") << 5 << 5 << 3;
    QTest::newRow("clamped to the upper end") << 12 << 30 << 1;
    QTest::newRow("clamped to the lower end") << -50 << SHRT_MIN << 2;
  }

  void aReadThatMovesNothingSwallowsTheNextMove() {
    QFETCH(int, position);
    QFETCH(int, gain);
    QFETCH(int, reads);
    auto& slider = user.widget<QSlider>("HS_HPOUT_GAIN");
    slider.setValue(position);
    for (int read = 1; read <= reads; ++read) {
      answer(2, 7, 0, 0, gain, static_cast<unsigned>(read));
      user.click("BN_Audio_Read");
    }
    simulator::clearJournal();
    debugLines.clear();

    slider.setValue(-10);
    QCOMPARE(journalCalls(), QStringList());
    QCOMPARE(debugLines, QStringList());
    QCOMPARE(user.widget<QSpinBox>("SB_HPOUT_GAIN").value(), -10);
    slider.setValue(-11);
    QCOMPARE(journalCalls(), QStringList{"AT_Audio_Set_HPOUTgain(-11)"});
  }

  void theSwallowedMoveMayBeThatOfALaterRead() {
    answer(2, 7, 0, 0, 0, 1);
    user.click("BN_Audio_Read");
    answer(2, 7, 0, 0, 7, 2);
    user.click("BN_Audio_Read");
    simulator::clearJournal();
    user.widget<QSlider>("HS_HPOUT_GAIN").setValue(8);
    QCOMPARE(journalCalls(), QStringList{"AT_Audio_Set_HPOUTgain(8)"});
  }

  void aReadThatFailsEarlierSwallowsNothing() {
    for (int step = 0; step < kReadOperations.size(); ++step) {
      simulator::reset();
      answer(2, 7, 0, 0, 0, 1, step);
      user.click("BN_Audio_Read");
      simulator::clearJournal();
      user.widget<QSlider>("HS_HPOUT_GAIN").setValue(step + 1);
      QCOMPARE(journalCalls(), QStringList{QStringLiteral("AT_Audio_Set_HPOUTgain(%1)").arg(step + 1)});
    }
  }

  void aReadThatMovesTheMuteBoxEchoesItAtOnce_data() {
    QTest::addColumn<bool>("checked");
    QTest::addColumn<int>("mute");
    QTest::addColumn<QString>("echo");
    QTest::newRow("stays open") << false << 0 << "";
    QTest::newRow("gets muted") << false << 1 << "AT_Audio_Set_DACHP_Mute(1)";
    QTest::newRow("gets muted by 2") << false << 2 << "AT_Audio_Set_DACHP_Mute(1)";
    QTest::newRow("gets muted by 255") << false << 255 << "AT_Audio_Set_DACHP_Mute(1)";
    QTest::newRow("stays muted") << true << 1 << "";
    QTest::newRow("stays muted by 128") << true << 128 << "";
    QTest::newRow("opens") << true << 0 << "AT_Audio_Set_DACHP_Mute(0)";
  }

  void aReadThatMovesTheMuteBoxEchoesItAtOnce() {
    QFETCH(bool, checked);
    QFETCH(int, mute);
    QFETCH(QString, echo);
    auto& box = user.widget<QCheckBox>("CB_DACHP_MUTE");
    box.setChecked(checked);
    answer(2, 7, 0, static_cast<std::uint8_t>(mute), 0);
    simulator::clearJournal();
    user.click("BN_Audio_Read");
    QCOMPARE(box.isChecked(), mute != 0);
    QStringList calls;
    for (const QString& operation : kReadOperations) {
      calls << operation + "()";
    }
    if (!echo.isEmpty()) {
      calls.insert(4, echo);
    }
    QCOMPARE(journalCalls(), calls);
  }
};

QTEST_MAIN(AudioEchoTest)
#include "audio_echo_test.moc"
