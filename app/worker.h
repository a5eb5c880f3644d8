#pragma once

class QThread;

/// Starts a worker thread that deletes itself once it has finished. GUI thread.
/// @return false when the system has no thread to give; the worker is deleted then
bool startWorker(QThread* worker);
