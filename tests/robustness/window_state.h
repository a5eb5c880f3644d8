#pragma once

#include <QMap>
#include <QString>

class QWidget;

/// State of the whole window by widget name: its text, "on" or "off", its number, or
/// the selected row's text ("" if none is selected).
using WindowState = QMap<QString, QString>;

WindowState takeState(const QWidget& window);

/// Puts a widget into a state without emitting signals.
void setState(QWidget& widget, const QString& state);

/// Describes the differences between two states.
QString differences(const WindowState& seen, const WindowState& expected);
