#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

using namespace std::chrono_literals;

namespace {

std::int32_t openSession(std::uint32_t pid = 0x6B03) {
  const std::int32_t status = initialize();
  return status != 0 ? status : setDevice(0, 0, 0x5C19, pid) != 0 ? -1 : openPort();
}

int activeLines() {
  std::uint8_t record[RTICE_RAW_TIMING_INFO_SIZE] = {};
  return AT_HdmiRX_GetRawTimingInfo(record) == 0 ? record[6] | record[7] << 8 : -1;
}

QByteArray serialNumber() {
  std::array<std::uint8_t, 100> text{};
  std::uint32_t length = 0;
  return AT_USB_Get_SerialNum(text.data(), 99, &length) == 0 ? QByteArray(reinterpret_cast<const char*>(text.data()))
                                                             : QByteArray();
}

std::int32_t captureVersionStatus() {
  std::uint8_t version[128];
  return AT_Get_Customer_Ver(version);
}

float lastPercent = 0;
std::int32_t burn(const QString& path) {
  lastPercent = 0;
  return burnToFlash(path.toUtf8().constData(), [](float percent) { lastPercent = percent; });
}

}  // namespace

/// Each shipped scenario does what its description says.
class ScenarioFilesTest : public QObject {
  Q_OBJECT

  QTemporaryDir folder_;

  void load(const QString& name) const {
    QFile file(QStringLiteral(SCENARIO_DIRECTORY "/") + name + ".json");
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(simulator::loadScenario(file.readAll().toStdString(), name.toStdString()), std::string());
    simulator::useVirtualTime();
  }

  QString image() const {
    QFile file(folder_.filePath("capture.img"));
    if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(1024 * 1024, 'x')) != 1024 * 1024) {
      qFatal("no image could be written");
    }
    return file.fileName();
  }

  // One function for each file.
  void absurdAnswers() {
    QCOMPARE(openSession(), 0);
    std::uint8_t product[64] = {};
    QCOMPARE(AT_USB_Get_iProduct(product, 64), 2147483647);
    QCOMPARE(reinterpret_cast<const char*>(product), "ABC");
  }

  void burnFails() {
    QCOMPARE(openSession(), 0);
    const QString path = image();
    QCOMPARE(burn(path), simulator::kFlashFault);
    QVERIFY2(lastPercent >= 60 && lastPercent < 61, qPrintable(QString::number(double{lastPercent})));
    QCOMPARE(captureVersionStatus(), simulator::kNoFirmware);
    QCOMPARE(burn(path), 0);
    QCOMPARE(captureVersionStatus(), 0);
  }

  void defaultDevice() {
    QCOMPARE(openSession(), 0);
    QCOMPARE(serialNumber(), QByteArray("OV7A00001234"));
    QCOMPARE(activeLines(), 1080);
  }

  void flakyCable() {
    QCOMPARE(openSession(), 0);
    const auto start = simulator::now();
    QCOMPARE(activeLines(), 1080);
    QVERIFY(simulator::now() - start == 15ms);
    QCOMPARE(activeLines(), -1);
    int gone = 0;
    for (int i = 0; i < 300; ++i) {
      gone += captureVersionStatus() == simulator::kDeviceGone ? 1 : 0;
      simulator::advanceTime(100ms);
    }
    // Thirty calls 100 ms apart, minus the time of the calls themselves.
    QVERIFY2(gone >= 25 && gone <= 31, qPrintable(QString::number(gone)));
    int failed = 0;
    const std::uint8_t index = 0;
    for (int i = 0; i < 500; ++i) {
      std::uint8_t value = 0;
      failed += AT_System_Get_ExternalMCU_cmd(3, 0x0D, 1, &index, 1, &value) == 0 ? 0 : 1;
    }
    QVERIFY2(failed > 0 && failed < 50, qPrintable(QString::number(failed)));
  }

  void hdr10Source() {
    QCOMPARE(openSession(), 0);
    std::uint8_t record[RTICE_RAW_TIMING_INFO_SIZE] = {};
    QCOMPARE(AT_HdmiRX_GetRawTimingInfo(record), 0);
    QCOMPARE(activeLines(), 2160);
    QCOMPARE(int{record[0x12]}, 1);
  }

  void otherModel() {
    QCOMPARE(openSession(), -1);
    QCOMPARE(openSession(0x6B02), 0);
    std::uint8_t format = 0;
    QCOMPARE(AT_Audio_Get_HdmiRX_AudioFormat(&format), 0);
    QCOMPARE(int{format}, 19);
  }

  void lyingDevice() {
    QCOMPARE(openSession(), 0);
    int wrong = 0;
    int kept = 0;
    for (int i = 0; i < 500; ++i) {
      const QByteArray wanted = "SN-" + QByteArray::number(1000 + i);
      QCOMPARE(AT_USB_Set_SerialNum(reinterpret_cast<const std::uint8_t*>(wanted.constData()), 7), 0);
      wrong += serialNumber() == wanted ? 0 : 1;
      std::uint8_t mute = 0;
      QCOMPARE(AT_Audio_Set_DACHP_Mute(i % 2), 0);
      QCOMPARE(AT_Audio_Get_DACHP_Mute(&mute), 0);
      kept += mute == i % 2 ? 0 : 1;
    }
    // About a third of the pairs is wrong: four kinds of faults at one in ten each.
    QVERIFY2(wrong > 100 && wrong < 260, qPrintable(QString::number(wrong)));
    QVERIFY2(kept > 50 && kept < 200, qPrintable(QString::number(kept)));
  }

  void noSignal() {
    QCOMPARE(openSession(), 0);
    QCOMPARE(activeLines(), 0);
    const std::uint8_t dp = 1;
    QCOMPARE(AT_Input_Source_Switch(&dp), 0);
    QCOMPARE(activeLines(), 0);
  }

  void stalePort() {
    QCOMPARE(openSession(), 0);
    QCOMPARE(closePort(), -5);
    QCOMPARE(openSession(), simulator::kWrongOrder);
    QCOMPARE(openSession(), 0);
    QCOMPARE(closePort(), 0);
    QCOMPARE(openSession(), 0);
  }

  void stuckInBootLoader() {
    QCOMPARE(openSession(), 0);
    QVERIFY(!simulator::mcuRunsApplication());
    const std::uint8_t index = 0;
    std::uint8_t family = 0;
    QCOMPARE(AT_System_Get_ExternalMCU_cmd(3, 0x43, 1, &index, 1, &family), 0);
    QCOMPARE(int{family}, int{'v'});
  }

  void threeUnits() {
    for (const char* number : {"OV7A00001235", "OV7A00001236", "OV7A00001237"}) {
      QCOMPARE(openSession(), 0);
      QCOMPARE(serialNumber(), QByteArray(number));
      simulator::advanceTime(60s);
      QCOMPARE(serialNumber(), number[11] == '7' ? QByteArray(number) : QByteArray());
      closePort();
      simulator::advanceTime(2s);
    }
  }

  // Each unit is unplugged once it is idle; the fourth while its EDID is written.
  void stationShift() {
    const std::vector<std::uint8_t> table(256);
    for (const char* number : {"FACTORY-1", "FACTORY-2", "FACTORY-3", "FACTORY-4", "FACTORY-5", "FACTORY-6"}) {
      QCOMPARE(openSession(), 0);
      QCOMPARE(serialNumber(), QByteArray(number));
      const std::int32_t status = AT_EDID_Flash_Set_table(2, table.data(), 256);
      QCOMPARE(status, number[8] == '3' ? simulator::kFlashFault : number[8] == '4' ? simulator::kDeviceGone : 0);
      simulator::advanceTime(2500ms);
      QCOMPARE(serialNumber(), number[8] == '6' ? QByteArray(number) : QByteArray());
      closePort();
      simulator::advanceTime(300ms);
    }
  }

  void unpluggedInMidBurn() {
    QCOMPARE(openSession(), 0);
    const QString path = image();
    QCOMPARE(burn(path), simulator::kDeviceGone);
    QVERIFY2(lastPercent > 20 && lastPercent < 80, qPrintable(QString::number(double{lastPercent})));
    QCOMPARE(captureVersionStatus(), simulator::kDeviceGone);
    simulator::advanceTime(5s);
    QCOMPARE(captureVersionStatus(), simulator::kNoFirmware);
    QCOMPARE(burn(path), 0);
  }

 private slots:
  void eachDoesWhatItsDescriptionSays_data() {
    QTest::addColumn<QString>("name");
    for (const QFileInfo& file : QDir(SCENARIO_DIRECTORY).entryInfoList({"*.json"}, QDir::Files)) {
      QTest::newRow(qPrintable(file.baseName())) << file.baseName();
    }
  }

  void eachDoesWhatItsDescriptionSays() {
    QFETCH(QString, name);
    using Check = void (ScenarioFilesTest::*)();
    const QMap<QString, Check> checks{{"absurd-answers", &ScenarioFilesTest::absurdAnswers},
                                      {"burn-fails", &ScenarioFilesTest::burnFails},
                                      {"default", &ScenarioFilesTest::defaultDevice},
                                      {"flaky-cable", &ScenarioFilesTest::flakyCable},
                                      {"hdr10-source", &ScenarioFilesTest::hdr10Source},
                                      {"kvr-5b-dolby-vision", &ScenarioFilesTest::otherModel},
                                      {"lying-device", &ScenarioFilesTest::lyingDevice},
                                      {"no-signal", &ScenarioFilesTest::noSignal},
                                      {"stale-port", &ScenarioFilesTest::stalePort},
                                      {"station-shift", &ScenarioFilesTest::stationShift},
                                      {"stuck-in-boot-loader", &ScenarioFilesTest::stuckInBootLoader},
                                      {"three-units", &ScenarioFilesTest::threeUnits},
                                      {"unplugged-in-mid-burn", &ScenarioFilesTest::unpluggedInMidBurn}};
    QVERIFY2(checks.contains(name), "a scenario needs a check here");
    load(name);
    (this->*checks[name])();
  }

  void eachHasADescriptionOfOneLine_data() { eachDoesWhatItsDescriptionSays_data(); }

  void eachHasADescriptionOfOneLine() {
    QFETCH(QString, name);
    QFile file(QStringLiteral(SCENARIO_DIRECTORY "/") + name + ".json");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString description = QJsonDocument::fromJson(file.readAll()).object()["description"].toString();
    QVERIFY(description.size() > 20 && description.size() < 100);
    QVERIFY(!description.contains('\n'));
  }
};

QTEST_GUILESS_MAIN(ScenarioFilesTest)
#include "scenario_files_test.moc"
