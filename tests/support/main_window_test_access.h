#pragma once

#include "app/main_window.h"

/// Lets tests reach what the window keeps to itself.
struct MainWindowTestAccess {
  static QTimer* progressTimer(const MainWindow& window) { return window.progressTimer; }
  static QString captureImagePath(const MainWindow& window) { return window.capFirmwarePath; }
  static UpdateCaptureThread* captureWorker(const MainWindow& window) { return window.updateCaptureThread; }
  static std::shared_ptr<MessageLine> messageLine(const MainWindow& window) { return window.messageLine; }

  /// Puts the window back into its construction, or out of it.
  static void setReady(MainWindow& window, bool ready) { window.uiReady = ready; }
};
