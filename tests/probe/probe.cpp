#include "simulator/control/control.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGenericPlugin>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QTabWidget>
#include <QThread>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#if !defined(Q_OS_WIN)
// Weak, because another device library does not have these functions.
namespace simulator {
extern __attribute__((weak)) unsigned callsUnderWay();  // NOLINT(readability-redundant-declaration): now weak
}
#endif

namespace {

// Calls in progress on all threads; 0 if the library cannot tell.
unsigned callsUnderWay() {
#if defined(Q_OS_WIN)
  return 0;
#else
  return simulator::callsUnderWay != nullptr ? simulator::callsUnderWay() : 0;
#endif
}

// Drives the program's window with a script, one step per turn of the event loop:
//   click NAME         presses a button
//   choose NAME ROW    chooses a row of a combo box
//   open PATH          enters a file in the open file dialog and accepts it
//   print NAME         prints "NAME=<text>" of a label
//   showpages          adds tabs for the pages that have none, after the others
//   icon               prints "icon=<sizes>" of the window's icon
//   surface            prints "surface=raster" or "surface=other", the kind of surface
//                      the window is painted on
//   picture PATH       saves a screenshot of the window once the screen shows it
//   wait MS            waits
//   until NAME TEXT    waits until a label shows the text
//   close              closes the window
//   closeafter MS      continues at once, and closes the window after that time,
//                      whatever the GUI thread is doing. Prints
//                      "closing: <step> <calls> <workers> <message>": whether
//                      the script's last step was "ahead", "underway" or "done"
//                      at that moment, and how many device library calls were in
//                      progress; then, as the window closes, how many workers were
//                      running and the text of the message line
class Probe : public QObject {
  Q_OBJECT

 public:
  explicit Probe(const QString& script) : steps_(script.split(';', Qt::SkipEmptyParts)) {
    QTimer::singleShot(0, this, &Probe::next);
  }
  Q_DISABLE_COPY_MOVE(Probe)

  ~Probe() override {
    if (closer_.joinable()) {
      closer_.join();
    }
  }

 private:
  enum LastStep { kAhead, kUnderWay, kDone };

  static QWidget* mainWindow() {
    const QWidgetList windows = QApplication::topLevelWidgets();
    const auto main = std::find_if(windows.begin(), windows.end(),
                                   [](const QWidget* window) { return window->objectName() == "MainWindow"; });
    return main == windows.end() ? nullptr : *main;
  }

  void next() {
    if (steps_.isEmpty()) {
      return;
    }
    QWidget* const main = mainWindow();
    if (main == nullptr || !main->isVisible()) {
      QTimer::singleShot(1, this, &Probe::next);
      return;
    }
    const QStringList step = steps_.first().split(' ', Qt::SkipEmptyParts);
    if (step.value(0) == "open" && qobject_cast<QFileDialog*>(QApplication::activeModalWidget()) == nullptr) {
      QTimer::singleShot(1, this, &Probe::next);
      return;
    }
    if (step.value(0) == "until" && main->findChild<QLabel*>(step.value(1))->text() != step.mid(2).join(' ')) {
      QTimer::singleShot(1, this, &Probe::next);
      return;
    }
    if (step.value(0) == "picture" && !main->windowHandle()->isExposed()) {
      QTimer::singleShot(1, this, &Probe::next);
      return;
    }
    steps_.removeFirst();
    QTimer::singleShot(step.value(0) == "wait" ? step.value(1).toInt() : 0, this, &Probe::next);
    if (steps_.isEmpty()) {
      lastStep_.store(kUnderWay, std::memory_order_relaxed);
    }
    ++depth_;
    run(*main, step);
    if (--depth_ == 0 && steps_.isEmpty()) {
      lastStep_.store(kDone, std::memory_order_relaxed);
    }
  }

  static void showPages(const QWidget& window) {
    auto& tabs = *window.findChild<QTabWidget*>("tabWidget");
    for (const char* const name : {"tab_2", "VideoTab", "AudioTab", "EDIDtab", "DebugTab"}) {
      tabs.addTab(window.findChild<QWidget*>(name), name);
    }
  }

  void run(QWidget& window, const QStringList& step) {
    const QString verb = step.value(0);
    const QString name = step.value(1);
    if (verb == "click") {
      window.findChild<QAbstractButton*>(name)->click();
    } else if (verb == "choose") {
      window.findChild<QComboBox*>(name)->setCurrentText(step.value(2));
    } else if (verb == "open") {
      const QWidget& dialog = *QApplication::activeModalWidget();
      dialog.findChild<QLineEdit*>("fileNameEdit")->setText(name);
      dialog.findChild<QDialogButtonBox*>("buttonBox")->button(QDialogButtonBox::Open)->click();
    } else if (verb == "print") {
      std::printf("%s=%s\n", qPrintable(name), qPrintable(window.findChild<QLabel*>(name)->text()));
      std::fflush(stdout);
    } else if (verb == "showpages") {
      showPages(window);
    } else if (verb == "icon") {
      std::printf("icon=");
      for (const QSize size : window.windowIcon().availableSizes()) {
        std::printf("%dx%d ", size.width(), size.height());
      }
      std::printf("\n");
      std::fflush(stdout);
    } else if (verb == "surface") {
      const bool isRaster = window.windowHandle()->surfaceType() == QSurface::RasterSurface;
      std::printf("surface=%s\n", isRaster ? "raster" : "other");
      std::fflush(stdout);
    } else if (verb == "picture") {
      window.repaint();
      window.screen()->grabWindow(window.winId()).save(name);
    } else if (verb == "close") {
      window.close();
    } else if (verb == "closeafter") {
      closer_ = std::thread([this, time = std::chrono::milliseconds(step.value(1).toInt())] {
        std::this_thread::sleep_for(time);
        arrive();
        // Connected by name: the thread sanitizer does not see Qt's reference count of a function object.
        QMetaObject::invokeMethod(this, "close", Qt::QueuedConnection);
      });
    } else if (verb != "wait" && verb != "until") {
      qFatal("probe: unknown step %s", qPrintable(verb));
    }
  }

  // Relaxed throughout, so that the probe does not synchronise the threads it observes.
  void arrive() {
    stepAtClosing_.store(lastStep_.load(std::memory_order_relaxed), std::memory_order_relaxed);
    callsAtClosing_.store(callsUnderWay(), std::memory_order_relaxed);
  }

  Q_INVOKABLE void close() {
    QWidget* const main = mainWindow();
    if (main == nullptr || !main->isVisible() || QApplication::activeModalWidget() != nullptr) {
      // A window under a modal dialog ignores it, so try again as a user would.
      QTimer::singleShot(1, this, [this] {
        arrive();
        close();
      });
      return;
    }
    const auto workers = main->findChildren<QThread*>(QString(), Qt::FindDirectChildrenOnly);
    const auto running =
        std::count_if(workers.begin(), workers.end(), [](const QThread* worker) { return worker->isRunning(); });
    constexpr const char* kLastStep[] = {"ahead", "underway", "done"};
    std::printf("closing: %s %u %d %s\n", kLastStep[stepAtClosing_.load(std::memory_order_relaxed)],
                callsAtClosing_.load(std::memory_order_relaxed), static_cast<int>(running),
                qPrintable(main->findChild<QLabel*>("LB_Message")->text()));
    std::fflush(stdout);
    main->close();
  }

  QStringList steps_;
  int depth_ = 0;  // of nested steps: one that opens a dialog ends after those that answer it
  std::atomic<int> lastStep_ = kAhead;
  std::atomic<int> stepAtClosing_ = kAhead;
  std::atomic<unsigned> callsAtClosing_ = 0;
  std::thread closer_;
};

// Delays the end of the process by PELLAVOX_PROBE_LINGER_MS after all static objects,
// including Qt's, have been destroyed, so that a thread still running then is caught
// accessing them.
[[gnu::destructor]] void linger() {
  if (const char* const milliseconds = std::getenv("PELLAVOX_PROBE_LINGER_MS")) {
    std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(milliseconds)));
  }
}

}  // namespace

/// Qt loads this into the shipped program if QT_PLUGIN_PATH and
/// QT_QPA_GENERIC_PLUGINS=pellavoxprobe are set. PELLAVOX_PROBE_SCRIPT holds the
/// script, with steps separated by semicolons.
class ProbePlugin : public QGenericPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "probe.json")

 public:
  QObject* create(const QString& /*name*/, const QString& /*specification*/) override {
    return new Probe(qEnvironmentVariable("PELLAVOX_PROBE_SCRIPT"));
  }
};

#include "probe.moc"
