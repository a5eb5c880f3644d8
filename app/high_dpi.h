#pragma once

#include <QGuiApplication>

/// Lets Qt scale the window's fixed geometry on a dense screen, also by
/// fractions such as 150 %. Before the application object is made.
inline void enableHighDpi() {
  QGuiApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
  QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}
