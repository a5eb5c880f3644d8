#include "device/RTICE_SDK_x64.h"
#include "tests/support/main_window_test_access.h"
#include "tests/support/window_fixture.h"

#include <QTest>
#include <QTimer>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <new>
#include <pthread.h>

namespace {

std::atomic<bool> noThreads{false};

}  // namespace

// Replace functions of the system and of the device library.
extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) noexcept {
  static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
  return noThreads ? EAGAIN : real(thread, attributes, run, argument);
}

int32_t burnToFlash(const char*, RTICE_ProgressCallback) { throw std::bad_alloc(); }

int32_t AT_System_Send_ExternalMCU_cmd(uint8_t, uint8_t, uint16_t, const uint8_t*) { throw std::bad_alloc(); }
}

/// Updates on a system that has run out of threads or memory.
class WorkerFailuresTest : public WindowTest {
  Q_OBJECT

 private slots:
  void initTestCase() {
    start();
    // Lets Qt start the threads that it needs for itself.
    connectDevice();
  }
  void cleanup() {
    noThreads = false;
    WindowTest::cleanup();
  }

  void aBurnWithoutAThreadFailsAndShowsNoProgress() {
    chooseCaptureImage();
    noThreads = true;
    user.click("BN_Apply_CapMCU_QX");
    noThreads = false;
    QCOMPARE(user.message(), "Burn CAP...[Fail]");
    QVERIFY(!MainWindowTestAccess::progressTimer(window())->isActive());
    QVERIFY(workers().isEmpty());
  }

  void aBurnUnderWayKeepsItsProgress() {
    chooseCaptureImage();
    MainWindowTestAccess::progressTimer(window())->start();
    noThreads = true;
    user.click("BN_Apply_CapMCU_QX");
    noThreads = false;
    QVERIFY(MainWindowTestAccess::progressTimer(window())->isActive());
    MainWindowTestAccess::progressTimer(window())->stop();
  }

  void anUpgradeWithoutAThreadFails() {
    chooseMcuImage();
    user.widget<QLabel>("LB_Message").setText("MCU Update Done...[Success]");
    noThreads = true;
    user.click("BN_Apply_ExtMCU_QX");
    noThreads = false;
    QCOMPARE(user.message(), "Error MCU status...[fail]");
    QVERIFY(workers().isEmpty());
  }

  void aBurnWithoutMemoryFails() {
    chooseCaptureImage();
    QVERIFY(waitForWorker(startWorker("BN_Apply_CapMCU_QX")));
    QCOMPARE(user.message(), "Burn CAP...[Fail]");
    MainWindowTestAccess::progressTimer(window())->stop();
  }

  void anUpgradeWithoutMemoryFails() {
    chooseMcuImage();
    QVERIFY(waitForWorker(startWorker("BN_Apply_ExtMCU_QX")));
    QCOMPARE(user.message(), "Error MCU status...[fail]");
  }

 private:
  void chooseCaptureImage() const {
    connectDevice();
    chooseFile("BN_Browse_Cap_QX", files().write("image.img", "KVR-7"));
  }

  void chooseMcuImage() const {
    connectDevice();
    chooseFile("BN_Browse_ExtMCU_QX", files().write("image.bin", "image"));
  }
};

QTEST_MAIN(WorkerFailuresTest)
#include "worker_failures_test.moc"
