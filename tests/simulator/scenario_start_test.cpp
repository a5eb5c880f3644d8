#include "simulator/control/control.h"
#include "tests/simulator/operation_table.h"
#include "tests/simulator/scenario_keys.h"
#include "tests/support/test_files.h"

#include <QDir>
#include <QProcess>

// Qt's meta-object compiler miscounts braces in raw strings with a backslash or a
// quoted bracket, and then finds no class.
// NOLINTBEGIN(modernize-raw-string-literal)

/// Creating a device from a scenario: from a text, from the file named in the
/// environment, from the shipped files.
class SimulatorScenarioStartTest : public QObject {
  Q_OBJECT

  TestFiles files_;

  struct Probe {
    QString output;
    QString errors;
  };

  /// What the probe sees in a separate process; an empty path leaves the variable unset.
  static Probe probe(const QString& path) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("RTICE_SIMULATOR_SCENARIO");
    if (!path.isEmpty()) {
      environment.insert("RTICE_SIMULATOR_SCENARIO", path);
    }
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationDirPath() + "/scenario_probe", QStringList());
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
      qFatal("the probe did not run: %s", qPrintable(process.errorString()));
    }
    return {linesOf(process.readAllStandardOutput()), linesOf(process.readAllStandardError())};
  }

  // Windows ends lines with two characters.
  static QString linesOf(const QByteArray& text) { return QString::fromUtf8(text).replace("\r\n", "\n"); }

  QString fileWith(const QByteArray& content, const QString& name = "scenario.json") const {
    return files_.write(name, content);
  }

 private slots:
  void aFailedScenarioLeavesTheDefaultDevice() {
    QVERIFY(!simulator::loadScenario(R"({"model": "KVR-5B", "latencyMs": 1000, "sped": 1})").empty());
    simulator::useVirtualTime();
    openDefaultDevice();
    std::uint8_t source = 9;
    QCOMPARE(AT_Get_Current_Input_Source(&source), 0);
    QVERIFY(simulator::journal().back().duration.count() == 0);
  }

  void theModelNamesTheDevice() {
    QCOMPARE(simulator::loadScenario(R"({"model": "KVR-5B"})"), std::string());
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B02), 0);
    QCOMPARE(openPort(), 0);
    std::array<std::uint8_t, 64> product{};
    QCOMPARE(AT_USB_Get_iProduct(product.data(), 64), 6);
    QCOMPARE(QByteArray(reinterpret_cast<const char*>(product.data())), "KVR-5B");
  }

  void theSignalChoosesItsInput() {
    for (const auto& [signal, expected] : {std::pair("1440p144", 1), std::pair("2160p30", 0), std::pair("none", 0)}) {
      const std::string json = std::string("{\"signal\": \"") + signal + "\"}";
      QCOMPARE(simulator::loadScenario(json), std::string());
      openDefaultDevice();
      std::uint8_t source = 9;
      QCOMPARE(AT_Get_Current_Input_Source(&source), 0);
      QCOMPARE(int{source}, expected);
    }
    QCOMPARE(simulator::loadScenario(R"({"inputs": {"source": "dp", "dp": "none"}})"), std::string());
    openDefaultDevice();
    std::uint8_t source = 9;
    QCOMPARE(AT_Get_Current_Input_Source(&source), 0);
    QCOMPARE(int{source}, 1);
  }

  void withoutTheVariableTheDefaultDeviceIsThere() {
    const Probe seen = probe(QString());
    QCOMPARE(seen.output, "initialize 0\nsetDevice 6B03 0\nversion 0 V1.03.07\nsetDevice 6B02 -3\n");
    QCOMPARE(seen.errors, QString());
  }

  void theVariableNamesTheScenario() {
    // Non-ASCII characters and blanks, as in a user's folder.
    const QString path =
        fileWith(R"({"model": "KVR-5B", "identity": {"captureVersion": "V9"}})", QString::fromUtf8("mein Gerät.json"));
    const Probe seen = probe(path);
    QCOMPARE(seen.output, "initialize 0\nsetDevice 6B03 -3\nsetDevice 6B02 0\nversion 0 V9\n");
    QCOMPARE(seen.errors, QString());
  }

  void aScenarioFileThatCannotBeUsedIsOneLineAndNoDevice_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("error");
    const QString key = fileWith("{\n\"sped\": 1}", "key.json");
    QTest::newRow("unknown key") << key << key + ":2: \"sped\" is not a known key; known here: " + kTopKeys;
    const QString empty = fileWith("", "empty.json");
    QTest::newRow("empty") << empty << empty + ":1: the scenario is empty; write at least {}";
    const QString missing = files_.path("missing.json");
    const QString noFile = ": is no regular file; name a JSON file in RTICE_SIMULATOR_SCENARIO";
    QTest::newRow("missing") << missing << missing + noFile;
    QTest::newRow("directory") << files_.folder() << files_.folder() + noFile;
#if !defined(_WIN32)
    QTest::newRow("endless") << "/dev/zero"
                             << "/dev/zero" + noFile;
#endif
#if defined(__linux__)
    // Opens, but its first byte cannot be read.
    QTest::newRow("unreadable") << "/proc/self/mem"
                                << "/proc/self/mem: cannot be read; check its permissions";
#endif
    const QString large = fileWith(QByteArray(1024 * 1024 + 1, ' '), "large.json");
    QTest::newRow("too large") << large << large + ": is larger than 1 MiB; no scenario needs that";
    const QString largest = fileWith(QByteArray(1024 * 1024, ' '), "largest.json");
    QTest::newRow("just not too large") << largest << largest + ":1: the scenario is empty; write at least {}";
  }

  void aScenarioFileThatCannotBeUsedIsOneLineAndNoDevice() {
    QFETCH(QString, path);
    QFETCH(QString, error);
    const Probe seen = probe(path);
    QCOMPARE(seen.errors, error + "\n");
    QCOMPARE(seen.output, "initialize -12\nsetDevice 6B03 -12\nsetDevice 6B02 -12\n");
  }

  void everyExampleIsAccepted_data() {
    QTest::addColumn<QString>("path");
    const QDir directory(SCENARIO_DIRECTORY);
    const QStringList names = directory.entryList({"*.json"}, QDir::Files);
    QVERIFY(names.contains("default.json"));
    for (const QString& name : names) {
      QTest::newRow(qPrintable(name)) << directory.filePath(name);
    }
  }

  void everyExampleIsAccepted() {
    QFETCH(QString, path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromStdString(simulator::loadScenario(file.readAll().toStdString(), "example")), QString());
  }

  // default.json spells out the device's defaults.
  void theDefaultExampleIsTheDefaultDevice() {
    const auto readAll = [] {
      simulator::useVirtualTime();
      openDefaultDevice();
      const BurnFile file;
      std::vector<std::pair<std::int32_t, Scratch>> results;
      for (const OperationCall& operation : portOperations(file.path())) {
        if (std::strstr(operation.name, "Get") != nullptr) {
          Scratch scratch;
          const std::int32_t status = operation.run(scratch);
          results.emplace_back(status, scratch);
        }
      }
      const std::uint8_t dp = 1;
      AT_Input_Source_Switch(&dp);
      Scratch scratch;
      const std::int32_t status = AT_HdmiRX_GetRawTimingInfo(scratch.buffer.data());
      results.emplace_back(status, scratch);
      return results;
    };
    simulator::reset();
    const auto byDefault = readAll();
    QFile file(QStringLiteral(SCENARIO_DIRECTORY "/default.json"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(simulator::loadScenario(file.readAll().toStdString()), std::string());
    QVERIFY(readAll() == byDefault);
    QVERIFY(byDefault.size() > 20);
  }
};
// NOLINTEND(modernize-raw-string-literal)

QTEST_GUILESS_MAIN(SimulatorScenarioStartTest)
#include "scenario_start_test.moc"
