#pragma once

#include <QRect>
#include <QString>
#include <QStringList>
#include <QWidget>

/// What the form's widgets show, and the room they have for it.

/// The "text" or "title" property as the form has it; null if there is none.
QString captionOf(const QWidget& widget);

/// The form's widgets below this one, depth first and in order of creation. Leaves
/// out the internal parts of Qt's widgets.
QStringList namesBelow(const QObject& parent);

/// The area in which a widget shows something. A label's indent stays blank, and
/// captions that are wider than their column reach into it.
QRect shownArea(const QWidget& widget);

/// Whether a text fits the room that the widget's style leaves for it.
bool holds(const QWidget& widget, const QString& text);
