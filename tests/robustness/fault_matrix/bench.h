#pragma once

#include "app/main_window.h"
#include "device/RTICE_SDK_x64.h"
#include "simulator/control/control.h"
#include "tests/robustness/fault_matrix/control_table.h"
#include "tests/robustness/fault_matrix/window_state.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/posted_texts.h"
#include "tests/support/window_driver.h"

#include <QEventLoop>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

namespace fault_matrix {

inline constexpr int kPatienceMs = 60'000;

/// Throws a breach unless something holds.
inline void require(bool holds, const QString& complaint) {
  if (!holds) {
    throw std::runtime_error(complaint.toStdString());
  }
}

/// What came of something the operator did; the folder of the files as "DIR".
struct Outcome {
  WindowState state;
  QStringList operations;
  QStringList results;  ///< the calls with arguments and status
  QVector<std::chrono::nanoseconds> durations;
};

/// The window on the device of these tests.
class Bench {
 public:
  explicit Bench(bool connected) : user(window), texts_(user.widget<QLabel>("LB_Message")), connected_(connected) {
    write("key.bin", "key");
    write("capture.img", "firmware for KVR-7");
    simulator::reset();
    simulator::useVirtualTime();
    if (connected) {
      user.click("BN_Connect");
    }
  }

  void write(const char* name, const QByteArray& content) const {
    QFile file(directory_.filePath(QLatin1String(name)));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
      qFatal("%s", qPrintable(file.errorString()));
    }
  }

  QString inFolder(QString text) const { return text.replace("DIR", directory_.path()); }

  /// A new device, in the session that the window believes to be in.
  void renewDevice(const char* scenario) const {
    const std::string error = simulator::loadScenario(scenario);
    require(error.empty(), QString::fromStdString(error));
    simulator::useVirtualTime();
    if (connected_) {
      require(initialize() == 0 && setDevice(0, 0, 0x5C19, 0x6B03) == 0 && openPort() == 0, "no session");
    }
  }

  /// Puts all widgets back, and the file away.
  void restore(const WindowState& state) const {
    for (QWidget* const widget : window.findChildren<QWidget*>()) {
      const auto found = state.find(widget->objectName());
      if (found != state.end()) {
        setState(*widget, inFolder(found.value()));
      }
    }
    QFile::remove(inFolder(kSavedPath));
  }

  WindowState state() const {
    WindowState all = takeState(window);
    for (QString& state : all) {
      state.replace(directory_.path(), "DIR");
    }
    QFile file(inFolder(kSavedPath));
    if (file.open(QIODevice::ReadOnly)) {
      const QByteArray content = file.readAll();
      all[kSavedFile] = QStringLiteral("%1 bytes").arg(content.size());
      if (!content.isEmpty() && content.count(content[0]) == content.size()) {
        all[kSavedFile] += " of " + QString::fromLatin1(content.left(1).toHex().toUpper());
      }
    }
    return all;
  }

  /// Does what the operator does and sees what comes of it.
  Outcome act(const Deed& deed) {
    const std::size_t before = simulator::journal().size();
    texts_.clear();
    DialogAnswers answers;
    switch (deed.kind) {
      case Deed::Kind::kClick:
        user.click(deed.widget);
        break;
      case Deed::Kind::kChooseRow:
        user.choose(deed.widget, deed.value);
        break;
      case Deed::Kind::kSlide:
        user.widget<QSlider>(deed.widget).setValue(deed.value.toInt());
        break;
      case Deed::Kind::kChooseFile:
        answers.chooseFile(inFolder(deed.value));
        user.click(deed.widget);
        break;
      case Deed::Kind::kRunWorker:
        runWorker(deed.widget);
        break;
    }
    require(answers.messages().isEmpty(), "a message box shows");
    require(answers.fileDialogs().size() == (deed.kind == Deed::Kind::kChooseFile ? 1 : 0), "other file dialogs show");
    require(QApplication::overrideCursor() == nullptr, "the wait cursor stays");

    Outcome outcome{state(), {}, {}, {}};
    // Beside the worker's own texts there are the progress timer's, by the real clock.
    if (!texts_.texts().isEmpty()) {
      outcome.state["LB_Message"] = texts_.texts().last();
    }
    const auto journal = simulator::journal();
    for (auto entry = journal.begin() + static_cast<std::ptrdiff_t>(before); entry != journal.end(); ++entry) {
      outcome.operations << QString::fromStdString(entry->operation);
      outcome.results << QStringLiteral("%1(%2) = %3")
                             .arg(outcome.operations.last(), QString::fromStdString(entry->arguments))
                             .arg(entry->result)
                             .replace(directory_.path(), "DIR");
      outcome.durations << entry->duration;
      const bool onWindowsThread = entry->thread == std::this_thread::get_id();
      require(onWindowsThread == (deed.kind != Deed::Kind::kRunWorker),
              outcome.operations.last() + " is called on the wrong thread");
    }
    return outcome;
  }

  const QStringList& texts() const { return texts_.texts(); }

 private:
  static constexpr char kSavedPath[] = "DIR/table.bin";

  void runWorker(const char* button) const {
    user.click(button);
    const auto workers = window.findChildren<QThread*>(QString(), Qt::FindDirectChildrenOnly);
    require(workers.size() == 1, "not one worker");
    const QPointer<QThread> worker = workers.last();
    QEventLoop untilItsEnd;
    QObject::connect(worker, &QObject::destroyed, &untilItsEnd, &QEventLoop::quit);
    QTimer::singleShot(kPatienceMs, &untilItsEnd, &QEventLoop::quit);
    untilItsEnd.exec();
    require(worker.isNull(), "the worker does not end");
  }

  QTemporaryDir directory_;

 public:
  MainWindow window;
  WindowDriver user;

 private:
  PostedTexts texts_;
  bool connected_;
};

}  // namespace fault_matrix
