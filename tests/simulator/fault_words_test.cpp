#include "device/operations.h"
#include "simulator/control/control.h"
#include "simulator/device/status.h"
#include "tests/simulator/i2c_calls.h"
#include "tests/simulator/operation_table.h"
#include "tests/support/faults.h"

#include <bit>
#include <map>
#include <stdexcept>

using simulator::FaultPoint;
using namespace std::chrono_literals;

namespace {

QString complaint(const QString& fault) {
  return QString::fromStdString(simulator::loadScenario("{\"faults\": [{" + fault.toStdString() + "}]}"));
}

void load(const char* faults) {
  QCOMPARE(QString::fromStdString(simulator::loadScenario(std::string("{\"faults\": [") + faults + "]}")), QString());
  simulator::useVirtualTime();
  openDefaultDevice();
}

int readSource() {
  std::uint8_t source = 0;
  return AT_Get_Current_Input_Source(&source);
}

int writeSource() {
  const std::uint8_t source = 0;
  return AT_Input_Source_Switch(&source);
}

template <typename Action>
std::string refusalOf(Action action) {
  try {
    action();
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "none";
}

float lastPercent = -1;

int burn(const char* path) {
  return burnToFlash(path, [](float percent) { lastPercent = percent; });
}

}  // namespace

/// The words of a scenario's faults, and what they count.
class FaultWordsTest : public QObject {
  Q_OBJECT

 private slots:
  void eachPlaceHasItsEffects_data() {
    QTest::addColumn<QString>("effects");
    for (const char* place : {"openPort", "burnToFlash", "AT_SetHDMI_HDCP_OnOff", "call"}) {
      QTest::newRow(place) << "answer, delay, unplug";
    }
    QTest::newRow("transfer") << "notAcknowledged, unplug";
    QTest::newRow("read") << "misread, short";
    QTest::newRow("write") << "damage, ignored";
    QTest::newRow("captureFlash") << "answer, unplug";
    for (const char* place : {"mcu.transfer", "mcu.reset"}) {
      QTest::newRow(place) << "notAcknowledged, lost, unplug";
    }
    QTest::newRow("mcu.setBoot") << "notAcknowledged, lost, busy, unplug";
    for (const char* place : {"mcu.packet", "mcu.start", "mcu.address", "mcu.data", "mcu.finish"}) {
      QTest::newRow(place) << "notAcknowledged, lost, damage, misread, busy, unplug";
    }
  }

  void eachPlaceHasItsEffects() {
    QFETCH(QString, effects);
    const QString at = QStringLiteral("\"at\": \"%1\"").arg(QTest::currentDataTag());
    QCOMPARE(complaint(at + ", \"what\": \"no\""),
             "scenario:1: \"faults[0].what\" cannot be \"no\"; known here: " + effects);
    QCOMPARE(complaint(at), effects.startsWith("answer")
                                ? QString()
                                : "scenario:1: \"faults[0].what\" is missing; known here: " + effects);
    for (const QString& effect : effects.split(", ")) {
      QCOMPARE(complaint(at + QStringLiteral(", \"what\": \"%1\"").arg(effect)), QString());
    }
  }

  void thePlacesAreListed() {
    QString names =
        "call, transfer, read, write, captureFlash, mcu.transfer, mcu.reset, mcu.setBoot, mcu.packet, "
        "mcu.start, mcu.address, mcu.data, mcu.finish";
    for (const device::OperationDescription& operation : device::kOperations) {
      names += ", " + QString::fromLatin1(operation.name.data());
    }
    QCOMPARE(complaint("\"at\": \"port\""), "scenario:1: \"faults[0].at\" cannot be \"port\"; known here: " + names);
  }

  void everyKeyHasItsBounds_data() {
    QTest::addColumn<QString>("least");
    QTest::addColumn<QString>("most");
    QTest::addColumn<QString>("less");
    QTest::addColumn<QString>("more");
    QTest::addColumn<QString>("error");
    const QString counted = "must be a whole number from %1 to 1000000000";
    QTest::newRow("first") << "1"
                           << "1000000000"
                           << "0"
                           << "1000000001" << counted.arg(1);
    QTest::newRow("count") << "0"
                           << "1000000000"
                           << "-1"
                           << "1000000001" << counted.arg(0);
    QTest::newRow("polls") << "0"
                           << "1000000000"
                           << "-1"
                           << "1000000001" << counted.arg(0);
    QTest::newRow("perMille") << "0"
                              << "1000"
                              << "-1"
                              << "1001"
                              << "must be a whole number from 0 to 1000";
    QTest::newRow("fromPercent") << "0"
                                 << "100"
                                 << "-0.001"
                                 << "100.001"
                                 << "must be a number from 0 to 100";
    QTest::newRow("delayMs") << "0"
                             << "1e9"
                             << "-0.001"
                             << "1000000001"
                             << "must be a number from 0 to 1e+09";
    QTest::newRow("status") << "-2147483648"
                            << "2147483647"
                            << "-2147483649"
                            << "2147483648"
                            << "must be a whole number from -2147483648 to 2147483647";
    QTest::newRow("length") << "0"
                            << "4294967295"
                            << "-1"
                            << "4294967296"
                            << "must be a whole number from 0 to 4294967295";
  }

  void everyKeyHasItsBounds() {
    QFETCH(QString, least);
    QFETCH(QString, most);
    QFETCH(QString, less);
    QFETCH(QString, more);
    QFETCH(QString, error);
    const QString fault = QStringLiteral("\"at\": \"captureFlash\", \"%1\":").arg(QTest::currentDataTag());
    QCOMPARE(complaint(fault + least), QString());
    QCOMPARE(complaint(fault + most), QString());
    const QString text = QStringLiteral("scenario:1: \"faults[0].%1\" %2").arg(QTest::currentDataTag(), error);
    QCOMPARE(complaint(fault + less), text);
    QCOMPARE(complaint(fault + more), text);
  }

  void anAnswerHasUpToAThousandThreeHundredAndSixtyFiveBytes() {
    const auto with = [](int bytes) {
      return "\"at\": \"openPort\", \"answer\": \"" + QString::fromLatin1(QByteArray(bytes, '7').toHex(' ')) + "\"";
    };
    QCOMPARE(complaint(with(0)), QString());
    QCOMPARE(complaint(with(1365)), QString());
    QCOMPARE(complaint(with(1366)),
             "scenario:1: \"faults[0].answer\" must be a text of at most 4095 bytes, without a zero byte");
  }

  void aFaultWithoutStatusHasTheOneOfItsPlace() {
    const BurnFile file;
    load("{\"at\": \"AT_Get_Current_Input_Source\"}, {\"at\": \"captureFlash\"}, {\"at\": \"call\", \"first\": 7}");
    QCOMPARE(readSource(), simulator::kInjected);
    QCOMPARE(readSource(), 0);
    QCOMPARE(burn(file.path()), simulator::kFlashFault);
    QCOMPARE(readSource(), simulator::kInjected);
    QCOMPARE(burn(file.path()), 0);
  }

  // Of 64 KiB, a sector of 80 ms and 16 pieces of 15 ms: a quarter is over when the sector is erased.
  void theProgressOfABurnIsReachedExactly() {
    QTemporaryDir folder;
    QFile file(folder.filePath("image"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(QByteArray(64 * 1024, 'x')), qint64{65536});
    file.close();
    const QByteArray path = file.fileName().toUtf8();
    load("{\"at\": \"captureFlash\", \"fromPercent\": 25, \"first\": 2}");
    QCOMPARE(burn(path), 0);
    QCOMPARE(burn(path), simulator::kFlashFault);
    QCOMPARE(lastPercent, 25.0F);
    QCOMPARE(burn(path), 0);
    load("{\"at\": \"captureFlash\", \"fromPercent\": 25.0001}");
    QCOMPARE(burn(path), simulator::kFlashFault);
    QCOMPARE(lastPercent, 29.6875F);
    load("{\"at\": \"captureFlash\", \"fromPercent\": 0}");
    QCOMPARE(burn(path), simulator::kFlashFault);
    QCOMPARE(lastPercent, 0.0F);
  }

  // The first burn stands still for a step, so that it begins twice.
  void aBurnThatBeginsTwiceCountsOnce() {
    const BurnFile file;
    load(
        "{\"at\": \"captureFlash\", \"fromPercent\": 0, \"first\": 3}, "
        "{\"at\": \"captureFlash\", \"status\": 0}");
    QCOMPARE(burn(file.path()), 0);
    QCOMPARE(burn(file.path()), 0);
    QCOMPARE(burn(file.path()), simulator::kFlashFault);
  }

  void aProbabilityOfNoneAndOfAll() {
    load(
        "{\"at\": \"AT_Get_Current_Input_Source\", \"perMille\": 0}, "
        "{\"at\": \"AT_Input_Source_Switch\", \"perMille\": 1000, \"first\": 3, \"status\": -9}");
    for (int i = 0; i < 5000; ++i) {
      QCOMPARE(readSource(), 0);
      QCOMPARE(writeSource(), i < 2 ? 0 : -9);
    }
  }

  void theSeedIsOneWithoutAnother() {
    const auto statuses = [](const std::string& seed) {
      const std::string fault = "\"faults\": [{\"at\": \"AT_Get_Current_Input_Source\", \"perMille\": 500}]";
      const std::string error = simulator::loadScenario("{" + seed + fault + "}");
      simulator::useVirtualTime();
      openDefaultDevice();
      QVector<int> seen{error.empty() ? 0 : 1};
      for (int i = 0; i < 64; ++i) {
        seen << readSource();
      }
      return seen;
    };
    QCOMPARE(statuses(""), statuses("\"seed\": 1, "));
    QVERIFY(statuses("") != statuses("\"seed\": 2, "));
    const auto misreads = [](auto setFaults) {
      setFaults();
      std::vector<i2c::Bytes> seen(64);
      for (i2c::Bytes& bytes : seen) {
        bytes = i2c::read(0x54, {0x18, 0}, 8);
      }
      return seen;
    };
    const std::vector<simulator::Fault> faults{faults::misread(1000)};
    const auto byDefault = misreads([&] { simulator::setTransferFaults(faults); });
    QVERIFY(byDefault == misreads([&] { simulator::setTransferFaults(faults, 1); }));
    QVERIFY(byDefault != misreads([&] { simulator::setTransferFaults(faults, 2); }));
  }

  void theFirstFaultOfTheListHappens() {
    load(
        "{\"at\": \"AT_Get_Current_Input_Source\", \"first\": 2, \"status\": -21}, "
        "{\"at\": \"AT_Get_Current_Input_Source\", \"count\": 3, \"status\": -22}");
    QCOMPARE(readSource(), -22);
    QCOMPARE(readSource(), -21);
    QCOMPARE(readSource(), -22);
    QCOMPARE(readSource(), 0);
  }

  void faultsOfTheMcuAreTakenAwayAlone() {
    load(
        "{\"at\": \"captureFlash\", \"count\": 0}, {\"at\": \"mcu.transfer\", \"what\": \"lost\", \"count\": 0}, "
        "{\"at\": \"mcu.finish\", \"what\": \"lost\", \"count\": 0}, {\"at\": \"AT_Get_Current_Input_Source\", "
        "\"count\": 0}");
    QVERIFY(i2c::read(0x0D, {0}, 1).empty());
    simulator::clearMcuFaults();
    QCOMPARE(i2c::read(0x0D, {0}, 1), i2c::Bytes{0x32});
    QCOMPARE(readSource(), simulator::kInjected);
    const BurnFile file;
    QCOMPARE(burn(file.path()), simulator::kFlashFault);
  }

  void faultsOfTransfersAreReplacedAlone() {
    load(
        "{\"at\": \"transfer\", \"what\": \"notAcknowledged\", \"count\": 0}, "
        "{\"at\": \"write\", \"what\": \"ignored\", \"count\": 0}, "
        "{\"at\": \"captureFlash\", \"count\": 0}, {\"at\": \"call\", \"first\": 6, \"status\": -66}");
    QCOMPARE(readSource(), simulator::kNoAnswer);
    simulator::setTransferFaults({});
    QCOMPARE(readSource(), 0);
    QCOMPARE(readSource(), -66);
    const BurnFile file;
    QCOMPARE(burn(file.path()), simulator::kFlashFault);
    QCOMPARE(simulator::transfers().size(), std::size_t{3});
    QVERIFY(!simulator::transfers().back().fault);
  }

  // A scenario may have one kind of them alone.
  void eachFaultOfATransferHappensByItself_data() {
    QTest::addColumn<QString>("fault");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("read");
    QTest::newRow("transfer") << "\"at\": \"transfer\", \"what\": \"notAcknowledged\"" << simulator::kNoAnswer << -1;
    QTest::newRow("ignored") << "\"at\": \"write\", \"what\": \"ignored\"" << 0 << 0x44;
    QTest::newRow("damage") << "\"at\": \"write\", \"what\": \"damage\"" << 0 << -2;
    QTest::newRow("short") << "\"at\": \"read\", \"what\": \"short\"" << 0 << 0xA5;
    QTest::newRow("misread") << "\"at\": \"read\", \"what\": \"misread\"" << 0 << -2;
  }

  void eachFaultOfATransferHappensByItself() {
    QFETCH(QString, fault);
    QFETCH(int, status);
    QFETCH(int, read);
    load(("{" + fault.toLatin1() + ", \"count\": 0}").constData());
    simulator::programEeprom(0x50, 0x11, {0x44});
    QCOMPARE(i2c::write(0x50, {0x11, 0x55}), status);
    simulator::advanceTime(5ms);
    const i2c::Bytes bytes = i2c::read(0x50, {0x11}, 1);
    if (read == -2) {
      // The address may be what was damaged.
      QVERIFY(bytes != i2c::Bytes{0x55});
    } else {
      QCOMPARE(bytes, read < 0 ? i2c::Bytes() : i2c::Bytes{static_cast<std::uint8_t>(read)});
    }
  }

  void everyRefusalSaysWhy() {
    const std::string kind = "not a fault of transfers, or of none of them";
    using simulator::Fault;
    for (const Fault& fault :
         {Fault{.at = FaultPoint::kOperation}, Fault{.at = FaultPoint::kCall}, Fault{.at = FaultPoint::kCaptureFlash},
          Fault{.at = FaultPoint::kMcuFinish}, Fault{.at = FaultPoint::kRead, .first = 0}}) {
      QCOMPARE(refusalOf([&] { simulator::setTransferFaults({fault}); }), kind);
    }
    for (const FaultPoint at : {FaultPoint::kTransfer, FaultPoint::kRead, FaultPoint::kWrite}) {
      QCOMPARE(refusalOf([at] { simulator::setTransferFaults({{.at = at}}); }), std::string("none"));
    }
    QCOMPARE(refusalOf([] { simulator::setTransferFaults({faults::misread(1000)}); }), std::string("none"));
    QCOMPARE(refusalOf([] { simulator::setTransferFaults({faults::misread(1001)}); }),
             std::string("a rate is one of 0 to 1000 transfers of a thousand"));
    QCOMPARE(refusalOf([] { simulator::failCall("plug", 1, -1); }),
             std::string("no call 1 of an operation named plug"));
    QCOMPARE(refusalOf([] { simulator::failCall("openPort", 0, -1); }),
             std::string("no call 0 of an operation named openPort"));
    const std::string signal = "no signal 1440p144 for that input";
    QCOMPARE(refusalOf([] { simulator::feedSignal(simulator::Input::kHdmi, "1440p144"); }), signal);
    QCOMPARE(refusalOf([] { simulator::feedSignal(simulator::Input::kDp, "1440p144"); }), std::string("none"));
  }

  // About two thirds of the wrong bytes have one wrong bit, the others two or three.
  void wrongBytesHaveOneWrongBitOrSeldomMore() {
    load("");
    simulator::setTransferFaults({faults::misread(1000)});
    std::map<int, int> seen;
    for (int i = 0; i < 3000; ++i) {
      i2c::Bytes bytes = i2c::read(0x54, {0x18, 0}, 64);
      int bits = 0;
      for (const std::uint8_t byte : bytes) {
        bits += std::popcount(static_cast<unsigned>(byte ^ 0xFFU));
      }
      ++seen[bits];
    }
    QVERIFY2(seen[1] > 1850 && seen[1] < 2150, qPrintable(QString::number(seen[1])));
    QVERIFY2(seen[2] > 400 && seen[2] < 600, qPrintable(QString::number(seen[2])));
    QVERIFY2(seen[3] > 400 && seen[3] < 600, qPrintable(QString::number(seen[3])));
    QCOMPARE(seen.size(), std::size_t{3});
  }
};

QTEST_GUILESS_MAIN(FaultWordsTest)
#include "fault_words_test.moc"
