#include "session/connection.h"
#include "tests/support/call_check.h"

using device::UsbIds;
using session::OpenStep;

namespace {

constexpr UsbIds kDefaultDevice{0x5C19, 0x6B03};

}  // namespace

class ConnectionCallsTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    simulator::reset();
    simulator::useVirtualTime();
  }

  void blankIdsDoNotCount_data() {
    QTest::addColumn<QString>("vid");
    QTest::addColumn<QString>("pid");
    QTest::newRow("no vendor") << ""
                               << "6B03";
    QTest::newRow("no product") << "5C19"
                                << "";
    QTest::newRow("blanks") << " \t"
                            << "6B03";
    QTest::newRow("both") << ""
                          << " ";
  }

  void blankIdsDoNotCount() {
    QFETCH(QString, vid);
    QFETCH(QString, pid);
    QVERIFY(!device::typedUsbIds(vid, pid));
  }

  void idsAreHexadecimalOrCountAsZero() {
    QVERIFY(device::typedUsbIds("5C19", "6b03") == kDefaultDevice);
    QVERIFY(device::typedUsbIds(" 5C19 ", "\t6B03") == kDefaultDevice);
    QVERIFY(device::typedUsbIds("zz", "6B03") == (UsbIds{0, 0x6B03}));
    QVERIFY(device::typedUsbIds("FFFFFFFF", "100000000") == (UsbIds{0xFFFFFFFF, 0}));
  }

  void onlyAnOpenSessionWithTheSameIdsIsKept() {
    QVERIFY(session::keepsSession(true, kDefaultDevice, kDefaultDevice));
    QVERIFY(!session::keepsSession(false, kDefaultDevice, kDefaultDevice));
    QVERIFY(!session::keepsSession(true, kDefaultDevice, {0x5C19, 0x6B02}));
    QVERIFY(!session::keepsSession(true, kDefaultDevice, {0x5C18, 0x6B03}));
  }

  void eachStepOfOpeningIsReportedOnceDone() {
    QStringList course;
    const auto opened = session::openSession(kDefaultDevice, [&course](OpenStep step) {
      course << journalOperations().last() + ' ' + QString::number(static_cast<int>(step));
    });
    QVERIFY(opened.has_value());
    QCOMPARE(course, (QStringList{"initialize 0", "setDevice 1", "openPort 2"}));
    QCOMPARE(journalCalls(), (QStringList{"initialize()", "setDevice(0, 0, 0x5C19, 0x6B03)", "openPort()"}));
  }

  void listeningIsOptional() { QVERIFY(session::openSession(kDefaultDevice).has_value()); }

  void aFailedStepReleasesTheLibrary_data() {
    QTest::addColumn<QString>("operation");
    QTest::addColumn<int>("step");
    QTest::addColumn<QStringList>("calls");
    QTest::newRow("initialize") << "initialize" << 0 << QStringList{"initialize"};
    QTest::newRow("setDevice") << "setDevice" << 1 << QStringList{"initialize", "setDevice", "uninitialize"};
    QTest::newRow("openPort") << "openPort" << 2 << QStringList{"initialize", "setDevice", "openPort", "uninitialize"};
  }

  void aFailedStepReleasesTheLibrary() {
    QFETCH(QString, operation);
    QFETCH(int, step);
    QFETCH(QStringList, calls);
    for (const std::int32_t status : {1, -7}) {
      init();
      simulator::failCall(operation.toStdString(), 1, status);
      int done = 0;
      const auto opened = session::openSession(kDefaultDevice, [&done](OpenStep) { ++done; });
      QVERIFY(!opened);
      QCOMPARE(static_cast<int>(opened.error().step), step);
      QCOMPARE(opened.error().status, status);
      QCOMPARE(done, step);
      QCOMPARE(journalOperations(), calls);
    }
  }

  void closingIsOneCallEach() {
    checkCall({"closePort()", [] { return device::statusOf(session::closeSession()); }});
    checkCall({"uninitialize()", [] { return device::statusOf(session::releaseLibrary()); }});
  }
};

QTEST_APPLESS_MAIN(ConnectionCallsTest)
#include "connection_calls_test.moc"
