#pragma once

#include "device/ext_mcu_channel.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <span>

namespace firmware {

/// Shows one line of the upgrade's course.
using Report = std::function<void(const QString& text)>;

/// Upgrades the external MCU's firmware: brings the MCU into its boot loader
/// unless it is there already, sends the image block by block and has the boot
/// loader start it. Returns when the upgrade has ended, well or not; the last
/// text reported tells which. Talks to the MCU over `device/ext_mcu_channel.h`.
///
/// The checksum check takes a failed read for 0xFF, so a packet with that
/// checksum may count as accepted without having been verified.
///
/// @param image     the firmware file as it is, from the family's first flash
///                  address on
/// @param connected a device session is open
/// @param pause     all waiting goes through it
void upgradeExtMcu(std::span<const std::uint8_t> image, bool connected, const device::Pause& pause,
                   const Report& report);

}  // namespace firmware
