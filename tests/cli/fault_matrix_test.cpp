#include "device/operations.h"
#include "tests/cli/cli_bench.h"

#include <QProcess>
#include <QtTest>

#include <map>
#include <set>

namespace {

enum class Verb {
  kReading,  // shows what it reads
  kChange,   // writes one value
  kBurn,     // writes firmware
  kRestart,  // loses the device on purpose
  kProbing,  // takes a failed read for an absent chip
  kUpgrade,  // writes firmware in many calls
};

struct Line {
  const char* words;
  Verb verb;
};

// Each verb; FILE is a capture image, TABLE an EDID, KEY a key, IMAGE MCU firmware, SNAPSHOT an earlier one.
const std::vector<Line> kLines{
    {"info", Verb::kReading},
    {"rx", Verb::kReading},
    {"video", Verb::kReading},
    {"audio", Verb::kReading},
    {"hdcp", Verb::kReading},
    {"serial", Verb::kReading},
    {"snapshot", Verb::kReading},
    {"snapshot OUTPUT", Verb::kReading},
    {"diff SNAPSHOT", Verb::kReading},
    {"--library LIBRARY doctor", Verb::kReading},
    {"--library LIBRARY doctor -o OUTPUT", Verb::kReading},
    {"mcu info", Verb::kReading},
    {"gpio list", Verb::kReading},
    {"gpio get 3", Verb::kReading},
    {"i2c get 48 0 2", Verb::kReading},
    {"i2c dump 50 0-FF", Verb::kReading},
    {"i2c scan", Verb::kProbing},
    {"edid show --sink", Verb::kReading},
    {"edid check --slot 3", Verb::kReading},
    {"edid read --ddc", Verb::kReading},
    {"edid mode", Verb::kReading},
    {"edid default", Verb::kReading},
    {"watch audio --count 1", Verb::kReading},

    {"serial set NEW", Verb::kChange},
    {"video source dp", Verb::kChange},
    {"video hpd off", Verb::kChange},
    {"audio gain 5", Verb::kChange},
    {"audio hp-gain 5", Verb::kChange},
    {"audio mute on", Verb::kChange},
    {"gpio set 3 7", Verb::kChange},
    {"i2c set 48 1 60 80", Verb::kChange},
    {"edid write TABLE --slot 2", Verb::kChange},
    {"edid mode mixed", Verb::kChange},
    {"edid default 4", Verb::kChange},
    {"hdcp tx off", Verb::kChange},
    {"--confirm=key hdcp burn KEY", Verb::kChange},
    {"restore", Verb::kChange},
    {"reboot --wait", Verb::kRestart},
    {"capture burn FILE", Verb::kBurn},
    {"mcu upgrade IMAGE", Verb::kUpgrade},
};

// Sanitizers make this ten times slower and look for other faults.
#if defined(PELLAVOX_SANITIZED)
constexpr unsigned kEvery = 512;
#else
constexpr unsigned kEvery = 32;
#endif

enum class Fault { kStatus, kGarbage, kHang, kUnplug };

struct Call {
  std::string operation;
  unsigned number;  // of that operation, from 1
  bool isAfterWrite;
};

std::vector<Call> callsMade() {
  std::vector<Call> calls;
  std::map<std::string, unsigned> counts;
  bool written = false;
  for (const simulator::JournalEntry& entry : simulator::journal()) {
    calls.push_back({entry.operation, ++counts[entry.operation], written});
    written = written || device::findOperation(entry.operation)->kind == device::Kind::kChange;
  }
  return calls;
}

void put(const Call& call, Fault fault, std::int32_t status) {
  switch (fault) {
    case Fault::kStatus:
      simulator::failCall(call.operation, call.number, status);
      break;
    case Fault::kGarbage:
      simulator::answerCall(call.operation, call.number, 0, std::vector<std::uint8_t>(600, 0xFF));
      break;
    case Fault::kHang:
      simulator::delayCall(call.operation, call.number, std::chrono::seconds(2));
      break;
    case Fault::kUnplug:
      simulator::unplugAtCall(call.operation, call.number);
      break;
  }
}

int codeOfUnplug(Verb verb, const Call& call, device::Kind kind) {
  if (call.operation == "closePort" || call.operation == "uninitialize") {
    return verb == Verb::kRestart && !call.isAfterWrite ? -1 : 0;
  }
  if (kind == device::Kind::kSession) {
    return 3;
  }
  if (verb == Verb::kBurn) {
    return call.isAfterWrite ? 7 : 9;
  }
  return call.isAfterWrite ? 7 : 1;
}

/// What docs/command-line.md promises; -1 = depends.
int expectedCode(Verb verb, const Call& call, Fault fault) {
  const device::OperationDescription& operation = *device::findOperation(call.operation);
  if (verb == Verb::kRestart && call.isAfterWrite) {
    return fault == Fault::kUnplug ? -1 : 0;  // it retries until the device is back
  }
  if (fault == Fault::kUnplug) {
    return codeOfUnplug(verb, call, operation.kind);
  }
  if (fault == Fault::kHang) {
    return 0;
  }
  if (fault == Fault::kGarbage) {
    // A status of 0 although the port is not open or the write was not done.
    return operation.kind == device::Kind::kRead && verb != Verb::kReading ? 0 : -1;
  }
  if (!operation.failed(0) && operation.result == device::ResultMeaning::kTextLength) {
    return -1;  // a positive status is a length
  }
  if (call.operation == "closePort" || call.operation == "uninitialize") {
    return 0;
  }
  if (operation.kind == device::Kind::kSession) {
    // --wait tries again.
    return verb == Verb::kRestart ? 0 : 3;
  }
  if (operation.kind == device::Kind::kChange) {
    return 1;
  }
  // An unanswered probe is no failure, but a missing device is.
  const bool isProbe = verb == Verb::kProbing && call.operation == "AT_System_Get_ExternalMCU_cmd";
  return verb == Verb::kReading || (verb == Verb::kProbing && !isProbe) ? 1 : 0;
}

/// Whether the verb reads again or elsewhere, so that one failed read loses no value.
bool canDoWithout(const Line& line, const Call& call) {
  const std::string words = line.words;
  if (words == "mcu info") {
    return call.number == 1 && call.operation == "AT_System_Get_ExternalMCU_cmd";
  }
  const bool readsAll =
      words.starts_with("snapshot") || words.starts_with("diff") || words.find("doctor") != std::string::npos;
  return call.number > 1 && readsAll &&
         (call.operation == "AT_System_Get_ExternalMCU_cmd" || call.operation == "AT_HdmiTX_Get_HPD_Status");
}

// For family "v": one block of two packets, so that every call can fail.
QByteArray mcuFirmware() {
  QByteArray image(128, '\0');
  for (int i = 0; i < image.size(); ++i) {
    image[i] = static_cast<char>(i * 7);
  }
  return image;
}

bool mcuHolds(const QByteArray& image) {
  const auto flash = simulator::mcuFlash();
  return std::equal(image.begin(), image.end(), flash.begin(),
                    [](char wanted, std::uint8_t held) { return static_cast<std::uint8_t>(wanted) == held; });
}

}  // namespace

/// Each call of each verb fails once.
class FaultMatrixTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QCOMPARE(bench_.run(QStringList{"edid", "read", "--slot", "3", "-o", table_}).code, 0);
    QCOMPARE(bench_.run(QStringList{"snapshot", snapshot_}).code, 0);
  }

  void everyOperationIsReachedByAVerb() {
    std::set<std::string, std::less<>> reached;
    for (const Line& line : kLines) {
      renew(line);
      QVERIFY2(start(line).code == 0, line.words);
      for (const simulator::JournalEntry& entry : simulator::journal()) {
        reached.insert(entry.operation);
      }
    }
    for (const device::OperationDescription& operation : device::kOperations) {
      QVERIFY2(reached.contains(operation.name), operation.name.data());
    }
  }

  void everyFaultEndsAsDocumented_data() {
    QTest::addColumn<int>("line");
    for (std::size_t i = 0; i < kLines.size(); ++i) {
      QTest::newRow(kLines[i].words) << static_cast<int>(i);
    }
  }
  void everyFaultEndsAsDocumented() {
    QFETCH(int, line);
    const Line& tried = kLines[static_cast<std::size_t>(line)];
    renew(tried);
    QCOMPARE(start(tried).code, 0);
    const std::vector<Call> calls = callsMade();
    for (const Call& call : calls) {
      // Only some of many equal calls.
      if (call.number > 2 && call.number % kEvery != 0 && tried.verb != Verb::kUpgrade) {
        continue;
      }
      for (const std::int32_t status : {-1, -5, -100, 7}) {
        tryFault(tried, call, Fault::kStatus, status);
      }
      tryFault(tried, call, Fault::kGarbage, 0);
      tryFault(tried, call, Fault::kHang, 0);
      tryFault(tried, call, Fault::kUnplug, 0);
      if (QTest::currentTestFailed()) {
        return;
      }
    }
    QVERIFY2(tried.verb != Verb::kUpgrade || (upgradeCodes_[0] > 0 && upgradeCodes_[1] > 0 && upgradeCodes_[9] > 0),
             "the faults of an upgrade did not lead everywhere");
  }

 private:
  void renew(const Line& line) {
    bench_.renew();
    if (line.verb == Verb::kUpgrade) {
      simulator::loadScenario(R"({"externalMcu": {"family": "v"}})");
      simulator::useVirtualTime();
    }
  }

  /// Runs the line. Output to a file counts as printed.
  CliBench::Result start(const Line& line) {
    QStringList words{"-j", "-y", "-q"};
    for (const QString& word : QString(line.words).split(' ')) {
      words << files_.value(word, word);
    }
    QFile output(files_["OUTPUT"]);
    output.remove();
    auto result = bench_.run(words);
    if (output.open(QIODevice::ReadOnly)) {
      result.out += output.readAll();
    }
    return result;
  }

  /// What an upgrade reports must be true of the MCU.
  void judgeUpgrade(const CliBench::Result& result, Fault fault, const QByteArray& what) {
    ++upgradeCodes_[result.code];
    // The boot loader is gone before its late answer to the finish packet arrives.
    QVERIFY2(fault != Fault::kHang || result.code == 0 || result.code == 7, what.constData());
    simulator::replug();
    simulator::advanceTime(std::chrono::seconds(2));  // the boot loader starts the firmware a little later
    const bool isNew = simulator::mcuRunsApplication() && mcuHolds(mcuFirmware());
    const bool isOld = simulator::mcuRunsApplication() && !mcuHolds(mcuFirmware());
    if (result.code == 0 || result.code == 7) {
      QVERIFY2(isNew, what.constData());
    } else if (result.code == 1 || result.code == 3) {
      QVERIFY2(isOld, what.constData());
    } else {
      QVERIFY2(result.code == 9, what.constData());
      QStringList words = QProcess::splitCommand(result.document()["next"].text());
      QVERIFY2(!words.isEmpty() && words.takeFirst() == "pellavox-cli", what.constData());
      QVERIFY2(bench_.run(words).code == 0, what.constData());
      QVERIFY2(mcuHolds(mcuFirmware()), what.constData());
    }
  }

  void tryFault(const Line& line, const Call& call, Fault fault, std::int32_t status) {
    renew(line);
    put(call, fault, status);
    const auto result = start(line);
    const QByteArray what = QByteArray(line.words) + ": " + call.operation.c_str() + " #" +
                            QByteArray::number(call.number) + ", fault " + QByteArray::number(static_cast<int>(fault)) +
                            ", status " + QByteArray::number(status) + ": ended with " +
                            QByteArray::number(result.code) + ": " + result.out.left(300);
    const bool isSession = device::findOperation(call.operation)->kind == device::Kind::kSession;
    const int expected = line.verb == Verb::kUpgrade && (!isSession || fault == Fault::kGarbage) ? -1
                         : fault != Fault::kUnplug && canDoWithout(line, call)                   ? -1
                                                                               : expectedCode(line.verb, call, fault);
    if (expected >= 0 && !(call.operation.find("_USB_Get_i") != std::string::npos && status > 0)) {
      QVERIFY2(result.code == expected, what.constData());
    }
    QVERIFY2(callsOf("closePort") >= (callsOf("openPort") > 0 && result.code != 3 ? 1 : 0), what.constData());
    const cli::Value document = result.document();
    QVERIFY2(!document["schema"].text().isEmpty(), what.constData());
    const bool isError = document["schema"].text() == "pellavox-cli/error";
    QVERIFY2(result.code != 0 || !isError, what.constData());
    // A result that lacks a value must not count as complete.
    QVERIFY2(result.code != 0 || !result.out.contains("\"unread\""), what.constData());
    if (line.verb == Verb::kUpgrade) {
      judgeUpgrade(result, fault, what);
    }
  }

  CliBench bench_;
  QString table_ = bench_.path("table.bin");
  QString snapshot_ = bench_.path("snapshot.json");
  QMap<QString, QString> files_{{"FILE", bench_.write("image.img", "KVR-7 V1.04.00")},
                                {"KEY", bench_.write("key.bin", "0123456789")},
                                {"IMAGE", bench_.write("mcu.bin", mcuFirmware())},
                                {"TABLE", table_},
                                {"SNAPSHOT", snapshot_},
                                {"LIBRARY", SMALL_LIBRARY},
                                {"OUTPUT", bench_.path("output.json")}};
  std::map<int, int> upgradeCodes_;
};

QTEST_GUILESS_MAIN(FaultMatrixTest)
#include "fault_matrix_test.moc"
