#include "session/device_types.h"

namespace session {

DeviceIds deviceIds(int row) {
  const QString vid = QStringLiteral("5C19");
  return {vid, row == 0 ? QStringLiteral("6B03") : QStringLiteral("6B02")};
}

}  // namespace session
