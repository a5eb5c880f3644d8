#include "walkthrough/guide.h"

namespace {

const QString kMessage = QStringLiteral("LB_Message");

void connectTo(Operator& user, const QString& model, const QString& message) {
  user.chooseRow(QStringLiteral("CB_DeviceType"), model);
  user.click(QStringLiteral("BN_Connect"));
  user.expectText(kMessage, message);
}

void refuseWrongImage(Operator& user, const QDir& files, PictureBook& book) {
  user.chooseFile(QStringLiteral("BN_Browse_Cap_QX"), files.filePath(QStringLiteral("capture-kvr-5b.img")));
  user.lookAtMessageBox([&book](QWidget& box) { book.add(QStringLiteral("pictures/wrong-image"), box); });
  user.click(QStringLiteral("BN_Apply_CapMCU_QX"));
}

void upgrade(Operator& user, const QDir& files, PictureBook& book) {
  user.chooseFile(QStringLiteral("BN_Browse_ExtMCU_QX"), files.filePath(QStringLiteral("main-family-2.bin")));
  user.click(QStringLiteral("BN_Apply_ExtMCU_QX"));
  user.expectText(kMessage, QStringLiteral("MCU Update Done...[Success]"));
  book.add(QStringLiteral("pictures/upgraded"), user.window());
}

}  // namespace

void goThroughGuide(Operator& user, const QDir& files, PictureBook& book) {
  book.hide(files.path());
  connectTo(user, QStringLiteral("KVR-5B"), QStringLiteral("set Port...[Fail]"));
  book.add(QStringLiteral("pictures/wrong-model"), user.window());
  connectTo(user, QStringLiteral("KVR-7"), QStringLiteral("Device Connected"));
  user.openTab(QStringLiteral("System"));
  book.add(QStringLiteral("pictures/connected"), user.window());
  user.openTab(QStringLiteral("RX Info"));
  user.click(QStringLiteral("BN_Info_Read"));
  user.expectText(kMessage, QStringLiteral("HdmiRX_GetRawTimingInfo  [OK]"));
  book.add(QStringLiteral("window"), user.window());
  user.openTab(QStringLiteral("System"));
  refuseWrongImage(user, files, book);
  upgrade(user, files, book);
}
