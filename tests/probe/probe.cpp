#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGenericPlugin>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

// Works the program's window by a script, one step an event-loop turn:
//   click NAME         presses a button
//   choose NAME ROW    chooses a row of a combo box
//   open PATH          names a file in the open file dialog and accepts it
//   print NAME         prints "NAME=<text>" of a label
//   wait MS            lets that much time pass
//   close              closes the window
class Probe : public QObject {
  Q_OBJECT

 public:
  explicit Probe(const QString& script) : steps_(script.split(';', Qt::SkipEmptyParts)) {
    QTimer::singleShot(0, this, &Probe::next);
  }

 private:
  void next() {
    const QWidgetList windows = QApplication::topLevelWidgets();
    const auto main = std::find_if(windows.begin(), windows.end(),
                                   [](const QWidget* window) { return window->objectName() == "MainWindow"; });
    if (main == windows.end() || !(*main)->isVisible()) {
      QTimer::singleShot(1, this, &Probe::next);
      return;
    }
    if (steps_.isEmpty()) {
      return;
    }
    const QStringList step = steps_.first().split(' ', Qt::SkipEmptyParts);
    if (step.value(0) == "open" && qobject_cast<QFileDialog*>(QApplication::activeModalWidget()) == nullptr) {
      QTimer::singleShot(1, this, &Probe::next);
      return;
    }
    steps_.removeFirst();
    QTimer::singleShot(step.value(0) == "wait" ? step.value(1).toInt() : 0, this, &Probe::next);
    run(**main, step);
  }

  static void run(QWidget& window, const QStringList& step) {
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
    } else if (verb == "close") {
      window.close();
    } else if (verb != "wait") {
      qFatal("probe: unknown step %s", qPrintable(verb));
    }
  }

  QStringList steps_;
};

// Draws the process's end out when PELLAVOX_PROBE_LINGER_MS says so, past the
// destruction of all static objects, Qt's included: a thread that is still
// running then meets what has gone.
[[gnu::destructor]] void linger() {
  if (const char* const milliseconds = std::getenv("PELLAVOX_PROBE_LINGER_MS")) {
    std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(milliseconds)));
  }
}

}  // namespace

/// Loaded by Qt itself, by QT_PLUGIN_PATH and
/// QT_QPA_GENERIC_PLUGINS=pellavoxprobe, into the program as it is shipped; the
/// script is in PELLAVOX_PROBE_SCRIPT, its steps separated by semicolons.
class ProbePlugin : public QGenericPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "probe.json")

 public:
  QObject* create(const QString& /*name*/, const QString& /*specification*/) override {
    return new Probe(qEnvironmentVariable("PELLAVOX_PROBE_SCRIPT"));
  }
};

#include "probe.moc"
