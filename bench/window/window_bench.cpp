/// @file
/// What the window adds to the device library's calls, measured alternately: a click on
/// Read, on Connect, and a burn of the capture firmware. The simulated device takes no
/// time except for the burn.
/// Usage: window_bench [PAIRS [BURNS [SPEED]]]: SPEED makes the device burn faster
#include "app/main_window.h"
#include "bench/pairs.h"
#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "simulator/samples/samples.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

double millisecondsOf(const std::function<void()>& work) {
  QElapsedTimer timer;
  timer.start();
  work();
  return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// @param before preparation for `ours`, not measured
void compare(
    const char* what, int pairs, const char* limit, const std::function<void()>& ours,
    const std::function<void()>& calls, const std::function<void()>& before = [] {}) {
  const auto measureOurs = [&] {
    before();
    return millisecondsOf(ours);
  };
  const Pairs found = measurePairs(pairs, measureOurs, [&calls] { return millisecondsOf(calls); });
  std::printf("%-28s %9.4f ms, the library's calls alone %9.4f ms: %.4f ms more (%s)\n", what, found.ours, found.least,
              found.more, limit);
}

void connectCalls(std::uint32_t product) {
  std::array<std::uint8_t, 128> text{};
  const std::uint8_t versionRegister = 2;
  std::uint8_t version = 0;
  std::uint32_t length = 0;
  const bool good = initialize() == 0 && setDevice(0, 0, 0x5C19, product) == 0 && openPort() == 0 &&
                    AT_Get_Customer_Ver(text.data()) == 0 &&
                    AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, &versionRegister, 1, &version) == 0 &&
                    AT_Get_UVC_Name(text.data(), 100, &length) == 0 && AT_USB_Get_iManufacturer(text.data(), 64) > 0 &&
                    AT_USB_Get_iProduct(text.data(), 64) > 0;
  if (!good) {
    qFatal("the simulated device does not connect");
  }
}

void press(const MainWindow& window, const char* button) {
  window.findChild<QAbstractButton*>(QLatin1String(button))->click();
}

QString message(const MainWindow& window) { return window.findChild<QLabel*>(QStringLiteral("LB_Message"))->text(); }

/// Ends the window's session by connecting to another type, which fails.
void forgetSession(const MainWindow& window) {
  auto& types = *window.findChild<QComboBox*>(QStringLiteral("CB_DeviceType"));
  types.setCurrentIndex(1);
  press(window, "BN_Connect");
  types.setCurrentIndex(0);
}

void compareConnect(const MainWindow& window, int pairs) {
  compare(
      "Connect", pairs, "at most 2",
      [&window] {
        press(window, "BN_Connect");
        if (message(window) != QLatin1String("Device Connected")) {
          qFatal("the window does not connect: %s", qPrintable(message(window)));
        }
        forgetSession(window);
      },
      [] {
        connectCalls(0x6B03);
        closePort();
        if (initialize() == 0 && setDevice(0, 0, 0x5C19, 0x6B02) != 0) {
          uninitialize();
        }
      });
}

void compareRead(const MainWindow& window, int pairs) {
  press(window, "BN_Connect");
  const auto fields = window.findChild<QWidget*>(QStringLiteral("tab"))->findChildren<QLabel*>();
  // A label that already shows the text would have nothing to do.
  const auto clear = [&fields] {
    for (QLabel* const field : fields) {
      if (!field->accessibleName().isEmpty()) {
        field->setText(QString());
      }
    }
  };
  compare(
      "Read, to the last label", pairs, "at most 0.2", [&window] { press(window, "BN_Info_Read"); },
      [] {
        std::array<std::uint8_t, 48> record{};
        AT_HdmiRX_GetRawTimingInfo(record.data());
      },
      clear);
  clear();
  press(window, "BN_Info_Read");
  if (window.findChild<QLabel*>(QStringLiteral("label_HS"))->text().isEmpty()) {
    qFatal("the window reads nothing");
  }
}

void chooseImage(const MainWindow& window, const QString& path) {
  QTimer::singleShot(20, &window, [path] {
    auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr) {
      qFatal("there is no file dialog");
    }
    dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
    dialog->findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"))->button(QDialogButtonBox::Open)->click();
  });
  press(window, "BN_Browse_Cap_QX");
}

/// A thread that only sleeps, a millisecond at a time.
class IdleThread {
 public:
  IdleThread() = default;
  IdleThread(const IdleThread&) = delete;
  IdleThread& operator=(const IdleThread&) = delete;
  ~IdleThread() {
    ends_ = true;
    thread_.join();
  }

  /// The longest time from one waking to the next so far, in milliseconds.
  double longestGap() const { return longestGap_; }

 private:
  void run() {
    QElapsedTimer sinceTick;
    sinceTick.start();
    while (!ends_) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      longestGap_ = std::max(longestGap_.load(), static_cast<double>(sinceTick.nsecsElapsed()) / 1e6);
      sinceTick.start();
    }
  }

  std::atomic<bool> ends_ = false;
  std::atomic<double> longestGap_ = 0;
  std::thread thread_{[this] { run(); }};
};

/// Burns in real time, with the window and with the library only; also measures the
/// longest time for which the GUI thread did not respond, beside that of a thread that
/// has nothing to do: the machine's own pauses.
void compareBurn(const MainWindow& window, const QString& path, int pairs) {
  chooseImage(window, path);
  double longestGap = 0;
  double longestIdleGap = 0;
  QElapsedTimer sinceTick;
  QTimer ticks;
  ticks.setTimerType(Qt::PreciseTimer);
  QObject::connect(&ticks, &QTimer::timeout, [&] {
    longestGap = std::max(longestGap, static_cast<double>(sinceTick.nsecsElapsed()) / 1e6);
    sinceTick.start();
  });
  const auto burnByWindow = [&] {
    sinceTick.start();
    ticks.start(1);
    const IdleThread peer;
    press(window, "BN_Apply_CapMCU_QX");
    auto* const worker = window.findChildren<QThread*>(QString(), Qt::FindDirectChildrenOnly).value(0);
    if (worker == nullptr) {
      qFatal("the burn does not start");
    }
    QEventLoop loop;
    QObject::connect(worker, &QThread::finished, &loop, &QEventLoop::quit);
    loop.exec();
    ticks.stop();
    longestIdleGap = std::max(longestIdleGap, peer.longestGap());
    // Otherwise the next burn would find this worker and wait for it.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  };
  const auto burnAlone = [&path] {
    if (burnToFlash(path.toUtf8().constData(), [](float) {}) != 0) {
      qFatal("the simulated device does not burn");
    }
  };
  compare("Capture burn", pairs, "a hundredth at most", burnByWindow, burnAlone);
  std::printf("%-28s %9.4f ms (at most 16)\n", "longest gap of the GUI thread", longestGap);
  std::printf("%-28s %9.4f ms\n", "longest gap of an idle thread", longestIdleGap);
}

}  // namespace

int main(int argc, char** argv) {
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  const QApplication application(argc, argv);
  const int pairs = std::max(1, argc > 1 ? std::atoi(argv[1]) : 25);
  const int burns = std::max(1, argc > 2 ? std::atoi(argv[2]) : 15);
  simulator::reset();
  simulator::useVirtualTime();
  MainWindow window;
  window.show();
  if (!QTest::qWaitForWindowExposed(&window)) {
    std::fprintf(stderr, "window_bench: there is no display\n");
    return 1;
  }
  compareConnect(window, pairs);
  compareRead(window, pairs);

  const QTemporaryDir folder;
  for (const samples::Sample& sample : samples::all()) {
    if (QString::fromStdString(sample.name) == QLatin1String("capture-kvr-7.img")) {
      samples::write(sample, folder.path().toStdU16String());
    }
  }
  // Loading a scenario also returns to real time.
  const std::string error =
      simulator::loadScenario(R"({"speedFactor": )" + std::string(argc > 3 ? argv[3] : "1") + "}");
  if (!error.empty()) {
    std::fprintf(stderr, "window_bench: %s\n", error.c_str());
    return 1;
  }
  connectCalls(0x6B03);
  compareBurn(window, folder.filePath(QStringLiteral("capture-kvr-7.img")), burns);
  return 0;
}
