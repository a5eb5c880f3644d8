#include "walkthrough/look.h"

namespace {

// The window must be told the model. A wrong one is refused, so try both.
void connectToEitherModel(Operator& user) {
  const QString message = QStringLiteral("LB_Message");
  for (const char* model : {"KVR-7", "KVR-5B"}) {
    user.chooseRow(QStringLiteral("CB_DeviceType"), QLatin1String(model));
    user.click(QStringLiteral("BN_Connect"));
    user.note(message);
    if (user.textOf(message) == QLatin1String("Device Connected")) {
      break;
    }
  }
  user.takePicture(QStringLiteral("connect"));
}

void lookAtReceiver(Operator& user) {
  user.openTab(QStringLiteral("RX Info"));
  user.click(QStringLiteral("BN_Info_Read"));
  for (const char* widget : {"LB_Message", "label_HActive", "label_VActive", "label_VFreq", "label_SCAN", "label_CS",
                             "label_HDCP", "label_HDR"}) {
    user.note(QLatin1String(widget));
  }
  user.takePicture(QStringLiteral("receiver"));
}

void lookAtVersions(Operator& user) {
  user.openTab(QStringLiteral("System"));
  for (const char* widget : {"lb_FW_VER_QX", "lb_Main_VER_QX"}) {
    user.note(QLatin1String(widget));
  }
  user.takePicture(QStringLiteral("system"));
}

}  // namespace

void lookAround(Operator& user) {
  connectToEitherModel(user);
  lookAtReceiver(user);
  lookAtVersions(user);
}
