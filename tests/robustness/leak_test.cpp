#include "simulator/control/control.h"
#include "tests/support/chosen_file.h"
#include "tests/support/sleeps.h"
#include "tests/support/window_fixture.h"

#include <QDeadlineTimer>
#include <QPixmapCache>
#include <QTest>

#include <malloc.h>

namespace {

constexpr int kTimes = 100;
constexpr long kMostPerOperation = 64;  // bytes

// Bytes allocated and not freed.
long heapBytes() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<long>(info.uordblks + info.hblkhd);
}

void quiet(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& /*text*/) {}

}  // namespace

/// Memory that each kind of operation leaves behind, measured separately: a few bytes
/// per press would go unnoticed in a long mixed run.
class LeakTest : public WindowTest {
  Q_OBJECT

 private slots:
  void initTestCase() {
    mallopt(M_ARENA_MAX, 1);  // so that memory freed by threads counts, too
    QPixmapCache::setCacheLimit(0);
    sleeps::replaceBy([](std::chrono::milliseconds time) { simulator::advanceTime(time); });
  }

  void anOperationLeavesNoMemoryBehind_data() {
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("file");
    for (const char* const button :
         {"BN_Info_Read",  "BN_SN_Read",   "BN_SN_Set",      "BN_Apply_Reset", "BN_Apply_Reboot", "BN_Video_Read",
          "BN_Audio_Read", "BN_EDID_Read", "BN_I2C_Read",    "BN_I2C_Write",   "BN_GPIO_Read",    "BN_GPIO_Write",
          "RB_Src_HDMI",   "RB_Src_DP",    "BN_RX_HPD_ON",   "BN_RX_HPD_OFF",  "RB_TX_HDCP_ON",   "RB_TX_HDCP_OFF",
          "CB_DACHP_MUTE", "BN_Connect",   "RB_TX_EDID_256", "RB_I2C_Read_4B", "RB_GPIO_MISC"}) {
      QTest::newRow(button) << button << "";
    }
    for (const char* const button : {"BN_Apply_ReadTxEDID", "BN_Apply_ReadFlashEDID", "BN_Apply_Read_DDC_EDID"}) {
      QTest::newRow(button) << button << "saved.bin";
    }
    for (const char* const button :
         {"BN_Browse_Key", "BN_Browse_ExtMCU", "BN_Browse_ExtMCU_QX", "BN_Apply_WriteFlashEDID"}) {
      QTest::newRow(button) << button << "256.bin";
    }
    QTest::newRow("BN_Browse_Cap") << "BN_Browse_Cap"
                                   << "kvr-7.img";
    QTest::newRow("BN_Browse_Cap_QX") << "BN_Browse_Cap_QX"
                                      << "kvr-7.img";
    for (const char* const button :
         {"BN_Apply_ExtMCU", "BN_Apply_ExtMCU_QX", "BN_Apply_CapMCU", "BN_Apply_CapMCU_QX"}) {
      QTest::newRow(button) << button << "";
    }
  }

  void anOperationLeavesNoMemoryBehind() {
    QFETCH(QString, button);
    QFETCH(QString, file);
    const auto before = qInstallMessageHandler(&quiet);
    files().write("256.bin", QByteArray(256, 'x'));
    files().write("kvr-7.img", "KVR-7");
    connectDevice();
    choose("BN_Browse_Cap_QX", files().path("kvr-7.img"));
    choose("BN_Browse_ExtMCU_QX", files().path("256.bin"));
    const QString path = file.isEmpty() ? QString() : files().path(file);
    repeat(button, path, 20);  // one-time allocations are done after this
    // A leak recurs in every measurement; a cache or a thread that ends late does not.
    constexpr int kMeasures = 3;
    long left = kTimes * kMostPerOperation;
    for (int i = 0; i < kMeasures && left >= kTimes * kMostPerOperation; ++i) {
      const long start = heapBytes();
      repeat(button, path, kTimes);
      left = heapBytes() - start;
    }
    qInstallMessageHandler(before);
    QVERIFY2(left < kTimes * kMostPerOperation,
             qPrintable(QStringLiteral("%1 bytes are left of %2 times").arg(left).arg(kTimes)));
  }

 private:
  void choose(const QString& button, const QString& path) const {
    const ChosenFile chosen(path);
    user.click(button);
  }

  // Uses no timers, which would stay in memory until they expire.
  void waitForAllWorkers() const {
    const QDeadlineTimer patience(kPatienceMs);
    while (!workers().isEmpty() && !patience.hasExpired()) {
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
      QCoreApplication::processEvents();
      QThread::yieldCurrentThread();
    }
  }

  void repeat(const QString& button, const QString& path, int times) const {
    const bool isConnect = button == "BN_Connect";
    for (int i = 0; i < times; ++i) {
      if (isConnect) {  // a second press for the same device does nothing
        user.choose("CB_DeviceType", i % 2 == 0 ? "KVR-5B" : "KVR-7");
      }
      choose(button, path);
      if (button.startsWith("BN_Apply_ExtMCU") || button.startsWith("BN_Apply_CapMCU")) {
        waitForAllWorkers();
      }
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
      QCoreApplication::processEvents();
      simulator::advanceTime(std::chrono::seconds(3));  // longer than a reboot
      simulator::clearJournal();
    }
  }
};

QTEST_MAIN(LeakTest)
#include "leak_test.moc"
