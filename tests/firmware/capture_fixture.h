#pragma once

#include "app/program_state.h"
#include "simulator/control/control.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/journal.h"
#include "tests/support/main_window_test_access.h"
#include "tests/support/window_fixture.h"

#include <QTest>
#include <QTimer>

#include <functional>

/// Base class for tests that burn capture firmware through the window. The progress
/// timer never fires by itself; tests decide when it ticks.
class CaptureFixture : public WindowTest {
 public:
  // Makes file names UTF-8 wherever the test runs.
  static void initMain() { qputenv("LC_ALL", "C.UTF-8"); }

 protected:
  /// Starts again with a progress timer that does not fire.
  void startCapture() {
    start();
    progressTimer().setInterval(24 * 60 * 60 * 1000);
  }

  /// Waits for all burns and closes the window.
  void finish() {
    simulator::releaseBurns();
    QPointer<QThread> last;
    for (QThread* worker : workers()) {
      last = worker;
      QVERIFY(worker->wait(10'000));
    }
    // The worker's deletion is still pending.
    QVERIFY(waitFor([&] { return last.isNull(); }));
    closeWindow();
  }

  static bool waitFor(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, 10'000); }

  /// A firmware image for a model, with a version that the device shows after the burn.
  static QByteArray imageFor(const QByteArray& model, int size = 100'000) {
    QByteArray image(size, '\0');
    for (int i = 0; i < size; ++i) {
      image[i] = static_cast<char>(i * 31 + i / 256);
    }
    image.replace(500, model.size(), model);
    image.replace(900, 8, "V4.56.78");
    return image;
  }

  /// The first bytes of the capture flash.
  static QByteArray flashContent(int size) {
    const std::vector<std::uint8_t> content = simulator::captureFlash();
    return QByteArray(reinterpret_cast<const char*>(content.data()), static_cast<int>(content.size())).left(size);
  }

  /// @return the file's path
  QString write(const QString& name, const QByteArray& content) const { return files().write(name, content); }

  /// Chooses a firmware file.
  void browse(const QString& path) const { chooseFile("BN_Browse_Cap_QX", path); }

  QTimer& progressTimer() const { return *MainWindowTestAccess::progressTimer(window()); }

  /// The contents of both pages' path fields.
  QStringList pathFields() const {
    return {user.widget<QLineEdit>("lineEdit_Cap_Path").text(), user.widget<QLineEdit>("lineEdit_Cap_Path_QX").text()};
  }

  /// Presses a start button and waits until this file is burnt.
  void expectBurn(const QString& button, const QString& path) {
    const DialogAnswers answers;
    simulator::clearJournal();
    user.click(button);
    QVERIFY(answers.messages().isEmpty());
    QVERIFY(waitFor([&] { return user.message() == "Burn CAP...[OK]"; }));
    QCOMPARE(journalCalls(), QStringList{"burnToFlash(\"" + path + "\")"});
    QCOMPARE(burnProgress.load(), 100);
  }
};
