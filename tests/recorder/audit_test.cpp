#include "recorder/audit.h"

#include "recorder/recorder.h"
#include "tests/recorder/through.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <array>
#include <atomic>
#include <cstring>
#include <thread>

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace {

using device::Operation;

// Writes three bytes too many and one before.
std::int32_t writeTooMuch(std::uint8_t* mode) {
  for (int i = -1; i < 4; ++i) {
    mode[i] = static_cast<std::uint8_t>(mode[i] + 1);
  }
  *mode = 3;
  return 0;
}

std::int32_t changeInput(const std::uint8_t* bytes, std::uint32_t /*length*/) {
  const_cast<std::uint8_t*>(bytes)[1] ^= 0xFF;  // NOLINT(cppcoreguidelines-pro-type-const-cast): the fault
  return -6;
}

std::atomic<RTICE_ProgressCallback> kept;

std::int32_t burn(const char* /*path*/, RTICE_ProgressCallback progress) {
  progress(1);
  progress(2);
  std::thread([progress] { progress(3); }).join();
  kept = progress;
  return 0;
}

recorder::Recorder::Options optionsIn(const QTemporaryDir& folder, const char* recording) {
  recorder::Recorder::Options options;
  options.functions = quiet_library::functions();
  quiet_library::put(options.functions, Operation::AT_EDID_Get_EDID_mode, &writeTooMuch);
  quiet_library::put(options.functions, Operation::AT_USB_Set_SerialNum, &changeInput);
  quiet_library::put(options.functions, Operation::burnToFlash, &burn);
  options.file = pathIn(folder, recording);
  options.header.library = "library.so";
  options.header.librarySha256 = "0123456789abcdef";
  options.auditFile = recorder::auditFileIn(pathIn(folder, ""), options.header);
  return options;
}

template <typename Program>
QJsonObject audited(const QTemporaryDir& folder, const char* recording, const Program& program) {
  recorder::Recorder recorder(optionsIn(folder, recording));
  program(recorder);
  recorder.finish();
  QFile file(folder.filePath("audit-0123456789ab.json"));
  return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

QJsonObject operationIn(const QJsonObject& report, const char* name) { return report["operations"][name].toObject(); }

}  // namespace

class AuditTest : public QObject {
  Q_OBJECT

 private slots:
  void bytesBeyondTheContractAreCountedAndDoNotReachTheProgram() {
    const QTemporaryDir folder;
    std::array<std::uint8_t, 8> memory{};
    const QJsonObject report = audited(folder, "a.jsonl", [&](auto& target) {
      QCOMPARE(THROUGH(target, AT_EDID_Get_EDID_mode, memory.data() + 4), 0);
    });
    const std::array<std::uint8_t, 8> expected{0, 0, 0, 0, 3, 0, 0, 0};
    QVERIFY(memory == expected);
    const QJsonObject beyond =
        operationIn(report, "AT_EDID_Get_EDID_mode")["beyond_the_contract"].toObject()["mode"].toObject();
    QCOMPARE(beyond["calls"].toInt(), 1);
    QCOMPARE(beyond["bytes_before"].toInt(), 1);
    QCOMPARE(beyond["bytes_after"].toInt(), 3);
    QCOMPARE(beyond["reach"].toInt(), 3);
  }

  void aChangedInputIsCountedAndStaysTheProgramsOwn() {
    const QTemporaryDir folder;
    const std::array<std::uint8_t, 3> serial{'a', 'b', 'c'};
    const QJsonObject report = audited(folder, "a.jsonl", [&](auto& target) {
      QCOMPARE(THROUGH(target, AT_USB_Set_SerialNum, serial.data(), 3), -6);
    });
    QCOMPARE(serial[1], std::uint8_t{'b'});
    const QJsonObject beyond =
        operationIn(report, "AT_USB_Set_SerialNum")["beyond_the_contract"].toObject()["bytes"].toObject();
    QCOMPARE(beyond["bytes_of_input"].toInt(), 1);
  }

  void aLibraryThatKeepsToItIsNotBlamed() {
    const QTemporaryDir folder;
    std::array<std::uint8_t, 512> table{};
    const QJsonObject report = audited(folder, "a.jsonl", [&](auto& target) {
      THROUGH(target, AT_EDID_Get_TX_table, 512, table.data());
      THROUGH(target, AT_Get_Current_Input_Source, nullptr);
    });
    QVERIFY(!operationIn(report, "AT_EDID_Get_TX_table").contains("beyond_the_contract"));
    QCOMPARE(operationIn(report, "AT_EDID_Get_TX_table")["calls"].toInt(), 1);
    QCOMPARE(operationIn(report, "AT_Get_Current_Input_Source")["calls"].toInt(), 1);
  }

  void callbacksAreDistinguishedByThread() {
    const QTemporaryDir folder;
    const QJsonObject report = audited(folder, "a.jsonl", [&](auto& target) {
      THROUGH(target, burnToFlash, "x", [](float) {});
      kept.load()(4);
    });
    const QJsonObject callbacks = operationIn(report, "burnToFlash")["callbacks"].toObject();
    QCOMPARE(callbacks["on_the_callers_thread"].toInt(), 2);
    QCOMPARE(callbacks["on_other_threads"].toInt(), 1);
    QCOMPARE(callbacks["after_the_call"].toInt(), 1);
  }

#ifndef _WIN32
  void whatIsNoReportDisturbsNobody_data() {
    QTest::addColumn<QString>("name");
    QTest::newRow("the report") << "audit-0123456789ab.json";
    QTest::newRow("the next report") << "audit-0123456789ab.json.new";
  }
  void whatIsNoReportDisturbsNobody() {
    QFETCH(QString, name);
    const auto program = [](auto& target) { THROUGH(target, openPort); };
    const QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir(name));
    QVERIFY(audited(folder, "a.jsonl", program).isEmpty());
    QVERIFY(QDir(folder.path()).rmdir(name));
    QVERIFY(mkfifo(QFile::encodeName(folder.filePath(name)).constData(), 0600) == 0);
    recorder::Recorder recorder(optionsIn(folder, "b.jsonl"));
    program(recorder);
    recorder.finish();
    QVERIFY(QFile::remove(folder.filePath(name)));
    QVERIFY(!audited(folder, "c.jsonl", program).isEmpty());
  }
#endif

  void laterRunsAddToTheReportAndShowWhatIsNew() {
    const QTemporaryDir folder;
    const auto openTwice = [](auto& target) {
      THROUGH(target, openPort);
      THROUGH(target, openPort);
    };
    const QJsonObject first = audited(folder, "a.jsonl", openTwice);
    QCOMPARE(first["runs"].toInt(), 1);
    QCOMPARE(operationIn(first, "openPort")["new_statuses"].toArray(), QJsonArray{0});
    const QJsonObject second = audited(folder, "b.jsonl", [&](auto& target) {
      openTwice(target);
      const std::array<std::uint8_t, 2> serial{'a', 'b'};
      THROUGH(target, AT_USB_Set_SerialNum, serial.data(), 2);
    });
    QCOMPARE(second["runs"].toInt(), 2);
    QCOMPARE(operationIn(second, "openPort")["calls"].toInt(), 4);
    QCOMPARE(operationIn(second, "openPort")["new_statuses"].toArray(), QJsonArray());
    QCOMPARE(operationIn(second, "AT_USB_Set_SerialNum")["new_statuses"].toArray(), QJsonArray{-6});
    const QJsonObject time = operationIn(second, "openPort")["nanoseconds"].toObject();
    QVERIFY(time["min"].toInt() <= time["median"].toInt() && time["median"].toInt() <= time["max"].toInt());
  }
};

QTEST_GUILESS_MAIN(AuditTest)
#include "audit_test.moc"
