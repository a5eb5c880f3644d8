/// @file
/// The program's real window, without a screen.
#pragma once

#include "app/main_window.h"

#include <QApplication>

#include <array>

namespace fuzz {

/// The window, which exists as long as the process. Its debug output is dropped.
inline MainWindow& window() {
  static MainWindow* const window = [] {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    static int argumentCount = 1;
    static std::array<char, 5> name{"fuzz"};
    static std::array<char*, 2> arguments{name.data(), nullptr};
    new QApplication(argumentCount, arguments.data());
    return new MainWindow;
  }();
  return *window;
}

/// The widget with this object name.
template <typename Widget>
Widget& widget(const char* name) {
  return *window().findChild<Widget*>(QLatin1String(name));
}

}  // namespace fuzz
