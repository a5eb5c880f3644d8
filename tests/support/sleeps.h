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
/// threads reach: what the program defines comes before what Qt's library does.
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

inline void sleep(unsigned long milliseconds) {
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

}  // namespace sleeps

#if defined(Q_OS_WIN)
// There, a call into a DLL goes through a pointer of this name. The linker makes
// one for Qt's function only when the program has none.
extern "C" {
extern void (*__imp__ZN7QThread6msleepEm)(unsigned long);
void (*__imp__ZN7QThread6msleepEm)(unsigned long) = &sleeps::sleep;
}
#else
void QThread::msleep(unsigned long milliseconds) { sleeps::sleep(milliseconds); }
#endif
