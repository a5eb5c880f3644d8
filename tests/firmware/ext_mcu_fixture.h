#pragma once

#include "simulator/control/control.h"
#include "tests/support/bus_log.h"
#include "tests/support/posted_texts.h"
#include "tests/support/sleeps.h"
#include "tests/support/upgrade_reference.h"
#include "tests/support/window_fixture.h"

#include <algorithm>
#include <memory>
#include <random>

/// Base class for tests that upgrade the external MCU through the window. Replaces
/// QThread::msleep, so include this in only one source of a test program.
class ExtMcuFixture : public WindowTest {
 protected:
  /// Starts again with this external MCU and `more` keys of a scenario.
  void startMcu(const QByteArray& mcu = "{}", const QByteArray& more = "") {
    start("{\"externalMcu\": " + mcu + (more.isEmpty() ? "" : ", ") + more + "}");
    texts_ = std::make_unique<PostedTexts>(user.widget<QLabel>("LB_Message"));
    log.take();
  }

  void finish() {
    sleeps::replaceBy({});
    closeWindow();
    simulator::reset();
  }

  /// Lets the workers' pauses pass in virtual time and logs them.
  void logPauses() {
    sleeps::replaceBy([this](std::chrono::milliseconds time) { log.pause(time); });
  }

  QString writeImage(const QByteArray& content) {
    return files().write(QStringLiteral("image%1.bin").arg(++images_), content);
  }

  void load(const QByteArray& content) { chooseFile("BN_Browse_ExtMCU_QX", writeImage(content)); }

  QPointer<QThread> startUpgrade(const QString& button = "BN_Apply_ExtMCU_QX") const { return startWorker(button); }

  /// Runs an upgrade to its end.
  /// @return its texts
  QStringList upgrade() {
    texts_->clear();
    if (!waitForWorker(startUpgrade())) {
      return {"the worker does not end"};
    }
    return texts_->texts();
  }

  PostedTexts& texts() const { return *texts_; }

  static QString success() { return QStringLiteral("MCU Update Done...[Success]"); }

  /// The first difference between two lists, for a readable failure message.
  static QString firstDifference(const QStringList& seen, const QStringList& expected) {
    for (int i = 0; i < std::max(seen.size(), expected.size()); ++i) {
      if (seen.value(i) != expected.value(i)) {
        return QStringLiteral("line %1 of %2 (%3 expected): \"%4\" instead of \"%5\"")
            .arg(i)
            .arg(seen.size())
            .arg(expected.size())
            .arg(seen.value(i), expected.value(i));
      }
    }
    return {};
  }

  static QByteArray randomImage(int size, unsigned seed) {
    std::mt19937 random(seed);
    QByteArray image(size, '\0');
    for (char& byte : image) {
      byte = static_cast<char>(random() & 0xFF);
    }
    return image;
  }

  /// The first bytes of the MCU's flash.
  static QByteArray flashStart(int size) {
    const std::vector<std::uint8_t> flash = simulator::mcuFlash();
    return {reinterpret_cast<const char*>(flash.data()), std::min(size, static_cast<int>(flash.size()))};
  }

  /// Calls and pauses on the device's bus.
  BusLog log;

 private:
  std::unique_ptr<PostedTexts> texts_;
  int images_ = 0;
};
