#include "audio/audio_calls.h"
#include "diag/diag_calls.h"
#include "edid/edid_calls.h"
#include "firmware/provisioning_calls.h"
#include "session/identity_calls.h"
#include "tests/support/overlong_library.h"
#include "video/video_calls.h"

#include <QTest>

/// Most operations do not pass the library a buffer size. A library that writes a
/// 32-bit number instead of a byte, or 160 bytes of text instead of 128, must do no
/// harm; the first bytes give the value.
class OverlongAnswersTest : public QObject {
  Q_OBJECT

 private slots:
  void everyReadKeepsItsValue_data() {
    QTest::addColumn<int>("excess");
    QTest::newRow("as agreed") << 0;
    QTest::newRow("a 32-bit number into a byte") << 3;
    QTest::newRow("160 bytes into 128") << 32;
    QTest::newRow("a page of text") << 1000;
  }

  void everyReadKeepsItsValue() {
    QFETCH(int, excess);
    overlong::behave({0x02, 0x01}, static_cast<std::size_t>(excess), 2);
    QCOMPARE(int{*audio::readFormat()}, 0x02);
    QCOMPARE(int{*audio::readSamplingRate()}, 0x02);
    QCOMPARE(int{*audio::readReceiverGain()}, 0x0102);
    QCOMPARE(int{*audio::readHeadphoneGain()}, 0x0102);
    QCOMPARE(*audio::readHeadphoneMute(), true);
    QCOMPARE(*video::readInputSource() == video::InputSource::kDp, true);
    QCOMPARE(*video::readTransmitterHotPlug(), 0x41410102);
    QCOMPARE(int{*video::readOutputFormat()}, 0x02);
    QCOMPARE(video::readOutputTiming()->width, 0x41410102U);
    QCOMPARE(int{video::readHdcpVersions()->transmitter}, 0x01);
    QCOMPARE(int{video::readReceiverRecord()->flags}, 0x02);
    QCOMPARE(int{*edid::readMode()}, 0x02);
    QCOMPARE(int{*edid::readDefaultSlot()}, 0x02);
    QCOMPARE(int{*diag::readPin(diag::GpioGroup::kIso, 0)}, 0x02);
    QCOMPARE(*diag::readRegister(0x50, QByteArray(1, '\0'), 3), QByteArray("\x02\x01\x41"));
    QCOMPARE(int{*session::readMcuVersion()}, 0x02);
    QCOMPARE(session::readProduct()->text, QString("\x02\x01"));
  }

  void aTextEndsWithItsBuffer_data() { everyReadKeepsItsValue_data(); }

  void aTextEndsWithItsBuffer() {
    QFETCH(int, excess);
    overlong::behave({}, static_cast<std::size_t>(excess), 5000);
    QCOMPARE(*session::readCaptureVersion(), QString(128, 'A'));
    QCOMPARE(session::readUvcName()->text, QString(100, 'A'));
    QCOMPARE(session::readManufacturer()->text.left(64), QString(64, 'A'));
    QVERIFY(session::readManufacturer()->text.size() <= 100);
    QCOMPARE(session::readManufacturer()->reportedLength, 5000U);
    QCOMPARE(firmware::readSerialNumber()->text, QString(100, 'A'));
    QCOMPARE(firmware::readSerialNumber()->reportedLength, 0x41414141U);
    for (const edid::TableSize size : {edid::TableSize::k256, edid::TableSize::k384, edid::TableSize::k512}) {
      const QByteArray table(static_cast<int>(size), 'A');
      QCOMPARE(*edid::readFlashTable(0, size), table);
      QCOMPARE(*edid::readSinkTable(size), table);
      QCOMPARE(*edid::readDdcTable(size), table);
    }
  }
};

QTEST_APPLESS_MAIN(OverlongAnswersTest)
#include "overlong_answers_test.moc"
