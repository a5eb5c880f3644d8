#pragma once

#include "app/main_window.h"

/// Gives tests access to private members of the window.
struct MainWindowTestAccess {
  static QTimer* progressTimer(const MainWindow& window) { return window.progressTimer; }
  static QString captureImagePath(const MainWindow& window) { return window.capFirmwarePath; }
  static UpdateCaptureThread* captureWorker(const MainWindow& window) { return window.updateCaptureThread; }
  static std::shared_ptr<MessageLine> messageLine(const MainWindow& window) { return window.messageLine; }

  /// False puts the window back into the state during its construction.
  static void setReady(MainWindow& window, bool ready) { window.uiReady = ready; }
};
