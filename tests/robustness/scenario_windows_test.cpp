#include "simulator/control/control.h"
#include "tests/support/sleeps.h"
#include "tests/support/test_files.h"
#include "tests/support/window_fixture.h"

#include <QDir>
#include <QTest>

#include <algorithm>
#include <array>

using namespace std::chrono_literals;

/// What the window shows with each shipped scenario: Connect succeeds, then whatever
/// the scenario's description says.
class ScenarioWindowsTest : public WindowTest {
  Q_OBJECT

  void chooseModelAndConnect(const QString& model) const {
    user.choose("CB_DeviceType", model);
    user.click("BN_Connect");
  }

  // Connect keeps a session with the same ids, so select another model in between.
  void connectAnew() const {
    chooseModelAndConnect("KVR-5B");
    chooseModelAndConnect("KVR-7");
    QCOMPARE(user.message(), "Device Connected");
  }

  QString serialNumber() const {
    user.widget<QLineEdit>("lineEdit_SN").clear();
    user.click("BN_SN_Read");
    return user.widget<QLineEdit>("lineEdit_SN").text();
  }

  /// @return what the message line says at the end
  QString readReceiver() const {
    user.click("BN_Info_Read");
    return user.message();
  }

  /// @return what the message line says at the end
  QString burn() const {
    chooseFile("BN_Browse_Cap_QX", files().write("capture.img", "KVR-7 V4.56.78" + QByteArray(1'000'000, 'x')));
    return waitForWorker(startWorker("BN_Apply_CapMCU_QX")) ? user.message() : "the worker does not end";
  }

  // One function for each file; the device is connected.
  void absurdAnswers() {
    QCOMPARE(user.text("label_IProduct"), "ABC");
    QCOMPARE(readReceiver(), "HdmiRX_GetRawTimingInfo  [OK]");
    QCOMPARE(user.text("label_SCAN"), "interlace");
    QCOMPARE(user.text("label_HTotal"), "65535");
  }

  void burnFails() {
    QCOMPARE(burn(), "Burn CAP...[Fail]");
    QCOMPARE(burn(), "Burn CAP...[OK]");
    connectAnew();
    QCOMPARE(user.text("lb_FW_VER_QX"), "V4.56.78");
  }

  void defaultDevice() {
    QCOMPARE(user.text("lb_FW_VER_QX"), "V1.03.07");
    QCOMPARE(user.text("lb_Main_VER_QX"), "v1.2");
    QCOMPARE(serialNumber(), "OV7A00001234");
  }

  void flakyCable() {
    QCOMPARE(readReceiver(), "HdmiRX_GetRawTimingInfo  [OK]");
    for (int i = 0; i < 3; ++i) {
      QCOMPARE(readReceiver(), "HdmiRX_GetRawTimingInfo  [fail]");
    }
    QCOMPARE(readReceiver(), "HdmiRX_GetRawTimingInfo  [OK]");
    int presses = 0;
    while (readReceiver().endsWith("[OK]") && presses < 50) {
      ++presses;
    }
    QVERIFY2(presses < 50, "the plug never comes loose");
    simulator::advanceTime(3s);
    QCOMPARE(readReceiver(), "HdmiRX_GetRawTimingInfo  [OK]");
  }

  void hdr10Source() {
    QCOMPARE(readReceiver(), "HdmiRX_GetRawTimingInfo  [OK]");
    QCOMPARE(user.text("label_VActive"), "2160");
    QCOMPARE(user.text("label_HDR"), "HDR10");
  }

  void otherModel() {
    QCOMPARE(readReceiver(), "HdmiRX_GetRawTimingInfo  [OK]");
    QCOMPARE(user.text("label_HDR"), "Dolby Vision Low Latency");
  }

  void lyingDevice() {
    int wrong = 0;
    for (int i = 0; i < 100; ++i) {
      const QString wanted = QStringLiteral("SN-%1").arg(1000 + i);
      user.widget<QLineEdit>("lineEdit_SN").setText(wanted);
      user.click("BN_SN_Set");
      QCOMPARE(user.message(), "Set Serial Number...[OK]");
      wrong += serialNumber() == wanted ? 0 : 1;
    }
    QVERIFY2(wrong > 10 && wrong < 60, qPrintable(QString::number(wrong)));
  }

  void noSignal() {
    QCOMPARE(readReceiver(), "HdmiRX_GetRawTimingInfo  [OK]");
    QCOMPARE(user.text("label_HActive"), "0");
    QCOMPARE(user.text("label_VActive"), "0");
  }

  void stalePort() {
    chooseModelAndConnect("KVR-5B");
    QCOMPARE(user.message(), "initialize SDK ...[fail]");
    chooseModelAndConnect("KVR-7");
    QCOMPARE(user.message(), "Device Connected");
  }

  void stationShift() { unitsFollow({"FACTORY-1", "FACTORY-2"}, 2500ms, 300ms); }

  void stuckInBootLoader() {
    QCOMPARE(user.text("lb_Main_VER_QX"), "v15.15");
    chooseFile("BN_Browse_ExtMCU_QX", files().write("main.bin", QByteArray(5000, '\x5A')));
    QVERIFY(waitForWorker(startWorker("BN_Apply_ExtMCU_QX")));
    QCOMPARE(user.message(), "MCU Update Done...[Success]");
    simulator::advanceTime(2s);
    QVERIFY(simulator::mcuRunsApplication());
    connectAnew();
    QVERIFY(user.text("lb_Main_VER_QX") != "v15.15");
  }

  void threeUnits() { unitsFollow({"OV7A00001235", "OV7A00001236", "OV7A00001237"}, 60s, 2s); }

  void unpluggedInMidBurn() {
    QCOMPARE(burn(), "Burn CAP...[Fail]");
    QCOMPARE(serialNumber(), QString());
    simulator::advanceTime(5s);
    QCOMPARE(burn(), "Burn CAP...[OK]");
  }

  void unitsFollow(const QStringList& numbers, std::chrono::milliseconds unplugAfter,
                   std::chrono::milliseconds nextAfter) {
    for (const QString& number : numbers) {
      QCOMPARE(serialNumber(), number);
      simulator::advanceTime(unplugAfter);
      if (number == numbers.back()) {
        return;
      }
      QCOMPARE(serialNumber(), QString());
      simulator::advanceTime(nextAfter);
      connectAnew();
    }
  }

 private slots:
  void initTestCase() {
    sleeps::replaceBy([](std::chrono::milliseconds time) { simulator::advanceTime(time); });
  }

  void eachShowsWhatItsDescriptionSays_data() {
    QTest::addColumn<QString>("name");
    for (const QFileInfo& file : QDir(SCENARIO_DIRECTORY).entryInfoList({"*.json"}, QDir::Files)) {
      QTest::newRow(qPrintable(file.baseName())) << file.baseName();
    }
  }

  void eachShowsWhatItsDescriptionSays() {
    QFETCH(QString, name);
    struct Scenario {
      const char* name;
      void (ScenarioWindowsTest::*check)();
    };
    static constexpr std::array kScenarios{
        Scenario{"absurd-answers", &ScenarioWindowsTest::absurdAnswers},
        Scenario{"burn-fails", &ScenarioWindowsTest::burnFails},
        Scenario{"default", &ScenarioWindowsTest::defaultDevice},
        Scenario{"flaky-cable", &ScenarioWindowsTest::flakyCable},
        Scenario{"hdr10-source", &ScenarioWindowsTest::hdr10Source},
        Scenario{"kvr-5b-dolby-vision", &ScenarioWindowsTest::otherModel},
        Scenario{"lying-device", &ScenarioWindowsTest::lyingDevice},
        Scenario{"no-signal", &ScenarioWindowsTest::noSignal},
        Scenario{"stale-port", &ScenarioWindowsTest::stalePort},
        Scenario{"station-shift", &ScenarioWindowsTest::stationShift},
        Scenario{"stuck-in-boot-loader", &ScenarioWindowsTest::stuckInBootLoader},
        Scenario{"three-units", &ScenarioWindowsTest::threeUnits},
        Scenario{"unplugged-in-mid-burn", &ScenarioWindowsTest::unpluggedInMidBurn},
    };
    const auto* const scenario =
        std::find_if(kScenarios.begin(), kScenarios.end(), [&](const Scenario& one) { return name == one.name; });
    QVERIFY2(scenario != kScenarios.end(), "a scenario needs a check here");
    start(contentOf(QStringLiteral(SCENARIO_DIRECTORY "/%1.json").arg(name)));
    if (name == "kvr-5b-dolby-vision") {
      user.click("BN_Connect");
      QCOMPARE(user.message(), "set Port...[Fail]");
      user.choose("CB_DeviceType", "KVR-5B");
    }
    user.click("BN_Connect");
    QCOMPARE(user.message(), "Device Connected");
    (this->*scenario->check)();
  }
};

QTEST_MAIN(ScenarioWindowsTest)
#include "scenario_windows_test.moc"
