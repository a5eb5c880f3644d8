#pragma once

#include "app/main_window.h"
#include "tests/support/test_files.h"
#include "tests/support/window_driver.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QThread>

#include <memory>
#include <optional>

/// A window on the simulated device, ready to be driven. A process has one device,
/// which all its fixtures share. GUI thread only.
class WindowFixture {
 public:
  /// Timeout of waits in milliseconds.
  static constexpr int kPatienceMs = 60'000;

  /// Like `start`.
  explicit WindowFixture(const QByteArray& scenario = "{}");
  ~WindowFixture();
  Q_DISABLE_COPY_MOVE(WindowFixture)

  /// Starts again as in a new process: a new device in virtual time, global values reset,
  /// a new window without a connection, and an empty folder for files. An invalid
  /// scenario ends the test program.
  void start(const QByteArray& scenario = "{}");

  /// Replaces only the device; the window still believes in its session.
  static void loadDevice(const QByteArray& scenario = "{}");

  /// Connects, which must succeed, and clears the journal.
  void connectDevice() const;

  /// The test's files, which the next `start` removes.
  const TestFiles& files() const;

  /// Presses a button that asks for a file, and chooses this one.
  /// @return how often the program asked for a file
  int chooseFile(const QString& button, const QString& path) const;

  /// Workers that have not deleted themselves yet.
  QList<QThread*> workers() const;
  /// Presses a button that starts a worker.
  /// @return the worker; null once it has deleted itself
  QPointer<QThread> startWorker(const QString& button) const;
  /// Lets the event loop run until the worker has deleted itself.
  static bool waitForWorker(const QPointer<QThread>& worker);
  /// The same for all workers of the window.
  bool waitForWorkers() const;

  /// Destroys the window; do not use `user` until the next `start`.
  void closeWindow();

  MainWindow& window() const { return *window_; }

  /// Drives the window.
  WindowDriver user;

 private:
  mutable std::optional<TestFiles> files_;  // made on first use
  std::unique_ptr<MainWindow> window_;
};

/// Base class for tests that drive the window: each test function starts with a fixture
/// in the state of `WindowFixture::start`.
class WindowTest : public QObject, public WindowFixture {
  Q_OBJECT

 protected slots:
  void init() { start(); }
  void cleanup() { closeWindow(); }
};
