#pragma once

#include <QString>

class QWidget;

/// Asks for a file to open, in a dialog.
/// @param filter the names offered, for example "*.bin"
/// @return its path; empty when the dialog was cancelled
QString browsedPath(QWidget* parent, const QString& caption, const QString& filter);
