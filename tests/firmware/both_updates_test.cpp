#include "simulator/control/control.h"
#include "tests/support/sleeps.h"
#include "tests/support/window_fixture.h"

#include <QTest>

#include <algorithm>

namespace {

QByteArray madeUpImage(int size, const QByteArray& text) {
  QByteArray image(size, '\0');
  for (int i = 0; i < size; ++i) {
    image[i] = static_cast<char>(i * 37 + i / 256);
  }
  return image.replace(300, text.size(), text);
}

QByteArray firstOf(const std::vector<std::uint8_t>& bytes, int size) {
  return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())).left(size);
}

}  // namespace

/// A capture burn and an external MCU upgrade at the same time; nothing prevents this.
class BothUpdatesTest : public WindowTest {
  Q_OBJECT

 private slots:
  void aBurnAndAnUpgradeAtOnceBothSucceed_data() {
    QTest::addColumn<bool>("held");
    // The whole upgrade between two steps of the burn, or both in any order.
    QTest::newRow("one within the other") << true;
    QTest::newRow("side by side") << false;
  }

  void aBurnAndAnUpgradeAtOnceBothSucceed() {
    QFETCH(bool, held);
    sleeps::replaceBy([](std::chrono::milliseconds time) { simulator::advanceTime(time); });
    const QByteArray captureImage = madeUpImage(500'000, "KVR-7");
    const QByteArray mcuImage = madeUpImage(20'000, "MCU");
    connectDevice();
    chooseFile("BN_Browse_Cap_QX", files().write("capture.img", captureImage));
    chooseFile("BN_Browse_ExtMCU_QX", files().write("mcu.bin", mcuImage));

    if (held) {
      simulator::holdBurns(20);
    }
    user.click("BN_Apply_CapMCU_QX");
    if (held) {
      QTRY_COMPARE(simulator::heldBurns(), 1U);
    }
    user.click("BN_Apply_ExtMCU_QX");
    if (held) {
      QTRY_COMPARE(user.message(), "MCU Update Done...[Success]");
      simulator::releaseBurns();
    }
    // The workers delete themselves.
    QTRY_VERIFY(workers().isEmpty());

    QCOMPARE(firstOf(simulator::captureFlash(), captureImage.size()), captureImage);
    QCOMPARE(firstOf(simulator::mcuFlash(), mcuImage.size()), mcuImage);
    simulator::advanceTime(std::chrono::seconds(2));
    QVERIFY(simulator::mcuRunsApplication());
    const auto calls = simulator::journal();
    QCOMPARE(std::count_if(calls.begin(), calls.end(),
                           [](const auto& call) { return call.operation == "burnToFlash" && call.result == 0; }),
             1);
  }
};

QTEST_MAIN(BothUpdatesTest)
#include "both_updates_test.moc"
