#pragma once

#include "edid/edid_description.h"

#include <QStringList>

/// The modes that a description has from one source, as texts.
inline QStringList modesOf(const edid::Description& description, edid::ModeSource source) {
  QStringList list;
  for (const edid::Mode& mode : description.modes) {
    if (mode.source == source) {
      list << QString::fromStdString(textOf(mode));
    }
  }
  return list;
}
