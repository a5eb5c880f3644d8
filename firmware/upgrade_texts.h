#pragma once

#include "firmware/upgrade_events.h"

#include <QStringList>

namespace firmware {

/// The window's words for an event of an upgrade: none, one, or several to be
/// shown one after the other.
QStringList windowTexts(const UpgradeEvent& event);

}  // namespace firmware
