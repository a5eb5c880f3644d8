#include "app/high_dpi.h"
#include "app/main_window.h"
#include "simulator/samples/samples.h"
#include "walkthrough/guide.h"
#include "walkthrough/look.h"
#include "walkthrough/operator.h"
#include "walkthrough/picture_book.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <functional>

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

// Connecting to the same device again does nothing, so select another in between.
void connectAnew(Operator& user) {
  user.chooseRow(QStringLiteral("CB_DeviceType"), QStringLiteral("KVR-5B"));
  user.click(QStringLiteral("BN_Connect"));
  user.expectText(QStringLiteral("LB_Message"), QStringLiteral("set Port...[Fail]"));
  connectToDevice(user);
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

void burnCaptureFirmware(Operator& user, const QDir& files) {
  user.openTab(QStringLiteral("System"));
  user.chooseFile(QStringLiteral("BN_Browse_Cap_QX"), files.filePath(QStringLiteral("capture-kvr-7.img")));
  user.click(QStringLiteral("BN_Apply_CapMCU_QX"));
  user.expectMatch(QStringLiteral("LB_Message"), QStringLiteral("[1-9][0-9]%"));
  user.takePicture(QStringLiteral("burning"));
  // The last progress tick may overwrite the outcome before it is seen; the version
  // read after reconnecting shows it in any case.
  user.expectMatch(QStringLiteral("LB_Message"), QStringLiteral("Burn CAP\\.\\.\\.\\[OK\\]|100%"));
  user.takePicture(QStringLiteral("burnt"));
  user.waitMilliseconds(600);  // until after that tick
  connectAnew(user);
  user.expectText(QStringLiteral("lb_FW_VER_QX"), QStringLiteral("V1.04.00"));
}

void upgradeExternalMcu(Operator& user, const QDir& files) {
  const QString file = files.filePath(QStringLiteral("main-family-2.bin"));
  user.openTab(QStringLiteral("System"));
  user.chooseFile(QStringLiteral("BN_Browse_ExtMCU_QX"), file);
  user.expectText(QStringLiteral("lineEdit_ExtMcu_Path_QX"), file);
  user.click(QStringLiteral("BN_Apply_ExtMCU_QX"));
  for (const int percent : {0, 25, 50, 75}) {
    user.expectText(QStringLiteral("LB_Message"), QStringLiteral("Update %1%...").arg(percent));
    user.takePicture(QStringLiteral("mcu-upgrade"));
  }
  user.expectText(QStringLiteral("LB_Message"), QStringLiteral("MCU Update Done...[Success]"));
  user.takePicture(QStringLiteral("mcu-upgraded"));

  // The MCU starts the new image a second later; reconnecting shows it.
  user.waitMilliseconds(1500);
  connectAnew(user);
  user.expectText(QStringLiteral("lb_Main_VER_QX"), QStringLiteral("v1.3"));
}

// On the page without a tab.
void provision(Operator& user, const QDir& files) {
  const QString serialNumber = QStringLiteral("lineEdit_SN");
  user.press(QStringLiteral("BN_SN_Read"));
  user.expectText(serialNumber, QStringLiteral("OV7A00001234"));
  user.enter(serialNumber, QStringLiteral("OV7A00005678"));
  user.press(QStringLiteral("BN_SN_Set"));
  user.expectText(QStringLiteral("LB_Message"), QStringLiteral("Set Serial Number...[OK]"));
  user.pressAndChooseFile(QStringLiteral("BN_Browse_Key"), files.filePath(QStringLiteral("hdcp-key.bin")));
  user.expectText(QStringLiteral("LB_Message"), QStringLiteral("Burn HDCP...[OK]"));
  user.press(QStringLiteral("BN_Apply_Reset"));
  user.expectText(QStringLiteral("LB_Message"), QStringLiteral("Restore to default"));

  user.press(QStringLiteral("BN_Apply_Reboot"));
  user.press(QStringLiteral("BN_SN_Read"));
  user.expectText(QStringLiteral("LB_Message"), QStringLiteral("Read Serial Number...[fail]"));
  user.waitMilliseconds(2000);
  user.enter(serialNumber, QString());
  user.press(QStringLiteral("BN_SN_Read"));
  user.expectText(serialNumber, QStringLiteral("OV7A00005678"));
}

// The main job, stage by stage; each builds on the previous one.
void walkThrough(Operator& user, const MainWindow& window, const QDir& files) {
  const std::function<void()> stages[] = {
      [&] { openWindow(user, window); },        [&] { connectToWrongModel(user); },
      [&] { connectToDevice(user); },           [&] { readReceiver(user); },
      [&] { upgradeExternalMcu(user, files); }, [&] { burnCaptureFirmware(user, files); },
      [&] { provision(user, files); },
  };
  for (const std::function<void()>& stage : stages) {
    stage();
    if (!user.sawEverything()) {
      break;
    }
  }
  std::printf("%s\n", user.sawEverything() ? "Everything expected appeared." : "Something expected did not appear.");
}

bool makeFolder(const QDir& folder) {
  if (!QDir().mkpath(folder.path())) {
    std::fprintf(stderr, "%s: cannot be made; name a directory that can be written\n", qPrintable(folder.path()));
    return false;
  }
  return true;
}

bool writeSamples(const QDir& folder) {
  for (const samples::Sample& sample : samples::all()) {
    if (!samples::write(sample, folder.path().toStdU16String())) {
      std::fprintf(stderr, "%s: cannot be written\n", qPrintable(folder.filePath(QString::fromStdString(sample.name))));
      return false;
    }
  }
  return true;
}

}  // namespace

/// Usage: pellavox-walkthrough [--look|--guide|--check-guide] [--files FOLDER]
/// DIRECTORY. Takes the real window through the main job, saves pictures in DIRECTORY and
/// prints what it saw. Exit code 0 if everything expected appeared, otherwise 1. With
/// --look it only connects to any device, reads, and prints what the window shows. With
/// --guide it takes the operator's guide's pictures in DIRECTORY; with --check-guide it
/// checks that they still match the window. The pictures show paths of sample files:
/// --files names a fixed folder for these.
int main(int argc, char* argv[]) {
  enableHighDpi(argc, argv);
  // Only Qt's own file dialogs can be operated from here.
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  QApplication application(argc, argv);
  QCommandLineParser parser;
  const QCommandLineOption look(QStringLiteral("look"), QStringLiteral("Only connect and read."));
  const QCommandLineOption guide(QStringLiteral("guide"), QStringLiteral("Take the guide's pictures."));
  const QCommandLineOption checkGuide(QStringLiteral("check-guide"), QStringLiteral("Check the guide's pictures."));
  const QCommandLineOption filesIn(QStringLiteral("files"), QStringLiteral("Keep the sample files in FOLDER."),
                                   QStringLiteral("FOLDER"));
  parser.addOptions({look, guide, checkGuide, filesIn});
  parser.addPositionalArgument(QStringLiteral("DIRECTORY"), QStringLiteral("Where the pictures go."));
  if (!parser.parse(QApplication::arguments()) || parser.positionalArguments().size() != 1) {
    std::fprintf(stderr, "usage: pellavox-walkthrough [--look|--guide|--check-guide] [--files FOLDER] DIRECTORY\n");
    return 2;
  }
  const QDir pictures(parser.positionalArguments()[0]);
  const QTemporaryDir temporary;
  const QDir files(QDir(parser.isSet(filesIn) ? parser.value(filesIn) : temporary.path()).absolutePath());
  if (!makeFolder(pictures) || !makeFolder(files)) {
    return 2;
  }
  if (!writeSamples(files)) {
    return 1;
  }

  MainWindow window;
  window.show();
  if (!QTest::qWaitForWindowExposed(&window)) {
    std::fprintf(stderr, "the window did not appear; is there a display?\n");
    return 1;
  }
  Operator user(window, pictures);
  PictureBook book(pictures, parser.isSet(checkGuide) ? PictureBook::Mode::kCheck : PictureBook::Mode::kTake);
  if (parser.isSet(guide) || parser.isSet(checkGuide)) {
    goThroughGuide(user, files, book);
  } else if (parser.isSet(look)) {
    lookAround(user);
  } else {
    walkThrough(user, window, files);
  }
  return user.sawEverything() && book.isGood() ? 0 : 1;
}
