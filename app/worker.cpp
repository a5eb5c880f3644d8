#include "app/worker.h"

#include <QThread>

bool startWorker(QThread* worker) {
  QObject::connect(worker, &QThread::finished, worker, &QObject::deleteLater);
  worker->start(QThread::InheritPriority);
  // A thread that could not be had neither runs nor has ended.
  if (worker->isRunning() || worker->isFinished()) {
    return true;
  }
  delete worker;
  return false;
}
