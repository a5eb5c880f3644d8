#pragma once

class QWidget;

/// Whether an operator can do something with a widget: a button, list, slider,
/// box, field or tab bar, but not Qt's own part of one (a spin box's field).
bool isControl(const QWidget& widget);
