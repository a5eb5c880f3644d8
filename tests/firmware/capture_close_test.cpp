#include "tests/support/program_run.h"

#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <random>

namespace {

// Of the simulated device: 2 sectors to erase at 80 ms, 25 pieces to write at 15 ms.
constexpr int kShortImage = 100'000;
constexpr int kShortBurnMs = 2 * 80 + 25 * 15;
// 80 seconds: a program that waited for its end would be noticed.
constexpr int kLongImage = 16 * 1024 * 1024;
constexpr int kLongLimitMs = 40'000;

QString writeImage(const QTemporaryDir& directory, const QString& name, int size) {
  QString path = directory.filePath(name);
  QFile file(path);
  QByteArray content(size, 'x');
  content.replace(100, 5, "KVR-7");
  if (!file.open(QIODevice::WriteOnly) || file.write(content) != size) {
    qFatal("%s cannot be written", qPrintable(path));
  }
  return path;
}

}  // namespace

/// The window of the real program is closed while a burn runs. How often and
/// from which seed stands in PELLAVOX_CLOSE_COUNT and PELLAVOX_CLOSE_SEED.
class CaptureCloseTest : public QObject {
  Q_OBJECT

 private slots:
  void closingDuringABurnEndsTheProgramAtOnceAndCleanly() {
    const int count = std::max(1, qEnvironmentVariableIntValue("PELLAVOX_CLOSE_COUNT"));
    const auto seed = static_cast<unsigned>(qEnvironmentVariableIntValue("PELLAVOX_CLOSE_SEED"));
    std::mt19937 random(seed);
    const auto between = [&random](int least, int most) {
      return std::uniform_int_distribution<int>(least, most)(random);
    };
    const QTemporaryDir directory;
    const QString shortImage = writeImage(directory, "short.img", kShortImage);
    const QString longImage = writeImage(directory, "long.img", kLongImage);

    int percentages = 0;
    int ended = 0;
    int breaches = 0;
    for (int i = 0; i < count; ++i) {
      // In turn: at any moment of a burn, about its end, during a long one, and
      // during two at once.
      const int kind = i % 4;
      const int moment = kind == 0   ? between(0, kShortBurnMs)
                         : kind == 1 ? between(kShortBurnMs - 30, kShortBurnMs + 120)
                                     : between(0, 1200);
      const QString apply = kind == 3 ? "click BN_Apply_CapMCU_QX;click BN_Apply_CapMCU" : "click BN_Apply_CapMCU_QX";
      const ProgramRun run =
          runScript(PROGRAM, PLUGINS,
                    QStringLiteral("click BN_Connect;click BN_Browse_Cap_QX;open %1;%2;wait %3;print LB_Message;close")
                        .arg(kind < 2 ? shortImage : longImage, apply)
                        .arg(moment));
      const bool isClean = run.ended && run.exitCode == 0 && run.isQuiet() && run.output.contains("LB_Message=") &&
                           (kind < 2 || run.milliseconds < kLongLimitMs);
      if (!isClean) {
        ++breaches;
        qWarning("closed after %d ms: %s, exit code %d, %lld ms\n%s%s", moment, run.ended ? "ended" : "did not end",
                 run.exitCode, run.milliseconds, run.output.constData(), run.errors.constData());
      }
      percentages += run.output.contains('%') ? 1 : 0;
      ended += run.errors.contains("Update Capture exit") ? 1 : 0;
    }
    qInfo("seed %u: %d runs, %d closed with a percentage shown, %d after a burn's end; %d breaches", seed, count,
          percentages, ended, breaches);
    QCOMPARE(breaches, 0);
  }
};

QTEST_GUILESS_MAIN(CaptureCloseTest)
#include "capture_close_test.moc"
