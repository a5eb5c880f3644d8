#pragma once

#include <array>

class QWidget;

/// The buttons that read from the device and ask for no file.
inline constexpr std::array<const char*, 7> kReadButtons{"BN_Info_Read", "BN_Video_Read", "BN_Audio_Read", "BN_SN_Read",
                                                         "BN_EDID_Read", "BN_I2C_Read",   "BN_GPIO_Read"};

/// Whether an operator can use the widget: a button, list, slider, box, field or tab
/// bar, but not an internal part of one, such as a spin box's field.
bool isControl(const QWidget& widget);
