#pragma once

#include <QCoreApplication>
#include <QThread>

#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

/// Lets a test decide what a worker's QThread::msleep does. The test program
/// that includes this (in one source) has the only msleep that its worker
/// threads reach: a symbol of the program comes before that of Qt's library.
namespace sleeps {

using Instead = std::function<void(std::chrono::milliseconds)>;

struct Replacement {
  std::mutex mutex;
  Instead instead;  // empty = really sleep
};

inline Replacement& replacement() {
  static Replacement theOne;
  return theOne;
}

/// From here on, `instead` runs on the thread that wants to sleep; an empty one
/// makes threads really sleep again.
inline void replaceBy(Instead instead) {
  const std::lock_guard lock(replacement().mutex);
  replacement().instead = std::move(instead);
}

}  // namespace sleeps

void QThread::msleep(unsigned long milliseconds) {
  const std::chrono::milliseconds time(milliseconds);
  sleeps::Instead instead;
  // The test's own waits go on.
  if (QCoreApplication::instance() == nullptr || QThread::currentThread() != QCoreApplication::instance()->thread()) {
    const std::lock_guard lock(sleeps::replacement().mutex);
    instead = sleeps::replacement().instead;
  }
  if (instead) {
    instead(time);
  } else {
    std::this_thread::sleep_for(time);
  }
}
