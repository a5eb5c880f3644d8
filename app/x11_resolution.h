#pragma once

#include <QByteArray>

#include <optional>

/// The resolution of an X server's screen as Qt takes it, without Qt's platform: that
/// can be asked only once, and only in a process that then has to live with the answer.

/// The resolution that the X resources name as "Xft.dpi".
/// @param resources the property RESOURCE_MANAGER, one resource a line
std::optional<int> resolutionInResources(const QByteArray& resources);

/// The resolution that a desktop's settings name as "Xft/DPI".
/// @param settings the property _XSETTINGS_SETTINGS, in the layout of the XSETTINGS
///                 specification; may be cut or wrong
std::optional<int> resolutionInSettings(const QByteArray& settings);

/// Of the default screen of the server that DISPLAY names, in dots per inch: from the
/// desktop's settings, else from the X resources, else from the screen's size, there
/// at least 96. Nothing when there is no such server.
std::optional<double> x11Resolution();
