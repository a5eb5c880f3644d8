#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/operation_table.h"

class SimulatorSessionTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    simulator::reset();
    simulator::useVirtualTime();
  }

  void everyOtherOperationNeedsAnOpenPort_data() {
    QTest::addColumn<int>("opened");
    QTest::newRow("at the start") << 0;
    QTest::newRow("initialised") << 1;
    QTest::newRow("device set") << 2;
    QTest::newRow("port closed") << 3;
    QTest::newRow("uninitialised") << 4;
  }

  void everyOtherOperationNeedsAnOpenPort() {
    QFETCH(int, opened);
    if (opened >= 1) {
      QCOMPARE(initialize(), 0);
    }
    if (opened >= 2) {
      QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    }
    if (opened >= 3) {
      QCOMPARE(openPort(), 0);
      QCOMPARE(opened == 3 ? closePort() : uninitialize(), 0);
    }
    const BurnFile file;
    const auto operations = portOperations(file.path());
    QCOMPARE(operations.size(), std::size_t{39});
    for (const OperationCall& operation : operations) {
      Scratch scratch;
      QVERIFY2(operation.run(scratch) == simulator::kNoPort, operation.name);
      QVERIFY2(scratch == Scratch(), operation.name);
    }
  }

  void everyOtherOperationWorksWithAnOpenPort() {
    openDefaultDevice();
    const BurnFile file;
    for (const OperationCall& operation : portOperations(file.path())) {
      Scratch scratch;
      QVERIFY2(operation.run(scratch) >= 0, operation.name);
      const bool reads = std::strstr(operation.name, "Get") != nullptr;
      QVERIFY2((scratch != Scratch()) == reads, operation.name);
    }
  }

  void theOrderIsInitializeSetDeviceOpenPort() {
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), simulator::kNotInitialized);
    QCOMPARE(openPort(), simulator::kNotInitialized);
    QCOMPARE(closePort(), simulator::kNotInitialized);
    QCOMPARE(uninitialize(), simulator::kNotInitialized);
    QCOMPARE(initialize(), 0);
    QCOMPARE(openPort(), simulator::kWrongOrder);
    QCOMPARE(closePort(), simulator::kNoPort);
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(openPort(), 0);
    QCOMPARE(initialize(), simulator::kWrongOrder);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), simulator::kWrongOrder);
    QCOMPARE(openPort(), simulator::kWrongOrder);
    QCOMPARE(closePort(), 0);
    QCOMPARE(closePort(), simulator::kNoPort);
    QCOMPARE(uninitialize(), 0);
    QCOMPARE(openPort(), simulator::kNotInitialized);
  }

  void afterClosePortTheSequenceStartsAgain() {
    openDefaultDevice();
    QCOMPARE(closePort(), 0);
    QCOMPARE(initialize(), 0);
    QCOMPARE(openPort(), simulator::kWrongOrder);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(openPort(), 0);
  }

  void onlyThePluggedModelCanBeSet_data() {
    QTest::addColumn<QByteArray>("scenario");
    QTest::addColumn<quint32>("vid");
    QTest::addColumn<quint32>("pid");
    QTest::addColumn<int>("status");
    const QByteArray kvr7 = R"({"model": "KVR-7"})";
    const QByteArray kvr5b = R"({"model": "KVR-5B"})";
    QTest::newRow("KVR-7") << kvr7 << 0x5C19U << 0x6B03U << simulator::kOk;
    QTest::newRow("KVR-5B's ids with a KVR-7") << kvr7 << 0x5C19U << 0x6B02U << simulator::kNoSuchDevice;
    QTest::newRow("KVR-5B") << kvr5b << 0x5C19U << 0x6B02U << simulator::kOk;
    QTest::newRow("KVR-7's ids with a KVR-5B") << kvr5b << 0x5C19U << 0x6B03U << simulator::kNoSuchDevice;
    QTest::newRow("other vendor") << kvr7 << 0x5C18U << 0x6B03U << simulator::kNoSuchDevice;
    QTest::newRow("more than 16 bits") << kvr7 << 0x15C19U << 0x6B03U << simulator::kNoSuchDevice;
    QTest::newRow("zero") << kvr7 << 0U << 0U << simulator::kNoSuchDevice;
  }

  void onlyThePluggedModelCanBeSet() {
    QFETCH(QByteArray, scenario);
    QFETCH(quint32, vid);
    QFETCH(quint32, pid);
    QFETCH(int, status);
    QCOMPARE(simulator::loadScenario(scenario.toStdString()), std::string());
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, vid, pid), status);
    QCOMPARE(openPort(), status == simulator::kOk ? simulator::kOk : simulator::kWrongOrder);
  }

  void aFailedSetDeviceForgetsTheDeviceSetBefore() {
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B02), simulator::kNoSuchDevice);
    QCOMPARE(openPort(), simulator::kWrongOrder);
  }

  void theReservedArgumentsAreZero() {
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(1, 0, 0x5C19, 0x6B03), simulator::kInvalidArgument);
    QCOMPARE(setDevice(0, 1, 0x5C19, 0x6B03), simulator::kInvalidArgument);
  }

  void anUnpluggedDeviceAnswersNothing() {
    openDefaultDevice();
    simulator::unplug();
    const BurnFile file;
    for (const OperationCall& operation : portOperations(file.path())) {
      Scratch scratch;
      QVERIFY2(operation.run(scratch) == simulator::kDeviceGone, operation.name);
      QVERIFY2(scratch == Scratch(), operation.name);
    }
    simulator::replug();
    std::uint8_t source = 9;
    QCOMPARE(AT_Get_Current_Input_Source(&source), 0);

    simulator::unplug();
    QCOMPARE(closePort(), simulator::kDeviceGone);
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), simulator::kDeviceGone);
    QCOMPARE(uninitialize(), 0);
    simulator::replug();
    openDefaultDevice();
  }

  void aPortThatCouldNotBeClosedIsGivenUpAtTheNextInitialize_data() {
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<int>("status");
    QTest::newRow("closePort fails") << QByteArray("closePort") << -5;
    QTest::newRow("closePort lies") << QByteArray("closePort") << 0;
    QTest::newRow("uninitialize fails") << QByteArray("uninitialize") << -5;
  }

  void aPortThatCouldNotBeClosedIsGivenUpAtTheNextInitialize() {
    QFETCH(QByteArray, operation);
    QFETCH(int, status);
    simulator::failCall(operation.toStdString(), 1, status, 0);
    for (int time = 0; time < 3; ++time) {
      openDefaultDevice();
      QCOMPARE(operation == "closePort" ? closePort() : uninitialize(), status);
      QCOMPARE(initialize(), simulator::kWrongOrder);
    }
    // A port that nobody tried to close stays open.
    openDefaultDevice();
    QCOMPARE(initialize(), simulator::kWrongOrder);
    QCOMPARE(initialize(), simulator::kWrongOrder);
    std::uint8_t source = 9;
    QCOMPARE(AT_Get_Current_Input_Source(&source), 0);
  }

  void aRestartLeavesTheBusForAMoment() {
    openDefaultDevice();
    QCOMPARE(AT_Set_System_Reboot(), 0);
    std::uint8_t source = 9;
    QCOMPARE(AT_Get_Current_Input_Source(&source), simulator::kDeviceGone);
    simulator::advanceTime(std::chrono::milliseconds(1499));
    QCOMPARE(AT_Get_Current_Input_Source(&source), simulator::kDeviceGone);
    simulator::advanceTime(std::chrono::milliseconds(1));
    QCOMPARE(AT_Get_Current_Input_Source(&source), 0);
  }
};

QTEST_GUILESS_MAIN(SimulatorSessionTest)
#include "session_test.moc"
