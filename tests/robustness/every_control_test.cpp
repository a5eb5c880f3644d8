#include "device/operations.h"
#include "simulator/control/control.h"
#include "tests/robustness/control_fixture.h"
#include "tests/robustness/expectation.h"
#include "tests/support/window_controls.h"

#include <QMap>
#include <QSet>
#include <QTest>

#include <stdexcept>

using control_table::Control;
using control_table::ControlFixture;
using control_table::Outcome;

namespace {

/// Operates a control of a newly opened window on the default device.
Outcome work(const Control& control) {
  ControlFixture fixture(control.connected);
  WindowState given;
  apply(control.given, given);
  fixture.restore(given);
  if (control.failsBefore != nullptr) {
    simulator::failCall(control.failsBefore, fault_matrix::callsSoFar(control.failsBefore) + 1, -1);
  }
  return fixture.act(control.actions);
}

}  // namespace

/// Presses every button and moves every control of all seven pages.
class EveryControlTest : public QObject {
  Q_OBJECT

  const QVector<Control> controls_ = control_table::controls();

 private slots:
  void aControlMakesTheseCalls_data() {
    QTest::addColumn<int>("index");
    for (int i = 0; i < controls_.size(); ++i) {
      QTest::newRow(qPrintable(controls_[i].title())) << i;
    }
  }

  void aControlMakesTheseCalls() {
    QFETCH(int, index);
    try {
      QCOMPARE(work(controls_[index]).calls, expect(controls_[index], {}).calls);
    } catch (const std::runtime_error& breach) {
      QFAIL(breach.what());
    }
  }

  void noControlIsLeftOut() {
    QSet<QString> titles;
    QSet<QString> worked;
    for (const Control& control : controls_) {
      QVERIFY2(!titles.contains(control.title()), qPrintable(control.title()));
      titles << control.title();
      worked << control.name;
    }
    const WindowFixture fixture;
    QSet<QString> present;
    for (const QWidget* widget : fixture.window().findChildren<QWidget*>()) {
      if (isControl(*widget)) {
        present << widget->objectName();
      }
    }
    QCOMPARE(QStringList((present - worked).values()), QStringList());
    QCOMPARE(QStringList((worked - present).values()), QStringList());
  }

  // Also prints which controls call each operation.
  void everyOperationIsCalled() {
    QMap<QString, QStringList> callers;
    for (const Control& control : controls_) {
      for (const QString& call : work(control).calls) {
        callers[call.section('(', 0, 0)] << QStringLiteral("%1 by %2").arg(call, control.title());
      }
    }
    QStringList operations;
    for (const device::OperationDescription& operation : device::kOperations) {
      operations << operation.name.data();
    }
    QCOMPARE(operations.size(), 44);
    QStringList called = callers.keys();
    called.sort();
    operations.sort();
    for (int i = 0; i < called.size(); ++i) {
      qInfo("%2d  %s", i + 1, qPrintable(callers[called[i]].join("\n    ")));
    }
    QCOMPARE(called, operations);
  }
};

QTEST_MAIN(EveryControlTest)
#include "every_control_test.moc"
