#include "device/operations.h"
#include "simulator/control/control.h"
#include "tests/robustness/fault_matrix/control_runs.h"
#include "tests/robustness/fault_matrix/upgrade_runs.h"
#include "tests/support/sleeps.h"

#include <QLoggingCategory>
#include <QSet>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using namespace fault_matrix;

namespace {

QString tableRow(const QString& control, int place, const QString& operation, const Fault& fault) {
  return QStringLiteral("%1, call %2 %3: %4").arg(control).arg(place + 1).arg(operation, fault.name);
}

}  // namespace

/// Injects every fault at every library call of the program.
class FaultMatrixTest : public QObject {
  Q_OBJECT

 public:
  /// @param failures as counted by QtTest, which stops at 127
  void printCounts(int failures) const {
    std::printf("%d of 44 operations, %d places where the program calls them; the call there",
                static_cast<int>(operations_.size()), places_);
    int all = 0;
    for (const auto& [kind, rows] : rows_) {
      std::printf(" %s: %d,", kind.c_str(), rows);
      all += rows;
    }
    std::printf(" in all %d rows\n", all);
    if (hasShare_) {
      std::printf("these are %d %% of the rows, chosen with seed %d\n", share_, seed_);
    }
    std::printf("%s: %d breaches of the fault matrix\n", failures == 0 ? "good" : "BAD", std::max(failures, breaches_));
  }

 private:
  // Created once, because their construction finds the calls.
  std::vector<std::unique_ptr<ControlRuns>> controls_;
  std::vector<std::unique_ptr<UpgradeRuns>> upgrades_;
  QSet<QString> operations_;
  int places_ = 0;
  int breaches_ = 0;
  // Slow builds run only some of the rows, chosen by the seed.
  bool hasShare_ = false;
  const int share_ = qEnvironmentVariableIntValue("PELLAVOX_MATRIX_SHARE", &hasShare_);
  const int seed_ = qEnvironmentVariableIntValue("PELLAVOX_MATRIX_SEED");
  std::mt19937 random_{static_cast<std::mt19937::result_type>(seed_)};
  bool isChosen() { return !hasShare_ || static_cast<int>(random_() % 100) < share_; }
  std::map<std::string, int> rows_;  // by kind of fault

  static const char* kindOf(const Fault& fault) {
    switch (fault.kind) {
      case Kind::kLate:
        return "takes 2 s";
      case Kind::kGone:
        return "unplugged";
      default:
        return fault.name.startsWith("status") ? "fails" : "returns garbage";
    }
  }

  template <typename Runs>
  void runRow(Runs& runs, int place, const Fault& fault) {
    ++rows_[kindOf(fault)];
    try {
      runs.run(place, fault);
    } catch (const std::runtime_error& breach) {
      ++breaches_;
      QFAIL(breach.what());
    }
  }

 private slots:
  void initTestCase() {
    QLoggingCategory::setFilterRules("default.debug=false");
    sleeps::replaceBy([](std::chrono::milliseconds time) { simulator::advanceTime(time); });
    try {
      for (const Control& control : control_table::controls()) {
        controls_.push_back(std::make_unique<ControlRuns>(control));
      }
      for (const char* const button : {"BN_Apply_ExtMCU", "BN_Apply_ExtMCU_QX"}) {
        for (const bool inApplication : {true, false}) {
          upgrades_.push_back(std::make_unique<UpgradeRuns>(button, inApplication));
        }
      }
    } catch (const std::runtime_error& breach) {
      QFAIL(breach.what());
    }
  }

  void theTableHoldsWithoutAFault() {
    for (const auto& runs : controls_) {
      try {
        runs->checkHealthy();
      } catch (const std::runtime_error& breach) {
        ++breaches_;
        QTest::qFail(qPrintable(QStringLiteral("%1: %2").arg(runs->control().title(), breach.what())), __FILE__,
                     __LINE__);
      }
    }
  }

  void everyCallOfAControl_data() {
    QTest::addColumn<int>("control");
    QTest::addColumn<int>("place");
    QTest::addColumn<int>("fault");
    for (std::size_t i = 0; i < controls_.size(); ++i) {
      if (controls_[i]->control().isUpgrade) {
        continue;
      }
      const QStringList& operations = controls_[i]->operations();
      for (int place = 0; place < operations.size(); ++place) {
        if (operations[place] == QLatin1String(controls_[i]->control().failsBefore)) {
          continue;  // already fails in every run
        }
        ++places_;
        operations_ << operations[place];
        const QVector<Fault> faults = faultsOf(operations[place], controls_[i]->callAt(place));
        for (int fault = 0; fault < faults.size(); ++fault) {
          if (!isChosen()) {
            continue;
          }
          QTest::newRow(qPrintable(tableRow(controls_[i]->control().title(), place, operations[place], faults[fault])))
              << static_cast<int>(i) << place << fault;
        }
      }
    }
  }

  void everyCallOfAControl() {
    QFETCH(int, control);
    QFETCH(int, place);
    QFETCH(int, fault);
    ControlRuns& runs = *controls_[static_cast<std::size_t>(control)];
    runRow(runs, place, faultsOf(runs.operations()[place], runs.callAt(place))[fault]);
  }

  void everyCallOfTheUpgrade_data() {
    QTest::addColumn<int>("upgrade");
    QTest::addColumn<int>("place");
    QTest::addColumn<int>("fault");
    for (std::size_t i = 0; i < upgrades_.size(); ++i) {
      const UpgradeRuns& runs = *upgrades_[i];
      // In the boot loader only the first two calls differ.
      const int places = runs.inApplication() ? runs.places() : 2;
      for (int place = 0; place < places; ++place) {
        ++places_;
        operations_ << runs.operation(place);
        const QVector<Fault> faults = UpgradeRuns::faultsOf(runs.operation(place));
        const QString control = QLatin1String(runs.button()) + (runs.inApplication() ? "" : ", in boot loader");
        for (int fault = 0; fault < faults.size(); ++fault) {
          if (!isChosen()) {
            continue;
          }
          QTest::newRow(qPrintable(tableRow(control, place, runs.operation(place), faults[fault])))
              << static_cast<int>(i) << place << fault;
        }
      }
    }
  }

  void everyCallOfTheUpgrade() {
    QFETCH(int, upgrade);
    QFETCH(int, place);
    QFETCH(int, fault);
    UpgradeRuns& runs = *upgrades_[static_cast<std::size_t>(upgrade)];
    runRow(runs, place, UpgradeRuns::faultsOf(runs.operation(place))[fault]);
  }

  void everyOperationIsInTheMatrix() {
    QStringList missing;
    for (const device::OperationDescription& operation : device::kOperations) {
      if (!operations_.contains(operation.name.data())) {
        missing << operation.name.data();
      }
    }
    QCOMPARE(missing, QStringList());
    QCOMPARE(operations_.size(), 44);
  }

  // The windows must be destroyed before the application object.
  void cleanupTestCase() {
    controls_.clear();
    upgrades_.clear();
  }
};

/// Like QTEST_MAIN, but prints the counts at the end.
int main(int argc, char* argv[]) {
  const QApplication application(argc, argv);
  QTEST_SET_MAIN_SOURCE_PATH
  FaultMatrixTest test;
  const int failures = QTest::qExec(&test, argc, argv);
  test.printCounts(failures);
  return failures;
}

#include "fault_matrix_test.moc"
