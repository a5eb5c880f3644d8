#include "app/main_window.h"
#include "app/program_state.h"
#include "simulator/control/control.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/sleeps.h"
#include "tests/support/window_driver.h"

#include <QTemporaryDir>
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

/// A capture burn and an external MCU upgrade at once, which nothing prevents.
class BothUpdatesTest : public QObject {
  Q_OBJECT

 private slots:
  void aBurnAndAnUpgradeAtOnceBothSucceed_data() {
    QTest::addColumn<bool>("held");
    // The whole upgrade between two steps of the burn, or both as they come.
    QTest::newRow("one within the other") << true;
    QTest::newRow("side by side") << false;
  }

  void aBurnAndAnUpgradeAtOnceBothSucceed() {
    QFETCH(bool, held);
    simulator::reset();
    simulator::useVirtualTime();
    sleeps::replaceBy([](std::chrono::milliseconds time) { simulator::advanceTime(time); });
    selectedVid = 0;
    selectedPid = 0;
    const QTemporaryDir directory;
    const QByteArray captureImage = madeUpImage(500'000, "KVR-7");
    const QByteArray mcuImage = madeUpImage(20'000, "MCU");
    MainWindow window;
    const WindowDriver user(window);
    user.click("BN_Connect");
    choose(user, "BN_Browse_Cap_QX", directory.filePath("capture.img"), captureImage);
    choose(user, "BN_Browse_ExtMCU_QX", directory.filePath("mcu.bin"), mcuImage);

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
    // Workers delete themselves.
    QTRY_VERIFY(window.findChildren<QThread*>().isEmpty());

    QCOMPARE(firstOf(simulator::captureFlash(), captureImage.size()), captureImage);
    QCOMPARE(firstOf(simulator::mcuFlash(), mcuImage.size()), mcuImage);
    simulator::advanceTime(std::chrono::seconds(2));
    QVERIFY(simulator::mcuRunsApplication());
    const auto calls = simulator::journal();
    QCOMPARE(std::count_if(calls.begin(), calls.end(),
                           [](const auto& call) { return call.operation == "burnToFlash" && call.result == 0; }),
             1);
  }

 private:
  static void choose(const WindowDriver& user, const QString& button, const QString& path, const QByteArray& content) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
      qFatal("%s cannot be written", qPrintable(path));
    }
    file.close();
    DialogAnswers answers;
    answers.chooseFile(path);
    user.click(button);
  }
};

QTEST_MAIN(BothUpdatesTest)
#include "both_updates_test.moc"
