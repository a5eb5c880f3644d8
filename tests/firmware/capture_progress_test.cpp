#include "firmware/capture_progress.h"

#include <QTest>

#include <cmath>
#include <limits>

class CaptureProgressTest : public QObject {
  Q_OBJECT

 private slots:
  void percentIsCutTowardsZeroAndKeptWithin32Bits_data() {
    using Float = std::numeric_limits<float>;
    using Int = std::numeric_limits<std::int32_t>;
    QTest::addColumn<float>("percent");
    QTest::addColumn<std::int32_t>("whole");
    const auto row = [](const char* name, float percent, std::int32_t whole) {
      QTest::newRow(name) << percent << whole;
    };
    row("start", 0.0F, 0);
    row("below one", 0.99F, 0);
    row("whole", 42.0F, 42);
    row("99.9", 99.9F, 99);
    row("last before 100", std::nextafter(100.0F, 0.0F), 99);
    row("100", 100.0F, 100);
    row("over 100", 100.7F, 100);
    row("minus zero", -0.0F, 0);
    row("negative fraction", -0.9F, 0);
    row("negative", -3.7F, -3);
    row("smallest above zero", Float::denorm_min(), 0);
    row("largest that fits", 2147483520.0F, 2147483520);
    row("2^31", 2147483648.0F, Int::max());
    row("-2^31", -2147483648.0F, Int::min());
    row("below -2^31", -2147483904.0F, Int::min());
    row("largest", Float::max(), Int::max());
    row("lowest", Float::lowest(), Int::min());
    row("infinite", Float::infinity(), Int::max());
    row("minus infinite", -Float::infinity(), Int::min());
    row("no number", Float::quiet_NaN(), 0);
    row("negative no number", -Float::quiet_NaN(), 0);
    row("signalling no number", Float::signaling_NaN(), 0);
  }

  void percentIsCutTowardsZeroAndKeptWithin32Bits() {
    QFETCH(float, percent);
    QFETCH(std::int32_t, whole);
    QCOMPARE(firmware::wholePercent(percent), whole);
  }
};

QTEST_APPLESS_MAIN(CaptureProgressTest)
#include "capture_progress_test.moc"
