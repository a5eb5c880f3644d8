#include "device/RTICE_SDK_x64.h"
#include "firmware/capture_burn.h"

#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

namespace {

RTICE_ProgressCallback lastCallback = nullptr;

constexpr int kThreads = 4;
constexpr int kReportsOfEach = 2000;

}  // namespace

// A burn that reports from several threads, and leaves its callback to others.
std::int32_t burnToFlash(const char*, RTICE_ProgressCallback progress) {
  lastCallback = progress;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([progress] {
      for (int report = 0; report < kReportsOfEach; ++report) {
        progress(1);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return -7;
}

/// What the listener of a burn may rely on.
class BurnListenerTest : public QObject {
  Q_OBJECT

 private slots:
  void itHearsOneReportAtATime() {
    int inside = 0;
    int most = 0;
    int heard = 0;
    const auto burnt = firmware::burnCaptureTelling("image", [&](float) {
      most = std::max(most, ++inside);
      ++heard;
      std::this_thread::yield();
      --inside;
    });
    QCOMPARE(burnt.error().status, -7);
    QCOMPARE(most, 1);
    QCOMPARE(heard, kThreads * kReportsOfEach);
  }

  void itHearsNothingAfterItsBurn() {
    std::atomic<int> heard = 0;
    std::ignore = firmware::burnCaptureTelling("image", [&heard](float) { ++heard; });
    const int before = heard;
    lastCallback(50);
    std::thread([] { lastCallback(51); }).join();
    QCOMPARE(heard, before);
  }
};

QTEST_APPLESS_MAIN(BurnListenerTest)
#include "burn_listener_test.moc"
