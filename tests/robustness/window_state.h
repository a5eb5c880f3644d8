#pragma once

#include <QMap>
#include <QString>

class QWidget;

/// How the whole window stands: for each widget's name its text, "on" or "off",
/// its number, or the chosen row's text ("" when none is chosen).
using WindowState = QMap<QString, QString>;

WindowState takeState(const QWidget& window);

/// Puts a widget into a state without anybody being told.
void setState(QWidget& widget, const QString& state);

/// Where two states differ, as "name is "..." instead of "..."".
QString differences(const WindowState& seen, const WindowState& expected);
