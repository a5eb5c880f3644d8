#pragma once

#include <QCoreApplication>
#include <QThread>

#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

/// Lets a test decide what QThread::msleep does in worker threads. Include this in one
/// source of a test program: its definition of msleep takes precedence over Qt's.
namespace sleeps {

using Instead = std::function<void(std::chrono::milliseconds)>;

struct Replacement {
  std::mutex mutex;
  Instead instead;  // empty = sleep for real
};

inline Replacement& replacement() {
  static Replacement theOne;
  return theOne;
}

/// From now on, runs `instead` on the thread that wants to sleep. An empty function
/// restores real sleeping.
inline void replaceBy(Instead instead) {
  const std::lock_guard lock(replacement().mutex);
  replacement().instead = std::move(instead);
}

inline void sleep(unsigned long milliseconds) {
  const std::chrono::milliseconds time(milliseconds);
  sleeps::Instead instead;
  // The GUI thread's own waits remain real.
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
// On Windows, calls into a DLL go through a pointer of this name. The linker makes one
// for Qt's function only if the program does not define it.
extern "C" {
extern void (*__imp__ZN7QThread6msleepEm)(unsigned long);
void (*__imp__ZN7QThread6msleepEm)(unsigned long) = &sleeps::sleep;
}
#else
void QThread::msleep(unsigned long milliseconds) { sleeps::sleep(milliseconds); }
#endif
