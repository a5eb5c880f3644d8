#include "tests/support/window_fixture.h"

#include "app/program_state.h"
#include "simulator/control/control.h"
#include "tests/support/chosen_file.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/main_window_test_access.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

WindowFixture::WindowFixture(const QByteArray& scenario) { start(scenario); }

WindowFixture::~WindowFixture() { closeWindow(); }

void WindowFixture::start(const QByteArray& scenario) {
  closeWindow();
  loadDevice(scenario);
  selectedVid = 0;
  selectedPid = 0;
  burnProgress = 0;
  files_.reset();
  window_ = std::make_unique<MainWindow>();
  user = WindowDriver(*window_);
}

void WindowFixture::loadDevice(const QByteArray& scenario) {
  const std::string error = simulator::loadScenario(scenario.toStdString());
  if (!error.empty()) {
    qFatal("%s", error.c_str());
  }
  simulator::useVirtualTime();
}

void WindowFixture::connectDevice() const {
  user.click("BN_Connect");
  if (user.message() != "Device Connected") {
    qFatal("the window does not connect: %s", qPrintable(user.message()));
  }
  simulator::clearJournal();
}

const TestFiles& WindowFixture::files() const {
  if (!files_) {
    files_.emplace();
  }
  return *files_;
}

int WindowFixture::chooseFile(const QString& button, const QString& path) const {
  const DialogAnswers messageBoxes;
  const ChosenFile file(path);
  user.click(button);
  return file.timesAsked();
}

QList<QThread*> WindowFixture::workers() const {
  return window_ ? window_->findChildren<QThread*>(QString(), Qt::FindDirectChildrenOnly) : QList<QThread*>();
}

QPointer<QThread> WindowFixture::startWorker(const QString& button) const {
  const int before = workers().size();
  user.click(button);
  const QList<QThread*> now = workers();
  if (now.size() != before + 1) {
    qFatal("%s has not started one worker", qPrintable(button));
  }
  return now.last();
}

bool WindowFixture::waitForWorker(const QPointer<QThread>& worker) {
  const QDeadlineTimer deadline(kPatienceMs);
  QTimer wakeUp;  // makes the loop check the deadline
  wakeUp.start(100);
  // A nested event loop would not delete objects whose deletion was requested outside it.
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  while (!worker.isNull() && !deadline.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  return worker.isNull();
}

bool WindowFixture::waitForWorkers() const {
  while (!workers().isEmpty()) {
    if (!waitForWorker(workers().last())) {
      return false;
    }
  }
  return true;
}

void WindowFixture::closeWindow() {
  if (!window_) {
    return;
  }
  // The window does not delete its timer.
  const std::unique_ptr<QTimer> timer(MainWindowTestAccess::progressTimer(*window_));
  user = WindowDriver();
  window_.reset();
}
