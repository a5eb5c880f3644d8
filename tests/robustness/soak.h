#pragma once

#include "simulator/control/control.h"
#include "tests/support/window_fixture.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <array>
#include <chrono>
#include <cstddef>
#include <limits>
#include <random>

/// Figures that must not grow.
struct Measure {
  unsigned operations = 0;
  long heapKiB = 0;
  long undoKiB = 0;  // used by the fields' undo history
  long residentKiB = 0;
  long files = 0;
  long threads = 0;
  long windows = 0;
  long objects = 0;
};

/// Drives one window through everything that a user and a device may do.
class Soak : private WindowFixture {
 public:
  explicit Soak(unsigned seed);

  struct Kind {
    const char* name;
    unsigned weight;
    void (Soak::*act)();
  };
  static const std::array<Kind, 12> kKinds;

  /// @return the kind of operation
  std::size_t operate();

  /// Waits for workers, replaces the device and empties the fields, whose undo history
  /// grows with every key.
  Measure measure();

  // A worker ends slightly before the system removes its thread.
  long remainingThreads();

  /// Whether a mouse click on a visible button shows the device's value within one turn
  /// of the event loop.
  bool answers();

  int controls() const { return buttons_.size() + choices_.size() + fields_.size() + workButtons_ + 1; }
  int usedControls() const { return used_.size(); }
  unsigned endedWorkers() const { return endedWorkers_; }
  bool isStuck() const { return isStuck_; }

 private:
  unsigned below(std::size_t limit) { return static_cast<unsigned>(random_() % limit); }
  bool chance(unsigned percent) { return below(100) < percent; }
  template <typename List>
  auto oneOf(const List& list) {
    return list[static_cast<decltype(list.size())>(below(static_cast<std::size_t>(list.size())))];
  }
  void findControls();
  void writeFiles() const;
  void connectAs(const QString& type);
  // A new device has an empty journal, which would otherwise keep growing.
  void newDevice();
  void settle();
  void pressButton();
  void changeChoice();
  void typeText();
  void pressConnect() { connectAs(chance(75) ? "KVR-7" : "KVR-5B"); }
  void pullOrPlug();
  void changeSignal();
  void passTime() { simulator::advanceTime(std::chrono::milliseconds(below(3000))); }
  // Affects one of an operation's first 20 calls, counted from the device's start.
  void misbehave();
  void answerDialog(const QString& button, const QString& path);
  QString someFile(bool isImage);
  void loadFile();
  void saveFile();
  // The worker runs alongside others, or alone to its end.
  void startWorker(const QString& button);
  void upgrade() { startWorker(chance(50) ? "BN_Apply_ExtMCU" : "BN_Apply_ExtMCU_QX"); }
  void burn();

  static const QStringList kFileButtons;
  static const QStringList kWorkerButtons;

  std::mt19937 random_;
  QStringList buttons_;
  QStringList choices_;
  QStringList fields_;
  int workButtons_ = 0;
  QSet<QString> used_;
  unsigned operations_ = 0;
  unsigned endedWorkers_ = 0;
  long fewestThreads_ = std::numeric_limits<long>::max();
  bool isStuck_ = false;
};
