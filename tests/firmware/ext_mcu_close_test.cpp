#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <random>

namespace {

constexpr int kUpgradeMs = 1620;  // of the image below, all told

struct Outcome {
  int exitCode = -1;
  bool crashed = true;
  QByteArray errors;
};

// Runs the program as it is shipped, starts an upgrade in it and closes the
// window after a while.
Outcome closeDuringUpgrade(const QString& image, int afterMs, int lingerMs) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("QT_PLUGIN_PATH", PLUGINS);
  environment.insert("QT_QPA_GENERIC_PLUGINS", "pellavoxprobe");
  environment.insert("PELLAVOX_PROBE_SCRIPT", "click BN_Connect;click BN_Browse_ExtMCU_QX;open " + image +
                                                  ";click BN_Apply_ExtMCU_QX;wait " + QString::number(afterMs) +
                                                  ";print LB_Message;close");
  if (lingerMs > 0) {
    environment.insert("PELLAVOX_PROBE_LINGER_MS", QString::number(lingerMs));
  }
  QProcess program;
  program.setProcessEnvironment(environment);
  program.start(PROGRAM, QStringList());
  if (!program.waitForFinished(60'000)) {
    program.kill();
    program.waitForFinished();
    return {-1, true, "the program did not end"};
  }
  Outcome outcome{program.exitCode(), program.exitStatus() != QProcess::NormalExit, program.readAllStandardError()};
  if (!program.readAllStandardOutput().contains("LB_Message=")) {
    outcome.errors += "the upgrade did not start";
    outcome.exitCode = -1;
  }
  return outcome;
}

// Sanitizers and Qt speak up on standard error.
bool isQuiet(const QByteArray& errors) {
  return !errors.contains("Sanitizer") && !errors.contains("runtime error") && !errors.contains("QThread") &&
         !errors.contains("terminate");
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
      const Outcome outcome = closeDuringUpgrade(image.fileName(), moment, lingerMs);
      if (outcome.crashed || outcome.exitCode != 0 || !isQuiet(outcome.errors)) {
        ++bad;
        qWarning("closed after %d ms: exit code %d%s\n%s", moment, outcome.exitCode, outcome.crashed ? ", crashed" : "",
                 outcome.errors.constData());
      }
    }
    qInfo("seed %u: closed %d times during an upgrade, %d times not cleanly", seed, count, bad);
    QCOMPARE(bad, 0);
  }
};

QTEST_GUILESS_MAIN(ExtMcuCloseTest)
#include "ext_mcu_close_test.moc"
