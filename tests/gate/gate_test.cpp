#include "gate/gate.h"

#include "simulator/control/control.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <string>
#include <vector>

namespace {

// Calls a function with zeros and null pointers.
template <typename... Arguments>
std::int32_t callWithNothing(std::int32_t (*function)(Arguments...)) {
  return function(Arguments{}...);
}

struct Operation {
  const device::OperationDescription& description;
  std::function<std::int32_t()> call;
};

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all{
#define OPERATION(name, ...) {device::describe(device::Operation::name), [] { return callWithNothing(&::name); }},
#include "device/operations.inc"
#undef OPERATION
  };
  return all;
}

std::vector<std::string> operationsReached() {
  std::vector<std::string> names;
  for (const simulator::JournalEntry& entry : simulator::journal()) {
    names.push_back(entry.operation);
  }
  return names;
}

std::filesystem::path path(const QString& text) { return std::filesystem::path(text.toStdU16String()); }

}  // namespace

class GateTest : public QObject {
  Q_OBJECT

 private slots:
  void withoutALibraryEveryOperationFailsCleanly() {
    QVERIFY(!gate::isLoaded());
    for (const Operation& operation : operations()) {
      QCOMPARE(operation.call(), gate::kNotLoaded);
    }
  }

  void aMissingFileIsNamed() {
    const auto loaded = gate::load(path("/no/such/folder/library.so"));
    QVERIFY(!loaded);
    const std::string text = loaded.error().text();
    QVERIFY2(text.find("library.so") != std::string::npos, text.c_str());
    QVERIFY(text.find('\n') == std::string::npos);
    QVERIFY(loaded.error().operation.empty());
  }

  void aFileThatIsNotALibraryIsNamed() {
    const QTemporaryDir folder;
    QFile file(folder.filePath("notes.txt"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("no library");
    file.close();
    const auto loaded = gate::load(path(file.fileName()));
    QVERIFY(!loaded);
    QVERIFY(QString::fromStdString(loaded.error().text()).contains("notes.txt"));
    QVERIFY(!gate::isLoaded());
  }

  void aLibraryThatLacksAnOperationIsNotUsed() {
    const auto loaded = gate::load(path(INCOMPLETE_LIBRARY));
    QVERIFY(!loaded);
    QCOMPARE(QString::fromStdString(loaded.error().operation), QString("AT_SetHDMI_HDCP_OnOff"));
    QVERIFY(QString::fromStdString(loaded.error().text()).contains("AT_SetHDMI_HDCP_OnOff"));
    QVERIFY(QString::fromStdString(loaded.error().text()).contains("incomplete_library"));
    QVERIFY(!gate::isLoaded());
  }

  void everyOperationReachesTheLibrary() {
    QVERIFY(gate::load(path(DEVICE_LIBRARY)));
    QVERIFY(gate::isLoaded());
    simulator::reset();
    std::vector<std::string> expected;
    for (const Operation& operation : operations()) {
      expected.emplace_back(operation.description.name);
      QVERIFY(operation.call() != gate::kNotLoaded);
    }
    QCOMPARE(operationsReached(), expected);
  }

  void argumentsAndResultsPassUnchanged() {
    simulator::reset();
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(openPort(), 0);
    const std::uint8_t text[] = {'A', 'B', 'C'};
    QCOMPARE(AT_USB_Set_SerialNum(text, 3), 0);
    std::uint8_t buffer[100] = {};
    std::uint32_t length = 0;
    QCOMPARE(AT_USB_Get_SerialNum(buffer, 100, &length), 0);
    QCOMPARE(length, 3U);
    QCOMPARE(reinterpret_cast<const char*>(buffer), "ABC");
    simulator::failCall("AT_Set_System_Reboot", 1, -77);
    QCOMPARE(AT_Set_System_Reboot(), -77);
  }

  // As in a dry run.
  void whileChangesAreRefusedNoneOfThe16ReachesTheLibrary() {
    simulator::reset();
    QCOMPARE(initialize(), 0);
    QCOMPARE(setDevice(0, 0, 0x5C19, 0x6B03), 0);
    QCOMPARE(openPort(), 0);
    simulator::clearJournal();
    gate::refuseChanges(true);
    const unsigned refusedBefore = gate::refusedCalls();
    unsigned changing = 0;
    for (const Operation& operation : operations()) {
      if (operation.description.kind == device::Kind::kChange) {
        ++changing;
        QCOMPARE(operation.call(), gate::kRefused);
        QVERIFY2(operationsReached().empty(), operation.description.name.data());
      }
    }
    QCOMPARE(changing, 16U);
    QCOMPARE(gate::refusedCalls() - refusedBefore, 16U);

    std::uint8_t source = 0;
    QCOMPARE(AT_Get_Current_Input_Source(&source), 0);
    gate::refuseChanges(false);
    QCOMPARE(AT_RestoreToDefault(), 0);
  }

  void theObserverSeesEachCallAndItsResult() {
    simulator::reset();
    std::vector<std::pair<std::string, std::int32_t>> seen;
    gate::observe([&seen](const device::OperationDescription& operation, std::int32_t result,
                          std::chrono::nanoseconds) { seen.emplace_back(operation.name, result); });
    simulator::failCall("openPort", 1, -5);
    initialize();
    openPort();
    gate::observe({});
    closePort();
    const std::vector<std::pair<std::string, std::int32_t>> expected{{"initialize", 0}, {"openPort", -5}};
    QCOMPARE(seen, expected);
  }
};

QTEST_APPLESS_MAIN(GateTest)
#include "gate_test.moc"
