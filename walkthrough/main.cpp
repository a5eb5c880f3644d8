#include "app/high_dpi.h"
#include "app/main_window.h"
#include "walkthrough/operator.h"

#include <QApplication>
#include <QTest>

#include <cstdio>

namespace {

void openWindow(Operator& user, const MainWindow& window) {
  user.expect(QStringLiteral("title"), window.windowTitle(), QStringLiteral("Pellavox v1.03"));
  user.expectText(QStringLiteral("LB_Message"), QString());
  user.takePicture(QStringLiteral("start"));
}

void connectToWrongModel(Operator& user) {
  user.chooseRow(QStringLiteral("CB_DeviceType"), QStringLiteral("KVR-5B"));
  user.expectText(QStringLiteral("Edit_PID"), QStringLiteral("6B02"));
  user.click(QStringLiteral("BN_Connect"));
  user.expectText(QStringLiteral("LB_Message"), QStringLiteral("set Port...[Fail]"));
  user.takePicture(QStringLiteral("wrong-model"));
}

void connectToDevice(Operator& user) {
  user.chooseRow(QStringLiteral("CB_DeviceType"), QStringLiteral("KVR-7"));
  user.expectText(QStringLiteral("Edit_PID"), QStringLiteral("6B03"));
  user.click(QStringLiteral("BN_Connect"));
  user.expectText(QStringLiteral("LB_Message"), QStringLiteral("Device Connected"));
  user.openTab(QStringLiteral("System"));
  for (const char* version : {"lb_FW_VER_QX", "lb_Main_VER_QX"}) {
    user.expectOtherThan(QLatin1String(version), QStringLiteral("N/A"));
  }
  user.takePicture(QStringLiteral("connected"));
}

void readReceiver(Operator& user) {
  user.openTab(QStringLiteral("RX Info"));
  user.click(QStringLiteral("BN_Info_Read"));
  user.expectText(QStringLiteral("LB_Message"), QStringLiteral("HdmiRX_GetRawTimingInfo  [OK]"));
  for (const char* value :
       {"label_SCAN",  "label_HTotal", "label_VTotal", "label_HActive",  "label_VActive", "label_HS",        "label_VS",
        "label_HFreq", "label_VFreq",  "label_TMDS",   "label_PCLK1024", "label_HSP",     "label_HDMI_MODE", "label_CS",
        "label_CD",    "label_CR",     "label_CM",     "label_CM2",      "label_HDCP",    "label_HDR"}) {
    user.expectOtherThan(QLatin1String(value), QStringLiteral("N/A"));
  }
  user.takePicture(QStringLiteral("receiver"));
}

}  // namespace

/// Usage: pellavox-walkthrough DIRECTORY. Works the real window through the
/// main job, leaves pictures in DIRECTORY and prints what it saw. Exit code 0
/// when everything expected appeared, else 1.
int main(int argc, char* argv[]) {
  enableHighDpi();
  QApplication application(argc, argv);
  const QStringList arguments = QApplication::arguments();
  if (arguments.size() != 2) {
    std::fprintf(stderr, "usage: pellavox-walkthrough DIRECTORY\n");
    return 2;
  }
  const QDir pictures(arguments[1]);
  if (!QDir().mkpath(pictures.path())) {
    std::fprintf(stderr, "%s: cannot be made; name a directory that can be written\n", qPrintable(arguments[1]));
    return 2;
  }

  MainWindow window;
  window.show();
  if (!QTest::qWaitForWindowExposed(&window)) {
    std::fprintf(stderr, "the window did not appear; is there a display?\n");
    return 1;
  }

  Operator user(window, pictures);
  openWindow(user, window);
  connectToWrongModel(user);
  connectToDevice(user);
  readReceiver(user);

  std::printf("%s\n", user.sawEverything() ? "Everything expected appeared." : "Something expected did not appear.");
  return user.sawEverything() ? 0 : 1;
}
