#include "tests/support/program_run.h"

#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <random>

namespace {

constexpr int kUpgradeMs = 1620;  // of the image below, all told

// Runs the program as it is shipped, starts an upgrade in it and closes the
// window after a while.
ProgramRun closeDuringUpgrade(const QString& image, int afterMs, int lingerMs) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  if (lingerMs > 0) {
    environment.insert("PELLAVOX_PROBE_LINGER_MS", QString::number(lingerMs));
  }
  return runScript(
      PROGRAM, PLUGINS,
      QStringLiteral(
          "click BN_Connect;click BN_Browse_ExtMCU_QX;open %1;click BN_Apply_ExtMCU_QX;wait %2;print LB_Message;close")
          .arg(image)
          .arg(afterMs),
      environment);
}

}  // namespace

/// The window of the real program is closed while an upgrade runs. How often
/// and from which seed stands in PELLAVOX_CLOSE_COUNT and PELLAVOX_CLOSE_SEED.
class ExtMcuCloseTest : public QObject {
  Q_OBJECT

 private slots:
  void closingEndsTheProgramAtOnceAndCleanly_data() {
    QTest::addColumn<int>("lingerMs");
    QTest::newRow("the process ends as it does") << 0;
    // Long enough for the upgrade to end within the process's end.
    QTest::newRow("the process takes its time to end") << kUpgradeMs + 200;
  }

  void closingEndsTheProgramAtOnceAndCleanly() {
    QFETCH(int, lingerMs);
    int count = std::max(1, qEnvironmentVariableIntValue("PELLAVOX_CLOSE_COUNT"));
    if (lingerMs > 0) {
      count = (count + 2) / 3;  // each takes long
    }
    const auto seed = static_cast<unsigned>(qEnvironmentVariableIntValue("PELLAVOX_CLOSE_SEED"));
    std::mt19937 random(seed);
    const QTemporaryDir directory;
    QFile image(directory.filePath("image.bin"));
    QVERIFY(image.open(QIODevice::WriteOnly));
    image.write(QByteArray(1024, 'x'));
    image.close();

    int bad = 0;
    for (int run = 0; run < count; ++run) {
      // Two thirds at any moment, one third around the worker's own end.
      const int moment =
          run % 3 < 2 ? static_cast<int>(random() % kUpgradeMs) : kUpgradeMs - 50 + static_cast<int>(random() % 400);
      const ProgramRun closed = closeDuringUpgrade(image.fileName(), moment, lingerMs);
      if (!closed.ended || closed.exitCode != 0 || !closed.isQuiet() || !closed.output.contains("LB_Message=")) {
        ++bad;
        qWarning("closed after %d ms: %s, exit code %d\n%s%s", moment, closed.ended ? "ended" : "did not end",
                 closed.exitCode, closed.output.constData(), closed.errors.constData());
      }
    }
    qInfo("seed %u: closed %d times during an upgrade, %d times not cleanly", seed, count, bad);
    QCOMPARE(bad, 0);
  }
};

QTEST_GUILESS_MAIN(ExtMcuCloseTest)
#include "ext_mcu_close_test.moc"
