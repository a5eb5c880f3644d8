#include "device/operations.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

// Expands the list once more, into functions that count the arguments they pass on.
namespace {

using device::Kind;
using device::Operation;

template <Operation operation, typename... Arguments>
std::size_t argumentCount(Arguments...) {
  return sizeof...(Arguments);
}

#define OPERATION(name, kind, result, declaration, arguments, ...) \
  std::size_t count_##name declaration { return argumentCount<Operation::name> arguments; }
#include "device/operations.inc"
#undef OPERATION

template <typename... Arguments>
std::size_t called(std::size_t (*function)(Arguments...)) {
  return function(Arguments{}...);
}

}  // namespace

class OperationsTest : public QObject {
  Q_OBJECT

 private slots:
  void fiveOpenAndCloseTwentyThreeReadAndSixteenChange() {
    QCOMPARE(device::kOperations.size(), std::size_t{44});
    QCOMPARE(device::countOf(Kind::kSession), std::size_t{5});
    QCOMPARE(device::countOf(Kind::kRead), std::size_t{23});
    QCOMPARE(device::countOf(Kind::kChange), std::size_t{16});
  }

  void namesFitTheirKindOfOperation() {
    for (const device::OperationDescription& operation : device::kOperations) {
      const QString name = operation.name.data();
      if (name.contains("_Get")) {
        QVERIFY2(operation.kind == Kind::kRead, operation.name.data());
      }
      if (name.contains("_Set") || name.contains("Switch") || name.contains("burn")) {
        QVERIFY2(operation.kind == Kind::kChange, operation.name.data());
      }
    }
  }

  void theIndexIsTheOperation() {
    for (std::size_t i = 0; i < device::kOperations.size(); ++i) {
      QCOMPARE(static_cast<std::size_t>(device::kOperations[i].id), i);
      QCOMPARE(&device::describe(device::kOperations[i].id), &device::kOperations[i]);
      QCOMPARE(device::findOperation(device::kOperationNames[i]), &device::kOperations[i]);
    }
    QVERIFY(device::findOperation("AT_No_Such_Operation") == nullptr);
  }

  void declarationAndArgumentsHaveAsManyParametersAsDescribed() {
#define OPERATION(name, ...) QCOMPARE(called(count_##name), device::describe(Operation::name).parameterCount);
#include "device/operations.inc"
#undef OPERATION
  }

  void aLengthIsNoFailure() {
    QVERIFY(!device::describe(Operation::AT_USB_Get_iProduct).failed(7));
    QVERIFY(device::describe(Operation::AT_USB_Get_iProduct).failed(-1));
    QVERIFY(device::describe(Operation::AT_Get_UVC_Name).failed(7));
    QVERIFY(!device::describe(Operation::AT_Get_UVC_Name).failed(0));
  }

  void theHeaderDeclaresTheseAndNoOthers() {
    QFile header(LIBRARY_HEADER);
    QVERIFY(header.open(QIODevice::ReadOnly));
    static const QRegularExpression declaration("RTICE_SDK_API int32_t (\\w+)\\(");
    auto found = declaration.globalMatch(QString::fromUtf8(header.readAll()));
    QStringList declared;
    while (found.hasNext()) {
      declared << found.next().captured(1);
    }
    QStringList described;
    for (const device::OperationDescription& operation : device::kOperations) {
      described << operation.name.data();
    }
    QCOMPARE(described, declared);
  }
};

QTEST_APPLESS_MAIN(OperationsTest)
#include "operations_test.moc"
